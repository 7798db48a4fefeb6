#include "Engines/image/PngWriter.h"

#include <fcntl.h>
#include <png.h>
#include <unistd.h>

#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "Engines/image/PremultipliedAlpha.h"

namespace TWQuickTime::image {
namespace {

using result::Failure;
using result::FailureKind;
using result::Status;

/// The encoder with its error exit turned into a jump.
struct Encoder {
    png_structp png = nullptr;
    png_infop info = nullptr;
    std::string message;

    Encoder() {
        png = png_create_write_struct(
            PNG_LIBPNG_VER_STRING, this,
            [](png_structp self, png_const_charp text) {
                static_cast<Encoder*>(png_get_error_ptr(self))->message = text;
                png_longjmp(self, 1);
            },
            [](png_structp, png_const_charp) {});
        info = png ? png_create_info_struct(png) : nullptr;
    }
    ~Encoder() { png_destroy_write_struct(&png, &info); }
    Encoder(const Encoder&) = delete;
    Encoder& operator=(const Encoder&) = delete;
};

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

struct WriteJob {
    Encoder encoder;
    std::vector<std::uint8_t> row;
};

Status encode(WriteJob& job, ConstPixelView pixels, AlphaKind alpha,
              std::span<const std::byte> profile, std::FILE* file) {
    png_structp png = job.encoder.png;
    if (setjmp(png_jmpbuf(png)))
        return Failure{FailureKind::io, "PNG: " + job.encoder.message};
    png_init_io(png, file);
    const bool hasAlpha = alpha != AlphaKind::skipped;
    png_set_IHDR(png, job.encoder.info, static_cast<png_uint_32>(pixels.width),
                 static_cast<png_uint_32>(pixels.height), 8,
                 hasAlpha ? PNG_COLOR_TYPE_RGBA : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (profile.empty())
        png_set_sRGB(png, job.encoder.info, PNG_sRGB_INTENT_PERCEPTUAL);
    else
        png_set_iCCP(png, job.encoder.info, "ICC profile", PNG_COMPRESSION_TYPE_BASE,
                     reinterpret_cast<png_const_bytep>(profile.data()),
                     static_cast<png_uint_32>(profile.size()));
    png_write_info(png, job.encoder.info);
    job.row.resize(static_cast<std::size_t>(pixels.width) * 4);
    for (int y = 0; y < pixels.height; ++y) {
        std::memcpy(job.row.data(), pixels.row(y), job.row.size());
        if (alpha == AlphaKind::premultiplied)
            unpremultiplyRow(job.row.data(), pixels.width);
        std::uint8_t* out = job.row.data();
        for (int x = 0; x < pixels.width; ++x) {
            const std::uint8_t* in = &job.row[static_cast<std::size_t>(x) * 4];
            const std::uint8_t pixel[4] = {in[1], in[2], in[3], in[0]};
            std::memcpy(out, pixel, hasAlpha ? 4 : 3);
            out += hasAlpha ? 4 : 3;
        }
        png_write_row(png, job.row.data());
    }
    png_write_end(png, job.encoder.info);
    return {};
}

}  // namespace

Status writePNG(ConstPixelView pixels, AlphaKind alpha, std::span<const std::byte> profile,
                const std::string& path) {
    SiblingFile file(path);
    if (!file.stream())
        return result::systemFailure(errno, path + ": " + std::strerror(errno));
    WriteJob job;
    if (!job.encoder.info)
        return Failure{FailureKind::limit, "PNG: no memory for the encoder"};
    if (Status encoded = encode(job, pixels, alpha, profile, file.stream()); !encoded)
        return encoded;
    return file.replace(path);
}

}  // namespace TWQuickTime::image
