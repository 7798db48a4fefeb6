#include "Engines/image/PngWriter.h"

#include <fcntl.h>
#include <isa-l/crc.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "Engines/image/PngChunks.h"
#include "Engines/image/PngDeflater.h"
#include "Engines/image/PngPredictor.h"
#include "Engines/image/PremultipliedAlpha.h"

namespace TWQuickTime::image {
namespace {

using result::Status;

constexpr std::uint8_t kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

using Bytes = std::span<const std::uint8_t>;

void appendBigEndian32(std::vector<std::uint8_t>& bytes, std::uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes.push_back(static_cast<std::uint8_t>(value >> shift));
}

/// The file beside the destination, gone unless it was renamed.
class SiblingFile {
  public:
    explicit SiblingFile(const std::string& path) {
        // The kernel applies the user's mask to the mode, which a name made by mkstemp would not
        // get.
        for (int attempt = 0; attempt < 100 && descriptor_ < 0; ++attempt) {
            name_ = path + ".twqt-" + std::to_string(getpid()) + "-" + std::to_string(attempt);
            descriptor_ = open(name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
            if (descriptor_ < 0 && errno != EEXIST)
                return;
        }
        file_ = descriptor_ >= 0 ? fdopen(descriptor_, "wb") : nullptr;
    }
    ~SiblingFile() {
        if (file_)
            std::fclose(file_);
        else if (descriptor_ >= 0)
            close(descriptor_);
        if (descriptor_ >= 0 && !renamed_)
            unlink(name_.c_str());
    }
    SiblingFile(const SiblingFile&) = delete;
    SiblingFile& operator=(const SiblingFile&) = delete;

    std::FILE* stream() const { return file_; }

    Status replace(const std::string& path) {
        if (std::fflush(file_) != 0 || fsync(descriptor_) != 0 ||
            std::rename(name_.c_str(), path.c_str()) != 0)
            return result::systemFailure(errno, path + ": " + std::strerror(errno));
        renamed_ = true;
        return {};
    }

  private:
    std::string name_;
    int descriptor_ = -1;
    std::FILE* file_ = nullptr;
    bool renamed_ = false;
};

Status write(std::FILE* file, Bytes bytes) {
    if (std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size())
        return result::systemFailure(errno, std::string("PNG: ") + std::strerror(errno));
    return {};
}

Status writeChunk(std::FILE* file, const char (&type)[5], Bytes body) {
    std::vector<std::uint8_t> chunk;
    chunk.reserve(body.size() + 12);
    appendBigEndian32(chunk, static_cast<std::uint32_t>(body.size()));
    chunk.insert(chunk.end(), type, type + 4);
    chunk.insert(chunk.end(), body.begin(), body.end());
    appendBigEndian32(chunk, crc32_gzip_refl(0, chunk.data() + 4, chunk.size() - 4));
    return write(file, chunk);
}

Status writeHeader(std::FILE* file, ConstPixelView pixels, bool hasAlpha) {
    std::vector<std::uint8_t> header;
    appendBigEndian32(header, static_cast<std::uint32_t>(pixels.width));
    appendBigEndian32(header, static_cast<std::uint32_t>(pixels.height));
    constexpr std::uint8_t kDepth = 8;
    const auto color = static_cast<std::uint8_t>(hasAlpha ? PngColor::rgbAlpha : PngColor::rgb);
    header.insert(header.end(), {kDepth, color, 0, 0, 0});
    if (auto written = write(file, kSignature); !written)
        return written;
    return writeChunk(file, "IHDR", header);
}

Status writeColors(std::FILE* file, std::span<const std::byte> profile) {
    constexpr std::uint8_t kPerceptual = 0;
    if (profile.empty())
        return writeChunk(file, "sRGB", {&kPerceptual, 1});
    constexpr char kName[] = "ICC profile";
    std::vector<std::uint8_t> body(kName, kName + sizeof kName);
    body.push_back(0);  // deflated
    PngDeflater deflater([&](Bytes piece) {
        body.insert(body.end(), piece.begin(), piece.end());
        return Status();
    });
    if (auto added =
            deflater.add({reinterpret_cast<const std::uint8_t*>(profile.data()), profile.size()});
        !added)
        return added;
    if (auto finished = deflater.finish(); !finished)
        return finished;
    return writeChunk(file, "iCCP", body);
}

/// A R G B to the order of the file, in place; without alpha where the file has none.
void reorder(std::uint8_t* row, int width, bool hasAlpha) {
    std::uint8_t* out = row;
    for (int x = 0; x < width; ++x, row += 4) {
        const std::uint8_t pixel[4] = {row[1], row[2], row[3], row[0]};
        std::memcpy(out, pixel, hasAlpha ? 4 : 3);
        out += hasAlpha ? 4 : 3;
    }
}

Status writeRows(std::FILE* file, ConstPixelView pixels, AlphaKind alpha) {
    const bool hasAlpha = alpha != AlphaKind::skipped;
    const std::size_t bytesPerPixel = hasAlpha ? 4 : 3;
    PngPredictor predictor(static_cast<std::size_t>(pixels.width) * bytesPerPixel, bytesPerPixel);
    PngDeflater deflater([&](Bytes piece) { return writeChunk(file, "IDAT", piece); });
    std::vector<std::uint8_t> row(static_cast<std::size_t>(pixels.width) * 4);
    for (int y = 0; y < pixels.height; ++y) {
        std::memcpy(row.data(), pixels.row(y), row.size());
        if (alpha == AlphaKind::premultiplied)
            unpremultiplyRow(row.data(), pixels.width);
        reorder(row.data(), pixels.width, hasAlpha);
        if (auto added = deflater.add(predictor.filtered(row.data())); !added)
            return added;
    }
    return deflater.finish();
}

Status encode(std::FILE* file, ConstPixelView pixels, AlphaKind alpha,
              std::span<const std::byte> profile) {
    if (auto written = writeHeader(file, pixels, alpha != AlphaKind::skipped); !written)
        return written;
    if (auto written = writeColors(file, profile); !written)
        return written;
    if (auto written = writeRows(file, pixels, alpha); !written)
        return written;
    return writeChunk(file, "IEND", {});
}

}  // namespace

Status writePNG(ConstPixelView pixels, AlphaKind alpha, std::span<const std::byte> profile,
                const std::string& path) {
    SiblingFile file(path);
    if (!file.stream())
        return result::systemFailure(errno, path + ": " + std::strerror(errno));
    if (Status encoded = encode(file.stream(), pixels, alpha, profile); !encoded)
        return encoded;
    return file.replace(path);
}

}  // namespace TWQuickTime::image
