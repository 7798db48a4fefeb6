#include "Engines/transcode/SpoolStore.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

namespace TWQuickTime::transcode {

using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

Expected<std::unique_ptr<SpoolStore>> SpoolStore::make() {
    const char* named = std::getenv("TMPDIR");
    const std::string folder = named && *named ? named : "/tmp";
    int descriptor = open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    if (descriptor < 0) {
        std::string name = folder + "/twqt.XXXXXX";
        descriptor = mkostemp(name.data(), O_CLOEXEC);
        if (descriptor < 0) {
            return result::systemFailure(errno, "making a file for imported samples");
        }
        unlink(name.c_str());
    }
    return std::unique_ptr<SpoolStore>(new SpoolStore(descriptor));
}

SpoolStore::~SpoolStore() {
    close(descriptor_);
}

Status SpoolStore::read(std::uint64_t offset, std::span<std::byte> into) const {
    while (!into.empty()) {
        const ssize_t got = pread(descriptor_, into.data(), into.size(), off_t(offset));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            return got < 0 ? result::systemFailure(errno, "imported samples")
                           : Failure{FailureKind::truncated, "imported samples end", 0};
        }
        into = into.subspan(std::size_t(got));
        offset += std::uint64_t(got);
    }
    return {};
}

Expected<std::uint64_t> SpoolStore::append(std::span<const std::byte> bytes) {
    const std::uint64_t offset = size_;
    while (!bytes.empty()) {
        const ssize_t put = pwrite(descriptor_, bytes.data(), bytes.size(), off_t(size_));
        if (put < 0 && errno == EINTR) {
            continue;
        }
        if (put < 0) {
            return result::systemFailure(errno, "keeping imported samples");
        }
        bytes = bytes.subspan(std::size_t(put));
        size_ += std::uint64_t(put);
    }
    return offset;
}

}  // namespace TWQuickTime::transcode
