#include "Engines/codec/PixelConverter.h"

extern "C" {
#include <libswscale/swscale.h>
}

#include <algorithm>

#include "Engines/codec/PlanarColors.h"
#include "Engines/codec/PlanarToRgb.h"
#include "Engines/codec/Private/Native.h"

namespace TWQuickTime::codec {

using result::Expected;
using result::Failure;
using result::FailureKind;

namespace {

struct ScalerFreer {
    void operator()(SwsContext* context) const { sws_freeContext(context); }
};

/// All that a scaler was made for.
struct ScalerKey {
    int sourceWidth = 0, sourceHeight = 0, sourceFormat = -1;
    int targetWidth = 0, targetHeight = 0, targetFormat = -1;
    int sourceMatrix = 0, targetMatrix = 0;
    bool sourceFull = false, targetFull = false;
    friend bool operator==(const ScalerKey&, const ScalerKey&) = default;
};

const int* coefficients(int matrix) {
    switch (matrix) {
        case 1:
            return sws_getCoefficients(SWS_CS_ITU709);
        case 4:
            return sws_getCoefficients(SWS_CS_FCC);
        case 7:
            return sws_getCoefficients(SWS_CS_SMPTE240M);
        case 9:
        case 10:
            return sws_getCoefficients(SWS_CS_BT2020);
        default:
            return sws_getCoefficients(SWS_CS_ITU601);
    }
}

/// Whether two matrix numbers mean the same coefficients (5 and 6 do).
bool sameMatrix(int a, int b) {
    return a == b || coefficients(a) == coefficients(b);
}

Expected<std::unique_ptr<SwsContext, ScalerFreer>> makeScaler(const ScalerKey& key) {
    silenceLibrary();
    std::unique_ptr<SwsContext, ScalerFreer> scaler(sws_alloc_context());
    if (!scaler) {
        return Failure{FailureKind::limit, "sws_alloc_context"};
    }
    const bool shrinks = key.targetWidth < key.sourceWidth || key.targetHeight < key.sourceHeight;
    const bool sameSize =
        key.targetWidth == key.sourceWidth && key.targetHeight == key.sourceHeight;
    int flags = sameSize ? SWS_BICUBIC : shrinks ? SWS_AREA : SWS_BICUBIC;
    flags |= SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP;
    const bool bothYuv =
        !PixelFormat(key.sourceFormat).isRgb() && !PixelFormat(key.targetFormat).isRgb();
    if (bothYuv) {
        flags = (sameSize ? SWS_POINT : flags & ~(SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP)) |
                SWS_ACCURATE_RND;
        // Chroma that changes its density needs a real filter.
        if (sameSize && (PixelFormat(key.sourceFormat).chromaShiftX() !=
                             PixelFormat(key.targetFormat).chromaShiftX() ||
                         PixelFormat(key.sourceFormat).chromaShiftY() !=
                             PixelFormat(key.targetFormat).chromaShiftY())) {
            flags = SWS_BICUBIC | SWS_ACCURATE_RND;
        }
    }
    av_opt_set_int(scaler.get(), "srcw", key.sourceWidth, 0);
    av_opt_set_int(scaler.get(), "srch", key.sourceHeight, 0);
    av_opt_set_int(scaler.get(), "src_format", key.sourceFormat, 0);
    av_opt_set_int(scaler.get(), "dstw", key.targetWidth, 0);
    av_opt_set_int(scaler.get(), "dsth", key.targetHeight, 0);
    av_opt_set_int(scaler.get(), "dst_format", key.targetFormat, 0);
    av_opt_set_int(scaler.get(), "src_range", key.sourceFull, 0);
    av_opt_set_int(scaler.get(), "dst_range", key.targetFull, 0);
    av_opt_set_int(scaler.get(), "sws_flags", flags, 0);
    if (const int error = sws_init_context(scaler.get(), nullptr, nullptr); error < 0) {
        return nativeFailure(error, "sws_init_context " + PixelFormat(key.sourceFormat).name() +
                                        " to " + PixelFormat(key.targetFormat).name());
    }
    sws_setColorspaceDetails(scaler.get(), coefficients(key.sourceMatrix), key.sourceFull,
                             coefficients(key.targetMatrix), key.targetFull, 0, 1 << 16, 1 << 16);
    return scaler;
}

}  // namespace

int matrixOf(const VideoFrame& frame) {
    if (frame.format().isRgb() || frame.format().isGrey()) {
        return 0;
    }
    if (frame.color.matrix != 2 && frame.color.matrix != 0) {
        return frame.color.matrix;
    }
    return frame.height() > 576 || frame.width() > 1024 ? 1 : 6;
}

bool isFullRange(const VideoFrame& frame) {
    if (frame.color.range != ColorRange::unspecified) {
        return frame.color.range == ColorRange::full;
    }
    return frame.format().isRgb() || frame.format().isGrey();
}

struct PixelConverter::State {
    ScalerKey key;
    std::unique_ptr<SwsContext, ScalerFreer> scaler;
    PicturePool frames;
    Expected<VideoFrame> scale(const VideoFrame& source, const ScalerKey& wanted);
};

PixelConverter::PixelConverter() : state_(std::make_unique<State>()) {}
PixelConverter::~PixelConverter() = default;
PixelConverter::PixelConverter(PixelConverter&&) noexcept = default;
PixelConverter& PixelConverter::operator=(PixelConverter&&) noexcept = default;

/// The picture by the library's scaler, which is kept for pictures of the same kind.
Expected<VideoFrame> PixelConverter::State::scale(const VideoFrame& source,
                                                  const ScalerKey& wanted) {
    if (!scaler || !(key == wanted)) {
        auto newScaler = makeScaler(wanted);
        if (!newScaler) {
            return newScaler.failure();
        }
        scaler = std::move(*newScaler);
        key = wanted;
    }
    auto made =
        frames.take(PixelFormat(wanted.targetFormat), wanted.targetWidth, wanted.targetHeight);
    if (!made) {
        return made;
    }
    const AVFrame& from = *source.native()->frame;
    AVFrame& to = *made->native()->frame;
    const int rows =
        sws_scale(scaler.get(), from.data, from.linesize, 0, from.height, to.data, to.linesize);
    if (rows < 0) {
        return nativeFailure(rows, "sws_scale");
    }
    return made;
}

Expected<VideoFrame> PixelConverter::convert(const VideoFrame& source,
                                             const PictureTarget& target) {
    if (!source) {
        return Failure{FailureKind::badArgument, "no picture to convert"};
    }
    ScalerKey key{source.width(), source.height(), source.format().number(),
                  target.width,   target.height,   target.format.number()};
    const bool targetYuv = !target.format.isRgb() && !target.format.isGrey();
    key.sourceMatrix = matrixOf(source);
    key.targetMatrix = !targetYuv                                             ? 0
                       : target.color.matrix != 2 && target.color.matrix != 0 ? target.color.matrix
                       : key.sourceMatrix != 0                                ? key.sourceMatrix
                       : target.height > 576 || target.width > 1024           ? 1
                                                                              : 6;
    key.sourceFull = isFullRange(source);
    key.targetFull = target.color.range != ColorRange::unspecified
                         ? target.color.range == ColorRange::full
                         : !targetYuv || (!source.format().isRgb() && key.sourceFull);
    const bool sameColors =
        key.sourceFull == key.targetFull &&
        (!targetYuv || key.sourceMatrix == 0 || sameMatrix(key.sourceMatrix, key.targetMatrix));
    VideoFrame result = source;
    result.color.range = key.targetFull ? ColorRange::full : ColorRange::video;
    if (targetYuv) {
        result.color.matrix = key.targetMatrix;
    }
    if (key.sourceWidth == key.targetWidth && key.sourceHeight == key.targetHeight &&
        key.sourceFormat == key.targetFormat && sameColors) {
        return result;
    }
    const bool sameSize =
        key.sourceWidth == key.targetWidth && key.sourceHeight == key.targetHeight;
    const PlanarColorChange change{key.sourceMatrix, key.targetMatrix, key.sourceFull,
                                   key.targetFull};
    const bool changesColorsOnly =
        sameSize && key.sourceFormat == key.targetFormat && canChangeColors(target.format, change);
    const bool becomesRgb = sameSize && key.targetFull &&
                            canBecomeRgb(source.format(), target.format, key.sourceMatrix);
    auto made = changesColorsOnly ? withChangedColors(source, change)
                : becomesRgb
                    ? convertedToRgb(source, target.format, key.sourceMatrix, key.sourceFull)
                    : state_->scale(source, key);
    if (!made) {
        return made;
    }
    const VideoFrame facts = result;
    result = *made;
    result.time = facts.time;
    result.duration = facts.duration;
    result.keyFrame = facts.keyFrame;
    result.interlaced = facts.interlaced;
    result.topFieldFirst = facts.topFieldFirst;
    result.color = facts.color;
    result.pixelAspect = facts.pixelAspect;
    return result;
}

Expected<VideoFrame> croppedView(const VideoFrame& frame, int x, int y, int width, int height) {
    const PixelFormat format = frame.format();
    x &= ~((1 << format.chromaShiftX()) - 1);
    y &= ~((1 << format.chromaShiftY()) - 1);
    if (x < 0 || y < 0 || width < 1 || height < 1 || x + width > frame.width() ||
        y + height > frame.height()) {
        return Failure{FailureKind::badArgument, "a part outside of the picture"};
    }
    auto native = std::make_shared<NativeFrame>();
    if (const int error = av_frame_ref(native->frame, frame.native()->frame); error < 0) {
        return nativeFailure(error, "av_frame_ref");
    }
    native->frame->crop_left = std::size_t(x);
    native->frame->crop_top = std::size_t(y);
    native->frame->crop_right = std::size_t(frame.width() - x - width);
    native->frame->crop_bottom = std::size_t(frame.height() - y - height);
    if (const int error = av_frame_apply_cropping(native->frame, AV_FRAME_CROP_UNALIGNED);
        error < 0) {
        return nativeFailure(error, "av_frame_apply_cropping");
    }
    VideoFrame view(std::move(native));
    view.time = frame.time;
    view.duration = frame.duration;
    view.keyFrame = frame.keyFrame;
    view.interlaced = frame.interlaced;
    view.topFieldFirst = frame.topFieldFirst;
    view.color = frame.color;
    view.pixelAspect = frame.pixelAspect;
    return view;
}

}  // namespace TWQuickTime::codec
