#include "Engines/codec/Private/FramePool.h"

#include <algorithm>

#include "Engines/memory/LargePages.h"

namespace TWQuickTime::codec {
namespace {

// Smaller pictures gain nothing: the library's own memory serves them.
constexpr std::size_t kSmallest = 1 << 20;
// Planes begin at multiples of it, and decoders may write so much behind a plane.
constexpr std::size_t kPlaneAlignment = 64;

struct Layout {
    int lineSizes[4] = {};
    std::size_t offsets[4] = {};
    std::size_t byteCount = 0;
};

std::size_t roundedUp(std::size_t value) {
    return (value + kPlaneAlignment - 1) / kPlaneAlignment * kPlaneAlignment;
}

/// Where the planes of a picture lie, with the room at the edges that the decoder wants.
bool layOut(AVCodecContext& context, const AVFrame& frame, Layout& layout) {
    const auto format = static_cast<AVPixelFormat>(frame.format);
    int width = frame.width, height = frame.height;
    int alignments[AV_NUM_DATA_POINTERS] = {};
    avcodec_align_dimensions2(&context, &width, &height, alignments);
    bool aligned = false;
    while (!aligned) {
        if (av_image_fill_linesizes(layout.lineSizes, format, width) < 0)
            return false;
        aligned = true;
        for (int plane = 0; plane < 4; ++plane)
            aligned = aligned && layout.lineSizes[plane] % std::max(alignments[plane], 1) == 0;
        // The lowest bit of the width that is set is what keeps lines from being aligned.
        width += width & ~(width - 1);
    }
    const std::ptrdiff_t lineSizes[4] = {layout.lineSizes[0], layout.lineSizes[1],
                                         layout.lineSizes[2], layout.lineSizes[3]};
    std::size_t planeSizes[4] = {};
    if (av_image_fill_plane_sizes(planeSizes, format, height, lineSizes) < 0)
        return false;
    for (int plane = 0; plane < 4 && planeSizes[plane] > 0; ++plane) {
        layout.offsets[plane] = layout.byteCount;
        layout.byteCount += roundedUp(planeSizes[plane]) + kPlaneAlignment;
    }
    return true;
}

/// The memory of a pool goes with the pool, which the library keeps for as long as any piece is in
/// use.
AVBufferRef* allocatePiece(void* arena, std::size_t byteCount) {
    void* piece = static_cast<memory::LargePageArena*>(arena)->take(byteCount);
    const auto stay = [](void*, std::uint8_t*) {};
    return piece ? av_buffer_create(static_cast<std::uint8_t*>(piece), byteCount, stay, nullptr, 0)
                 : nullptr;
}

void freeArena(void* arena) {
    delete static_cast<memory::LargePageArena*>(arena);
}

}  // namespace

FramePool::~FramePool() {
    av_buffer_pool_uninit(&pool_);
}

void FramePool::serve(AVCodecContext& context) {
    context.opaque = this;
    context.get_buffer2 = getBuffer;
#if FF_API_THREAD_SAFE_CALLBACKS
    // Older releases of the library make threads wait for each other unless they are told.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    context.thread_safe_callbacks = 1;
#pragma GCC diagnostic pop
#endif
}

int FramePool::getBuffer(AVCodecContext* context, AVFrame* frame, int flags) {
    return static_cast<FramePool*>(context->opaque)->giveMemory(*context, *frame)
               ? 0
               : avcodec_default_get_buffer2(context, frame, flags);
}

bool FramePool::giveMemory(AVCodecContext& context, AVFrame& frame) {
    const AVPixFmtDescriptor* format =
        av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    const bool takesAnyMemory = context.codec->capabilities & AV_CODEC_CAP_DR1;
    if (!format || format->flags & (AV_PIX_FMT_FLAG_HWACCEL | AV_PIX_FMT_FLAG_PAL) ||
        !takesAnyMemory)
        return false;
    Layout layout;
    if (!layOut(context, frame, layout) || layout.byteCount < kSmallest)
        return false;
    AVBufferRef* memory = take(layout.byteCount);
    if (!memory)
        return false;
    frame.buf[0] = memory;
    frame.extended_data = frame.data;
    for (int plane = 0; plane < 4; ++plane) {
        const bool used = layout.lineSizes[plane] > 0;
        frame.data[plane] = used ? memory->data + layout.offsets[plane] : nullptr;
        frame.linesize[plane] = layout.lineSizes[plane];
    }
    return true;
}

AVBufferRef* FramePool::take(std::size_t byteCount) {
    const std::lock_guard lock(mutex_);
    if (!pool_ || pieceBytes_ != byteCount) {
        av_buffer_pool_uninit(&pool_);
        pieceBytes_ = byteCount;
        pool_ =
            av_buffer_pool_init2(byteCount, new memory::LargePageArena, allocatePiece, freeArena);
    }
    return pool_ ? av_buffer_pool_get(pool_) : nullptr;
}

}  // namespace TWQuickTime::codec
