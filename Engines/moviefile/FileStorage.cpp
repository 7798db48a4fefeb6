#include "Engines/moviefile/FileStorage.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <limits>

namespace TWQuickTime::moviefile {
namespace {

using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

Failure openFailure(const std::string& path, int systemError) {
    return result::systemFailure(systemError, path + ": " + std::strerror(systemError));
}

int openWithoutInterruption(const std::string& path, int flags) {
    int descriptor;
    do {
        descriptor = ::open(path.c_str(), flags | O_CLOEXEC, 0666);
    } while (descriptor < 0 && errno == EINTR);
    return descriptor;
}

Expected<std::unique_ptr<FileStorage>> openRegularFile(const std::string& path, int flags) {
    // A NUL inside would cut the name short and open another file.
    if (path.empty() || path.find('\0') != std::string::npos)
        return Failure{FailureKind::badArgument, "not the path of a file"};
    // Without O_NONBLOCK a named pipe would keep us waiting for its other end.
    const int descriptor = openWithoutInterruption(path, flags | O_NONBLOCK);
    if (descriptor < 0)
        return openFailure(path, errno);
    auto storage = std::make_unique<FileStorage>(descriptor, path);
    struct stat facts;
    if (::fstat(descriptor, &facts) != 0)
        return openFailure(path, errno);
    if (S_ISDIR(facts.st_mode))
        return openFailure(path, EISDIR);
    if (!S_ISREG(facts.st_mode))
        return Failure{FailureKind::unsupported, path + ": not a regular file"};
    return storage;
}

bool fitsFileOffset(std::uint64_t offset, std::uint64_t length) {
    constexpr auto greatest = static_cast<std::uint64_t>(std::numeric_limits<off_t>::max());
    return offset <= greatest && length <= greatest - offset;
}

}  // namespace

FileStorage::FileStorage(int fileDescriptor, std::string path)
    : descriptor_(fileDescriptor), path_(std::move(path)) {}

// Data that must not be lost was synced before; what close would still report comes too late.
FileStorage::~FileStorage() {
    ::close(descriptor_);
    if (uncached_.value_or(-1) >= 0)
        ::close(*uncached_);
}

Expected<std::unique_ptr<FileStorage>> FileStorage::open(const std::string& path, Access access) {
    return openRegularFile(path, access == Access::read ? O_RDONLY : O_RDWR);
}

Expected<std::unique_ptr<FileStorage>> FileStorage::createNew(const std::string& path) {
    return openRegularFile(path, O_RDWR | O_CREAT | O_EXCL);
}

Expected<std::unique_ptr<FileStorage>> FileStorage::createOrEmpty(const std::string& path) {
    return openRegularFile(path, O_RDWR | O_CREAT | O_TRUNC);
}

Failure FileStorage::failure(const char* what, int systemError) const {
    // EBADF on an open descriptor means that it was opened for reading only.
    if (systemError == EBADF || systemError == EINVAL)
        return Failure{FailureKind::permission,
                       path_ + ": " + what + ": not open for this kind of access", systemError};
    return result::systemFailure(systemError,
                                 path_ + ": " + what + ": " + std::strerror(systemError));
}

Expected<std::uint64_t> FileStorage::sizeInBytes() const {
    struct stat facts;
    if (::fstat(descriptor_, &facts) != 0)
        return failure("size", errno);
    return static_cast<std::uint64_t>(facts.st_size);
}

Expected<std::size_t> FileStorage::read(std::uint64_t offset, std::span<std::byte> into) const {
    std::size_t done = 0;
    if (!fitsFileOffset(offset, into.size()))
        return done;
    while (done < into.size()) {
        const ssize_t count = ::pread(descriptor_, into.data() + done, into.size() - done,
                                      static_cast<off_t>(offset + done));
        if (count < 0) {
            if (errno == EINTR)
                continue;
            return failure("read", errno);
        }
        if (count == 0)
            break;
        done += static_cast<std::size_t>(count);
    }
    return done;
}

Status FileStorage::write(std::uint64_t offset, std::span<const std::byte> bytes) {
    if (!fitsFileOffset(offset, bytes.size()))
        return failure("write", EFBIG);
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count = ::pwrite(descriptor_, bytes.data() + done, bytes.size() - done,
                                       static_cast<off_t>(offset + done));
        if (count < 0) {
            if (errno == EINTR)
                continue;
            return failure("write", errno);
        }
        // A write that makes no headway and names no reason would loop for ever.
        if (count == 0)
            return failure("write", EIO);
        done += static_cast<std::size_t>(count);
    }
    return {};
}

Status FileStorage::writeUncached(std::uint64_t offset, std::span<const std::byte> bytes) {
    const std::size_t toUnit = static_cast<std::size_t>(-offset % uncachedUnitInBytes);
    const bool liesAlike =
        (reinterpret_cast<std::uintptr_t>(bytes.data()) - offset) % uncachedUnitInBytes == 0;
    if (!liesAlike || toUnit >= bytes.size() || !fitsFileOffset(offset, bytes.size()))
        return write(offset, bytes);
    if (Status written = write(offset, bytes.first(toUnit)); !written)
        return written;
    const std::size_t done = toUnit + writeWholeUnits(offset + toUnit, bytes.subspan(toUnit));
    // What could not be written may still fit through the cache; else this tells what is wrong.
    if (Status written = write(offset + done, bytes.subspan(done)); !written)
        return written;
    beginWriteBack(offset, bytes.size());
    return {};
}

/// @return how many bytes from the beginning are written
std::size_t FileStorage::writeWholeUnits(std::uint64_t offset, std::span<const std::byte> bytes) {
    std::size_t done = 0;
    while (bytes.size() - done >= uncachedUnitInBytes && opensUncached()) {
        const std::size_t whole = (bytes.size() - done) / uncachedUnitInBytes * uncachedUnitInBytes;
        const ssize_t count =
            ::pwrite(*uncached_, bytes.data() + done, whole, static_cast<off_t>(offset + done));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        done += static_cast<std::size_t>(count);
    }
    return done;
}

/// The flag would hold for every access through the descriptor, so that it is set on a second one,
/// which must not be allowed more than the first.
bool FileStorage::opensUncached() {
    if (!uncached_) {
        const bool mayWrite = (::fcntl(descriptor_, F_GETFL) & O_ACCMODE) != O_RDONLY;
        const std::string self = "/proc/self/fd/" + std::to_string(descriptor_);
        uncached_ = mayWrite ? openWithoutInterruption(self, O_WRONLY | O_DIRECT) : -1;
    }
    return *uncached_ >= 0;
}

Status FileStorage::sync() {
    int outcome;
    do {
        outcome = ::fdatasync(descriptor_);
    } while (outcome != 0 && errno == EINTR);
    if (outcome != 0)
        return failure("sync", errno);
    return {};
}

void FileStorage::beginWriteBack(std::uint64_t offset, std::uint64_t sizeInBytes) {
    // A hint: what goes wrong here is reported by the sync.
    if (fitsFileOffset(offset, sizeInBytes))
        ::sync_file_range(descriptor_, static_cast<off_t>(offset), static_cast<off_t>(sizeInBytes),
                          SYNC_FILE_RANGE_WRITE);
}

Status FileStorage::truncate(std::uint64_t sizeInBytes) {
    if (!fitsFileOffset(sizeInBytes, 0))
        return failure("truncate", EFBIG);
    int outcome;
    do {
        outcome = ::ftruncate(descriptor_, static_cast<off_t>(sizeInBytes));
    } while (outcome != 0 && errno == EINTR);
    if (outcome != 0)
        return failure("truncate", errno);
    return {};
}

Status syncFolderOf(const std::string& path) {
    std::string folder = std::filesystem::path(path).parent_path().string();
    if (folder.empty())
        folder = ".";
    const int descriptor = openWithoutInterruption(folder, O_RDONLY | O_DIRECTORY);
    if (descriptor < 0)
        return openFailure(folder, errno);
    const FileStorage owner(descriptor, folder);
    // Some file systems cannot sync a folder and say so with EINVAL; they keep names by themselves.
    if (::fsync(descriptor) != 0 && errno != EINVAL && errno != EROFS)
        return openFailure(folder, errno);
    return {};
}

}  // namespace TWQuickTime::moviefile
