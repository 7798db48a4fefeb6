#include <libheif/heif.h>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <cctype>
#include <cstring>
#include <vector>

#include "Engines/image/StillImage.h"
#include "Engines/image/WholeImage.h"

namespace TWQuickTime::image {
namespace {

using result::Failure;
using result::FailureKind;
using result::Status;

struct FreeCodec {
    void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
};
struct FreeFrame {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
struct FreePacket {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
struct FreeScaler {
    void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
};
using Codec = std::unique_ptr<AVCodecContext, FreeCodec>;
using Frame = std::unique_ptr<AVFrame, FreeFrame>;
using Packet = std::unique_ptr<AVPacket, FreePacket>;

// The container library knows hundreds of formats, among them some that lead on to other files.
// Only those of pictures are let in.
constexpr char kPictureFormats[] =
    "apng,bmp_pipe,cri_pipe,dds_pipe,dpx_pipe,exr_pipe,gem_pipe,gif,gif_pipe,ico,j2k_pipe,"
    "jpeg_pipe,jpegls_pipe,jpegxl_pipe,pam_pipe,pbm_pipe,pcx_pipe,pfm_pipe,pgm_pipe,pgmyuv_pipe,"
    "pgx_pipe,phm_pipe,photocd_pipe,pictor_pipe,png_pipe,ppm_pipe,psd_pipe,qdraw_pipe,qoi_pipe,"
    "sgi_pipe,sunrast_pipe,tiff_pipe,vbn_pipe,webp_pipe,xbm_pipe,xpm_pipe,xwd_pipe";

Failure unreadable(const std::string& why, FailureKind kind = FailureKind::damaged) {
    return Failure{kind, "picture: " + why};
}

/// The library's reading interface over bytes in memory.
class MemoryReader {
  public:
    explicit MemoryReader(std::span<const std::byte> bytes) : bytes_(bytes) {
        constexpr int kBufferBytes = 32 * 1024;
        io_ = avio_alloc_context(static_cast<unsigned char*>(av_malloc(kBufferBytes)), kBufferBytes,
                                 0, this, read, nullptr, seek);
    }
    ~MemoryReader() {
        av_freep(&io_->buffer);
        avio_context_free(&io_);
    }
    MemoryReader(const MemoryReader&) = delete;
    MemoryReader& operator=(const MemoryReader&) = delete;
    AVIOContext* io() const { return io_; }

  private:
    static int read(void* self, std::uint8_t* destination, int wanted) {
        auto* reader = static_cast<MemoryReader*>(self);
        const std::size_t count = std::min<std::size_t>(static_cast<std::size_t>(wanted),
                                                        reader->bytes_.size() - reader->position_);
        if (count == 0)
            return AVERROR_EOF;
        std::memcpy(destination, reader->bytes_.data() + reader->position_, count);
        reader->position_ += count;
        return static_cast<int>(count);
    }
    static std::int64_t seek(void* self, std::int64_t offset, int whence) {
        auto* reader = static_cast<MemoryReader*>(self);
        const auto length = static_cast<std::int64_t>(reader->bytes_.size());
        if (whence == AVSEEK_SIZE)
            return length;
        const std::int64_t base = whence == SEEK_CUR ? static_cast<std::int64_t>(reader->position_)
                                  : whence == SEEK_END ? length
                                                       : 0;
        if (base + offset < 0 || base + offset > length)
            return AVERROR(EINVAL);
        reader->position_ = static_cast<std::size_t>(base + offset);
        return base + offset;
    }

    std::span<const std::byte> bytes_;
    std::size_t position_ = 0;
    AVIOContext* io_ = nullptr;
};

/// The first picture of what the container library recognises.
result::Expected<Packet> firstPacket(std::span<const std::byte> bytes,
                                     AVCodecParameters* parameters) {
    MemoryReader reader(bytes);
    AVFormatContext* format = avformat_alloc_context();
    if (!format || !reader.io())
        return unreadable("no memory", FailureKind::limit);
    format->pb = reader.io();
    format->format_whitelist = av_strdup(kPictureFormats);
    format->protocol_whitelist = av_strdup("");
    if (avformat_open_input(&format, nullptr, nullptr, nullptr) < 0)
        return unreadable("format not recognised", FailureKind::unsupported);
    struct Close {
        AVFormatContext** format;
        ~Close() { avformat_close_input(format); }
    } close{&format};
    Packet packet(av_packet_alloc());
    for (int attempts = 0; attempts < 64 && av_read_frame(format, packet.get()) >= 0; ++attempts) {
        const AVStream* stream = format->streams[packet->stream_index];
        if (stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO) {
            if (avcodec_parameters_copy(parameters, stream->codecpar) < 0)
                return unreadable("no memory", FailureKind::limit);
            return packet;
        }
        av_packet_unref(packet.get());
    }
    return unreadable("no picture in it");
}

result::Expected<Frame> decode(AVPacket* packet, const AVCodecParameters* parameters) {
    const AVCodec* decoder = avcodec_find_decoder(parameters->codec_id);
    if (!decoder)
        return unreadable("no decoder for it", FailureKind::notAvailable);
    Codec codec(avcodec_alloc_context3(decoder));
    if (!codec || avcodec_parameters_to_context(codec.get(), parameters) < 0)
        return unreadable("no memory", FailureKind::limit);
    codec->max_pixels = kMaximumWholePixels;
    codec->thread_count = 1;
    Frame frame(av_frame_alloc());
    if (avcodec_open2(codec.get(), decoder, nullptr) < 0 ||
        avcodec_send_packet(codec.get(), packet) < 0)
        return unreadable("the decoder refuses it");
    avcodec_send_packet(codec.get(), nullptr);
    if (avcodec_receive_frame(codec.get(), frame.get()) < 0)
        return unreadable("does not decode");
    return frame;
}

bool mayHaveAlpha(AVPixelFormat format) {
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(format);
    return description && (description->flags & (AV_PIX_FMT_FLAG_ALPHA | AV_PIX_FMT_FLAG_PAL)) != 0;
}

StillImageOrFailure imageOf(const AVFrame* frame) {
    const auto format = static_cast<AVPixelFormat>(frame->format);
    const std::unique_ptr<SwsContext, FreeScaler> scaler(sws_getContext(
        frame->width, frame->height, format, frame->width, frame->height, AV_PIX_FMT_ARGB,
        SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP, nullptr, nullptr,
        nullptr));
    if (!scaler)
        return unreadable("no conversion from its pixels", FailureKind::unsupported);
    // The library writes rows in whole registers, beyond their ends: only its own buffers have
    // room.
    const Frame converted(av_frame_alloc());
    converted->format = AV_PIX_FMT_ARGB;
    converted->width = frame->width;
    converted->height = frame->height;
    if (av_frame_get_buffer(converted.get(), 0) < 0)
        return unreadable("no memory", FailureKind::limit);
    if (sws_scale(scaler.get(), frame->data, frame->linesize, 0, frame->height, converted->data,
                  converted->linesize) != frame->height)
        return unreadable("no conversion from its pixels", FailureKind::unsupported);
    std::vector<std::byte> profile;
    if (const AVFrameSideData* side = av_frame_get_side_data(frame, AV_FRAME_DATA_ICC_PROFILE)) {
        const auto* begin = reinterpret_cast<const std::byte*>(side->data);
        profile.assign(begin, begin + side->size);
    }
    return std::unique_ptr<StillImage>(new WholeImage(
        ConstPixelView(converted->data[0], frame->width, frame->height, converted->linesize[0]),
        mayHaveAlpha(format) ? AlphaKind::straight : AlphaKind::skipped, profile));
}

bool hasExtension(const std::string& fileName, std::initializer_list<const char*> extensions) {
    const std::size_t dot = fileName.rfind('.');
    if (dot == std::string::npos)
        return false;
    std::string extension = fileName.substr(dot + 1);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return std::tolower(c); });
    return std::any_of(extensions.begin(), extensions.end(),
                       [&](const char* e) { return extension == e; });
}

struct FreeParameters {
    void operator()(AVCodecParameters* parameters) const { avcodec_parameters_free(&parameters); }
};

constexpr std::size_t kPictureFileHeader = 512;

/// Picture handles begin with a size and a frame, then the version-2 opcodes; picture files have a
/// header before that.
bool isPictureAt(std::size_t start, std::span<const std::byte> bytes) {
    static constexpr std::uint8_t kVersion2[4] = {0x00, 0x11, 0x02, 0xFF};
    return bytes.size() >= start + 14 && std::memcmp(&bytes[start + 10], kVersion2, 4) == 0;
}

/// Failures come back as values; the library shall not write on standard error besides.
void silenceLibrary() {
    [[maybe_unused]] static const bool once = (av_log_set_level(AV_LOG_QUIET), true);
}

StillImageOrFailure openWithCodecs(std::span<const std::byte> bytes, const std::string& fileName) {
    silenceLibrary();
    const std::unique_ptr<AVCodecParameters, FreeParameters> parameters(avcodec_parameters_alloc());
    result::Expected<Packet> packet = Packet();
    const bool isTarga = hasExtension(fileName, {"tga", "targa", "vda", "icb", "vst"});
    const bool isHandle = isPictureAt(0, bytes);
    if (isTarga || isHandle || isPictureAt(kPictureFileHeader, bytes)) {
        // No container reader recognises these; their decoders take the whole file, that of
        // pictures with the header in front.
        const std::size_t gap = isHandle ? kPictureFileHeader : 0;
        parameters->codec_type = AVMEDIA_TYPE_VIDEO;
        parameters->codec_id = isTarga ? AV_CODEC_ID_TARGA : AV_CODEC_ID_QDRAW;
        packet = Packet(av_packet_alloc());
        if (bytes.size() > 0x7FFF0000 ||
            av_new_packet(packet->get(), static_cast<int>(bytes.size() + gap)) < 0)
            return unreadable("no memory", FailureKind::limit);
        std::memset((*packet)->data, 0, gap);
        std::memcpy((*packet)->data + gap, bytes.data(), bytes.size());
    } else {
        packet = firstPacket(bytes, parameters.get());
    }
    if (!packet)
        return packet.failure();
    const result::Expected<Frame> frame = decode(packet->get(), parameters.get());
    if (!frame)
        return frame.failure();
    return imageOf(frame->get());
}

struct FreeHeif {
    void operator()(heif_context* context) const { heif_context_free(context); }
    void operator()(const heif_image* image) const { heif_image_release(image); }
    void operator()(const heif_image_handle* handle) const { heif_image_handle_release(handle); }
};

StillImageOrFailure openHEIF(std::span<const std::byte> bytes) {
    const auto refuse = [](const heif_error& error) { return unreadable(error.message); };
    const std::unique_ptr<heif_context, FreeHeif> context(heif_context_alloc());
    if (heif_error error = heif_context_read_from_memory_without_copy(context.get(), bytes.data(),
                                                                      bytes.size(), nullptr);
        error.code)
        return refuse(error);
    heif_image_handle* rawHandle = nullptr;
    if (heif_error error = heif_context_get_primary_image_handle(context.get(), &rawHandle);
        error.code)
        return refuse(error);
    const std::unique_ptr<heif_image_handle, FreeHeif> handle(rawHandle);
    const SizeInPixels size = {heif_image_handle_get_width(rawHandle),
                               heif_image_handle_get_height(rawHandle)};
    if (size.width < 1 || size.height < 1 ||
        std::int64_t{size.width} * size.height > kMaximumWholePixels)
        return unreadable("too large", FailureKind::limit);
    heif_image* rawImage = nullptr;
    if (heif_error error = heif_decode_image(rawHandle, &rawImage, heif_colorspace_RGB,
                                             heif_chroma_interleaved_RGBA, nullptr);
        error.code)
        return refuse(error);
    const std::unique_ptr<heif_image, FreeHeif> image(rawImage);
    int stride = 0;
    const std::uint8_t* plane =
        heif_image_get_plane_readonly(rawImage, heif_channel_interleaved, &stride);
    if (!plane || heif_image_get_width(rawImage, heif_channel_interleaved) != size.width ||
        heif_image_get_height(rawImage, heif_channel_interleaved) != size.height)
        return unreadable("decodes to another size than it states");
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>(size.width) * 4 *
                                     static_cast<std::size_t>(size.height));
    std::uint8_t* out = pixels.data();
    for (int y = 0; y < size.height; ++y) {
        const std::uint8_t* in = plane + std::ptrdiff_t{stride} * y;
        for (int x = 0; x < size.width; ++x, in += 4, out += 4) {
            out[0] = in[3];
            std::memcpy(out + 1, in, 3);
        }
    }
    std::vector<std::byte> profile(heif_image_handle_get_raw_color_profile_size(rawHandle));
    if (!profile.empty() && heif_image_handle_get_raw_color_profile(rawHandle, profile.data()).code)
        profile.clear();
    const bool alpha = heif_image_handle_has_alpha_channel(rawHandle) != 0;
    return std::unique_ptr<StillImage>(
        new WholeImage(size, alpha ? AlphaKind::straight : AlphaKind::skipped, std::move(pixels),
                       std::move(profile)));
}

bool startsWith(std::span<const std::byte> bytes, const char* text, std::size_t length) {
    return bytes.size() >= length && std::memcmp(bytes.data(), text, length) == 0;
}

}  // namespace

StillImageOrFailure openOther(std::span<const std::byte> bytes, const std::string& fileName) {
    if (bytes.empty())
        return unreadable("empty", FailureKind::truncated);
    if (bytes.size() >= 12 &&
        heif_check_filetype(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                            static_cast<int>(std::min<std::size_t>(bytes.size(), 4096))) ==
            heif_filetype_yes_supported)
        return openHEIF(bytes);
    return openWithCodecs(bytes, fileName);
}

StillImageOrFailure openAny(std::span<const std::byte> bytes, const std::string& fileName) {
    if (startsWith(bytes, "\x89PNG\r\n\x1A\n", 8))
        return openPNG(bytes);
    if (startsWith(bytes, "\xFF\xD8\xFF", 3))
        return openJPEG(bytes);
    return openOther(bytes, fileName);
}

}  // namespace TWQuickTime::image
