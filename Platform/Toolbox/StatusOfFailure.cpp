#include "Private/StatusOfFailure.h"

#include <cerrno>

namespace TWQuickTime {
namespace {

constexpr OSErr dskFulErr = -34;

}  // namespace

OSErr statusOfFailure(const result::Failure& failure) {
    using result::FailureKind;
    switch (failure.kind) {
        case FailureKind::notFound:
            return fnfErr;
        case FailureKind::truncated:
        case FailureKind::endOfData:
            return eofErr;
        case FailureKind::damaged:
            return invalidSampleTable;
        case FailureKind::unsupported:
        case FailureKind::notAvailable:
            return featureUnsupported;
        case FailureKind::badArgument:
            return paramErr;
        case FailureKind::permission:
            return permErr;
        case FailureKind::exists:
            return dupFNErr;
        case FailureKind::noSpace:
            return dskFulErr;
        case FailureKind::io:
            return ioErr;
        case FailureKind::limit:
            return memFullErr;
        case FailureKind::cancelled:
            return userCanceledErr;
    }
    return ioErr;
}

OSErr statusOfOpeningFailure(const result::Failure& failure) {
    using result::FailureKind;
    switch (failure.kind) {
        case FailureKind::notFound:
            return failure.systemError == ENOENT || failure.systemError == ENOTDIR ? fnfErr
                                                                                   : noMovieFound;
        case FailureKind::truncated:
        case FailureKind::damaged:
        case FailureKind::unsupported:
        case FailureKind::endOfData:
        case FailureKind::badArgument:
            return noMovieFound;
        default:
            return statusOfFailure(failure);
    }
}

}  // namespace TWQuickTime
