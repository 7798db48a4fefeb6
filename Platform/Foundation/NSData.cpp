#include "NSData.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace TWQuickTime {
namespace {

class FileDescriptor {
  public:
    explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() { close(); }

    bool isOpen() const { return descriptor_ >= 0; }
    int get() const { return descriptor_; }
    bool close() { return descriptor_ < 0 || ::close(std::exchange(descriptor_, -1)) == 0; }

  private:
    int descriptor_;
};

/// A path with a NUL inside would name another file than the one that was meant.
bool isUsablePath(const NSString& path) {
    return !path.utf8().empty() && path.utf8().find('\0') == std::string::npos;
}

bool writeAll(int descriptor, std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
    return true;
}

/// Permissions of the file that is replaced, else those of a new file.
mode_t permissionsFor(const char* path) {
    struct stat existing {};
    if (::stat(path, &existing) == 0)
        return existing.st_mode & 07777;
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

bool writeInPlace(const char* path, std::span<const std::byte> bytes) {
    FileDescriptor file(::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    return file.isOpen() && writeAll(file.get(), bytes) && file.close();
}

bool writeBesideAndRename(const std::string& path, std::span<const std::byte> bytes) {
    std::string sibling = path + ".XXXXXX";
    FileDescriptor file(::mkostemp(sibling.data(), O_CLOEXEC));
    if (!file.isOpen())
        return false;
    const bool isWritten =
        writeAll(file.get(), bytes) && ::fchmod(file.get(), permissionsFor(path.c_str())) == 0 &&
        ::fsync(file.get()) == 0 && file.close() && ::rename(sibling.c_str(), path.c_str()) == 0;
    if (!isWritten)
        ::unlink(sibling.c_str());
    return isWritten;
}

}  // namespace

NSData::NSData(std::vector<std::byte> bytes)
    : bytes_(std::make_shared<const std::vector<std::byte>>(std::move(bytes))) {}

NSData NSData::dataWithBytes(const void* bytes, std::size_t lengthInBytes) {
    const auto* first = static_cast<const std::byte*>(bytes);
    return NSData(first ? std::vector<std::byte>(first, first + lengthInBytes)
                        : std::vector<std::byte>());
}

NSData NSData::dataWithContentsOfFile(const NSString& path) {
    if (!isUsablePath(path))
        return nullptr;
    // Opening a pipe would wait for its writer.
    FileDescriptor file(::open(path.fileSystemRepresentation(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode))
        return nullptr;
    try {
        // One byte more than announced shows the end of the file; files of the kernel's own
        // announce nothing and are read until they end.
        std::vector<std::byte> bytes(static_cast<std::size_t>(status.st_size) + 1);
        std::size_t filled = 0;
        for (;;) {
            const ssize_t count = ::read(file.get(), bytes.data() + filled, bytes.size() - filled);
            if (count < 0 && errno == EINTR)
                continue;
            if (count < 0)
                return nullptr;
            if (count == 0)
                break;
            filled += static_cast<std::size_t>(count);
            if (filled == bytes.size())
                bytes.resize(bytes.size() + std::max<std::size_t>(bytes.size() / 2, 4096));
        }
        bytes.resize(filled);
        return NSData(std::move(bytes));
    } catch (const std::bad_alloc&) {
        return nullptr;
    } catch (const std::length_error&) {
        return nullptr;
    }
}

std::span<const std::byte> NSData::bytes() const noexcept {
    return bytes_ ? std::span(*bytes_) : std::span<const std::byte>();
}

void NSData::getBytes(void* destination) const noexcept {
    if (length() > 0)
        std::memcpy(destination, bytes_->data(), bytes_->size());
}

bool NSData::writeToFile(const NSString& path, bool atomically) const {
    if (isNil() || !isUsablePath(path))
        return false;
    return atomically ? writeBesideAndRename(path.utf8(), bytes())
                      : writeInPlace(path.fileSystemRepresentation(), bytes());
}

NSString NSData::description() const {
    if (isNil())
        return nullptr;
    constexpr char digits[] = "0123456789abcdef";
    std::string text = "<";
    text.reserve(2 + length() * 2 + length() / 4);
    for (std::size_t index = 0; index < length(); ++index) {
        if (index > 0 && index % 4 == 0)
            text += ' ';
        const auto byte = std::to_integer<unsigned>((*bytes_)[index]);
        text += digits[byte >> 4];
        text += digits[byte & 0xF];
    }
    return NSString(text + '>');
}

bool operator==(const NSData& a, const NSData& b) noexcept {
    if (a.bytes_ == b.bytes_)
        return true;
    return a.bytes_ && b.bytes_ && *a.bytes_ == *b.bytes_;
}

}  // namespace TWQuickTime
