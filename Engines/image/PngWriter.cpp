#include "Engines/image/PngWriter.h"

#include <fcntl.h>
#include <isa-l/crc.h>
#include <unistd.h>

#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "Engines/image/PngChunks.h"
#include "Engines/image/PngDeflater.h"
#include "Engines/image/PngPredictor.h"
#include "Engines/image/PremultipliedAlpha.h"
#include "Engines/image/RowConsumer.h"

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

Status writeHeader(std::FILE* file, int width, int height, bool hasAlpha) {
    std::vector<std::uint8_t> header;
    appendBigEndian32(header, static_cast<std::uint32_t>(width));
    appendBigEndian32(header, static_cast<std::uint32_t>(height));
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

/// A R G B to R G B A, in place.
void moveAlphaToTheEnd(std::uint8_t* row, int width) {
    for (std::uint8_t* end = row + std::ptrdiff_t{width} * 4; row != end; row += 4) {
        std::uint32_t pixel;
        std::memcpy(&pixel, row, sizeof pixel);
        pixel = std::rotr(pixel, 8);
        std::memcpy(row, &pixel, sizeof pixel);
    }
}

/// A R G B to R G B, in place.
void leaveOutAlpha(std::uint8_t* row, int width) {
    const std::uint8_t* end = row + std::ptrdiff_t{width} * 4;
    for (std::uint8_t* out = row; row != end; row += 4, out += 3) {
        // The fourth byte is the next pixel's place.
        std::uint32_t pixel;
        std::memcpy(&pixel, row, sizeof pixel);
        pixel >>= 8;
        std::memcpy(out, &pixel, sizeof pixel);
    }
}

static_assert(std::endian::native == std::endian::little);

/// Writes a picture to a file while its rows arrive.
class PngRows : public RowConsumer {
  public:
    PngRows(std::FILE* file, std::span<const std::byte> profile)
        : file_(file),
          profile_(profile),
          deflater_([this](Bytes piece) { return writeChunk(file_, "IDAT", piece); }) {}

    Status begin(int width, int height, AlphaKind alpha) override {
        width_ = width;
        alpha_ = alpha;
        const std::size_t bytesPerPixel = hasAlpha() ? 4 : 3;
        predictor_.emplace(static_cast<std::size_t>(width) * bytesPerPixel, bytesPerPixel);
        if (auto written = writeHeader(file_, width, height, hasAlpha()); !written)
            return written;
        return writeColors(file_, profile_);
    }

    Status row(std::uint8_t* pixels) override {
        if (alpha_ == AlphaKind::premultiplied)
            unpremultiplyRow(pixels, width_);
        if (hasAlpha())
            moveAlphaToTheEnd(pixels, width_);
        else
            leaveOutAlpha(pixels, width_);
        return deflater_.add(predictor_->filtered(pixels));
    }

    Status finish() {
        if (auto deflated = deflater_.finish(); !deflated)
            return deflated;
        return writeChunk(file_, "IEND", {});
    }

  private:
    bool hasAlpha() const { return alpha_ != AlphaKind::skipped; }

    std::FILE* file_;
    std::span<const std::byte> profile_;
    PngDeflater deflater_;
    std::optional<PngPredictor> predictor_;
    int width_ = 0;
    AlphaKind alpha_ = AlphaKind::skipped;
};

}  // namespace

Status writePNG(const StillImage& image, std::span<const std::byte> profile,
                const std::string& path) {
    SiblingFile file(path);
    if (!file.stream())
        return result::systemFailure(errno, path + ": " + std::strerror(errno));
    PngRows rows(file.stream(), profile);
    if (Status drawn = image.draw(rows, image.size(), profile); !drawn)
        return drawn;
    if (Status finished = rows.finish(); !finished)
        return finished;
    return file.replace(path);
}

}  // namespace TWQuickTime::image
