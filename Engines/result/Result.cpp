#include "Engines/result/Result.h"

#include <cerrno>

namespace TWQuickTime::result {

Failure systemFailure(int systemError, std::string message) {
    FailureKind kind = FailureKind::io;
    switch (systemError) {
        case ENOENT:
        case ENOTDIR:
            kind = FailureKind::notFound;
            break;
        case EACCES:
        case EPERM:
        case EROFS:
            kind = FailureKind::permission;
            break;
        case EEXIST:
            kind = FailureKind::exists;
            break;
        case ENOSPC:
        case EDQUOT:
        case EFBIG:
            kind = FailureKind::noSpace;
            break;
        case ENOMEM:
            kind = FailureKind::limit;
            break;
        default:
            break;
    }
    return Failure{kind, std::move(message), systemError};
}

}  // namespace TWQuickTime::result
