#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

extern "C" {
#include <jpeglib.h>

#include <jerror.h>
}

#include "Engines/image/ColorTransform.h"
#include "Engines/image/PremultipliedAlpha.h"
#include "Engines/image/StillImage.h"

namespace TWQuickTime::image {
namespace {

using result::Failure;
using result::FailureKind;
using result::Status;

/// The library's decoder with its error exit turned into a jump that the user of the object takes.
struct Decoder {
    jpeg_decompress_struct info{};
    jpeg_error_mgr errors{};
    std::jmp_buf onError;
    char message[JMSG_LENGTH_MAX] = {};

    Decoder() {
        info.err = jpeg_std_error(&errors);
        errors.error_exit = [](j_common_ptr common) {
            auto* self = reinterpret_cast<Decoder*>(common->client_data);
            common->err->format_message(common, self->message);
            std::longjmp(self->onError, 1);
        };
        // A bad code leaves a part of the picture grey, as viewers show it. Data that end before
        // the picture does are an error: what is missing may be all of it.
        errors.emit_message = [](j_common_ptr common, int level) {
            const int code = common->err->msg_code;
            if (level < 0 && (code == JWRN_HIT_MARKER || code == JWRN_JPEG_EOF))
                common->err->error_exit(common);
        };
        errors.output_message = [](j_common_ptr) {};
        info.client_data = this;
    }
    ~Decoder() { jpeg_destroy_decompress(&info); }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;

    Failure failure() const {
        return Failure{FailureKind::damaged, std::string("JPEG: ") + message};
    }

    void start(std::span<const std::byte> bytes) {
        jpeg_create_decompress(&info);
        jpeg_mem_src(&info, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
        jpeg_save_markers(&info, JPEG_APP0 + 2, 0xFFFF);
        jpeg_read_header(&info, TRUE);
    }
};

struct FreeMemory {
    void operator()(void* memory) const { std::free(memory); }
};

class JpegImage : public StillImage {
  public:
    JpegImage(std::span<const std::byte> bytes, SizeInPixels size) : bytes_(bytes), size_(size) {}

    SizeInPixels size() const override { return size_; }
    Status draw(RowConsumer& consumer, SizeInPixels wanted,
                std::span<const std::byte> destinationProfile) const override;

  private:
    std::span<const std::byte> bytes_;
    SizeInPixels size_;
};

/// The strongest reduction (8, 4 or 2; the library is fastest at these) that still has enough
/// pixels.
unsigned reductionFor(SizeInPixels size, SizeInPixels wanted) {
    for (unsigned reduction : {8u, 4u, 2u}) {
        const int step = static_cast<int>(reduction);
        if ((size.width + step - 1) / step >= wanted.width &&
            (size.height + step - 1) / step >= wanted.height)
            return reduction;
    }
    return 1;
}

/// Ink samples as they are stored with the Adobe marker (255 = no ink) to R G B without a profile.
void invertedInksToRow(const std::uint8_t* inks, std::uint8_t* pixels, int width) {
    for (int x = 0; x < width; ++x, inks += 4, pixels += 4) {
        pixels[0] = 255;
        for (int c = 0; c < 3; ++c)
            pixels[1 + c] = multiply255(inks[c], inks[3]);
    }
}

/// Everything that lives through a drawing. It stands outside the frame that errors jump out of, so
/// that a jump skips no destructor.
struct Drawing {
    Decoder decoder;
    std::vector<std::uint8_t> row;
    std::vector<std::uint8_t> inks;
    std::unique_ptr<unsigned char, FreeMemory> profile;
    std::unique_ptr<ColorTransform> transform;
    bool isCMYK = false;
    bool inksHaveProfile = false;
    bool inksAreInverted = false;

    Status prepare(SizeInPixels size, SizeInPixels wanted,
                   std::span<const std::byte> destinationProfile);
    void readRow();
};

Status Drawing::prepare(SizeInPixels size, SizeInPixels wanted,
                        std::span<const std::byte> destinationProfile) {
    jpeg_decompress_struct& info = decoder.info;
    if (jpeg_has_multiple_scans(&info) &&
        std::int64_t{size.width} * size.height > kMaximumWholePixels)
        return Failure{FailureKind::limit, "JPEG: too large for a progressive picture"};
    isCMYK = info.num_components == 4;
    inksAreInverted = info.saw_Adobe_marker;
    SourceColors colors;
    colors.channels = info.num_components;
    JOCTET* profileBytes = nullptr;
    unsigned int profileLength = 0;
    if (jpeg_read_icc_profile(&info, &profileBytes, &profileLength)) {
        profile.reset(profileBytes);
        colors.profile = {reinterpret_cast<const std::byte*>(profileBytes), profileLength};
    }
    auto made = ColorTransform::make(colors, destinationProfile);
    if (!made)
        return made.failure();
    transform = *std::move(made);
    inksHaveProfile = isCMYK && transform && transform->convertsCMYK();
    info.scale_num = 1;
    info.scale_denom = reductionFor(size, wanted);
    info.out_color_space = isCMYK ? JCS_CMYK : JCS_EXT_XRGB;
    return {};
}

void Drawing::readRow() {
    const int width = static_cast<int>(decoder.info.output_width);
    std::uint8_t* place = isCMYK ? inks.data() : row.data();
    jpeg_read_scanlines(&decoder.info, &place, 1);
    if (isCMYK) {
        // Profiles count ink, the plain formula counts its absence.
        if (inksAreInverted == inksHaveProfile)
            for (std::uint8_t& ink : inks)
                ink = static_cast<std::uint8_t>(255 - ink);
        if (inksHaveProfile)
            transform->convertCMYKRow(inks.data(), row.data(), width);
        else
            invertedInksToRow(inks.data(), row.data(), width);
    } else {
        for (std::size_t i = 0; i < row.size(); i += 4)
            row[i] = 255;
    }
    if (transform && !inksHaveProfile)
        transform->convertRow(row.data(), width);
}

Status drawInto(Drawing& drawing, RowConsumer& consumer) {
    jpeg_decompress_struct& info = drawing.decoder.info;
    const std::size_t rowBytes = std::size_t{info.output_width} * 4;
    drawing.row.resize(rowBytes);
    drawing.inks.resize(drawing.isCMYK ? rowBytes : 0);
    if (Status begun = consumer.begin(static_cast<int>(info.output_width),
                                      static_cast<int>(info.output_height), AlphaKind::skipped);
        !begun)
        return begun;
    while (info.output_scanline < info.output_height) {
        if (setjmp(drawing.decoder.onError))
            return drawing.decoder.failure();
        drawing.readRow();
        if (Status taken = consumer.row(drawing.row.data()); !taken)
            return taken;
    }
    return {};
}

Status JpegImage::draw(RowConsumer& consumer, SizeInPixels wanted,
                       std::span<const std::byte> destinationProfile) const {
    Drawing drawing;
    if (setjmp(drawing.decoder.onError))
        return drawing.decoder.failure();
    drawing.decoder.start(bytes_);
    if (Status prepared = drawing.prepare(size_, wanted, destinationProfile); !prepared)
        return prepared;
    jpeg_start_decompress(&drawing.decoder.info);
    return drawInto(drawing, consumer);
}

}  // namespace

StillImageOrFailure openJPEG(std::span<const std::byte> bytes) {
    Decoder decoder;
    if (setjmp(decoder.onError))
        return decoder.failure();
    decoder.start(bytes);
    // The end marker may be followed by anything, but it must be there, or the picture was cut.
    const SizeInPixels size = {static_cast<int>(decoder.info.image_width),
                               static_cast<int>(decoder.info.image_height)};
    for (std::size_t i = bytes.size(); i >= 2; --i)
        if (bytes[i - 2] == std::byte{0xFF} && bytes[i - 1] == std::byte{0xD9})
            return std::unique_ptr<StillImage>(new JpegImage(bytes, size));
    return Failure{FailureKind::truncated, "JPEG: ends before its end marker"};
}

}  // namespace TWQuickTime::image
