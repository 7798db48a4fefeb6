#include "Engines/moviefile/ReplacementFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>

namespace TWQuickTime::moviefile {
namespace {

using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

constexpr int greatestNameAttempts = 100;

Failure failureAt(const std::string& path, int systemError) {
    return result::systemFailure(systemError, path + ": " + std::strerror(systemError));
}

std::string folderOf(const std::string& path) {
    const std::string folder = std::filesystem::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

/// Tries names beside the destination until `attempt` accepts one.
/// @param attempt  0, or an error number; EEXIST asks for another name
int withFreshName(const std::string& destination, std::string& name,
                  const std::function<int(const std::string&)>& attempt) {
    static std::atomic<unsigned> counter{0};
    const std::filesystem::path path(destination);
    int outcome = EEXIST;
    for (int i = 0; i < greatestNameAttempts && outcome == EEXIST; ++i) {
        // Short whatever the destination is called, so that a name at the limit gets through.
        char leaf[64];
        std::snprintf(leaf, sizeof leaf, ".twqt-%ld-%u.part", static_cast<long>(::getpid()),
                      counter++);
        name = folderOf(destination) + "/" + leaf;
        outcome = attempt(name);
    }
    return outcome;
}

}  // namespace

ReplacementFile::ReplacementFile(std::unique_ptr<FileStorage> storage, std::string destination,
                                 std::string temporaryName)
    : storage_(std::move(storage)),
      destination_(std::move(destination)),
      temporaryName_(std::move(temporaryName)) {}

ReplacementFile::~ReplacementFile() {
    if (storage_ && !temporaryName_.empty())
        ::unlink(temporaryName_.c_str());
}

Expected<ReplacementFile> ReplacementFile::create(const std::string& destination) {
    if (destination.empty() || destination.find('\0') != std::string::npos)
        return Failure{FailureKind::badArgument, "not the path of a file"};
    std::string target = destination;
    struct stat facts;
    const bool exists = ::stat(destination.c_str(), &facts) == 0;
    if (exists) {
        if (S_ISDIR(facts.st_mode))
            return failureAt(destination, EISDIR);
        if (!S_ISREG(facts.st_mode))
            return Failure{FailureKind::unsupported, destination + ": not a regular file"};
        std::error_code unresolved;
        const std::filesystem::path resolved = std::filesystem::canonical(destination, unresolved);
        if (!unresolved)
            target = resolved.string();
    }

    std::string name;
    int descriptor = ::open(folderOf(target).c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0666);
    if (descriptor < 0 && (errno == EOPNOTSUPP || errno == EISDIR || errno == EINVAL)) {
        const int outcome = withFreshName(target, name, [&](const std::string& candidate) {
            descriptor = ::open(candidate.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, 0666);
            return descriptor < 0 ? errno : 0;
        });
        if (outcome != 0)
            return failureAt(target, outcome);
    } else if (descriptor < 0) {
        return failureAt(target, errno);
    }
    ReplacementFile file(std::make_unique<FileStorage>(descriptor, target), target, name);
    if (exists && ::fchmod(descriptor, facts.st_mode & 07777) != 0)
        return failureAt(target, errno);
    return file;
}

Status ReplacementFile::giveName() {
    if (!temporaryName_.empty())
        return {};
    // A link cannot replace a file, so the name to rename is made first.
    const std::string self = "/proc/self/fd/" + std::to_string(storage_->fileDescriptor());
    std::string name;
    const int outcome = withFreshName(destination_, name, [&](const std::string& candidate) {
        return ::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, candidate.c_str(), AT_SYMLINK_FOLLOW) == 0
                   ? 0
                   : errno;
    });
    if (outcome != 0)
        return failureAt(destination_, outcome);
    temporaryName_ = name;
    return {};
}

Status ReplacementFile::commit() {
    if (Status synced = storage_->sync(); !synced)
        return synced;
    if (Status named = giveName(); !named)
        return named;
    if (::rename(temporaryName_.c_str(), destination_.c_str()) != 0)
        return failureAt(destination_, errno);
    temporaryName_.clear();
    return syncFolderOf(destination_);
}

}  // namespace TWQuickTime::moviefile
