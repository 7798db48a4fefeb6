#include "Engines/transcode/MovieRenderer.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>

namespace TWQuickTime::transcode {

using codec::PixelFormat;
using codec::VideoFrame;
using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

namespace {

constexpr std::int64_t kFinestTimeScale = 10'000'000'000;
constexpr int kLargestSide = 16384;

bool isSeen(const timeline::Track& track) {
    return track.media && track.media->type() == timeline::fourCharCode("vide") &&
           !track.media->descriptions.empty() && track.media->samples.sampleCount() > 0;
}

double fixed(std::int32_t value) {
    return value / 65536.0;
}

double aspectOf(const codec::VideoDescription& description) {
    return description.pixelAspect.known() ? description.pixelAspect.value() : 1.0;
}

bool near(double a, double b) {
    return std::abs(a - b) <= 1.01;
}

/// Whether a track shows the stored pixels, at their own or at the display aspect ratio.
bool showsStoredPixels(const timeline::Track& track, const codec::VideoDescription& d) {
    const double width = fixed(track.dimensions.width), height = fixed(track.dimensions.height);
    return near(height, d.height) && (near(width, d.width) || near(width, d.width * aspectOf(d)));
}

bool showsCleanAperture(const timeline::Track& track, const codec::VideoDescription& d) {
    if (!d.cleanAperture || showsStoredPixels(track, d)) {
        return false;
    }
    const double width = fixed(track.dimensions.width), height = fixed(track.dimensions.height);
    return near(height, d.cleanAperture->height) &&
           (near(width, d.cleanAperture->width) ||
            near(width, d.cleanAperture->width * aspectOf(d)));
}

bool isWhole(double value) {
    return std::abs(value - std::round(value)) < 0.02;
}

/// From a track's pixels to the movie's.
Affine placementOf(const timeline::Track& track, const timeline::Movie& movie) {
    return Affine::of(track.matrix).then(Affine::of(movie.matrix));
}

Extent extentOf(const timeline::Track& track, const timeline::Movie& movie) {
    return Extent::of(placementOf(track, movie), fixed(track.dimensions.width),
                      fixed(track.dimensions.height));
}

/// Pixels of its own; the canvas has one plane of four bytes a pixel.
Expected<VideoFrame> duplicate(const VideoFrame& canvas) {
    auto copy = VideoFrame::allocate(canvas.format(), canvas.width(), canvas.height());
    for (int y = 0; copy && y < canvas.height(); ++y) {
        std::memcpy(copy->writableRow(0, y), canvas.row(0, y), std::size_t(canvas.width()) * 4);
    }
    return copy;
}

int evenUp(int value, bool wanted) {
    return wanted ? (value + 1) & ~1 : value;
}

}  // namespace

Expected<VideoFrame> shownPart(const VideoFrame& frame, const codec::VideoDescription& description,
                               const timeline::Track& track) {
    if (!showsCleanAperture(track, description) || frame.width() < description.width ||
        frame.height() < description.height) {
        return frame;
    }
    const codec::CleanAperture& aperture = *description.cleanAperture;
    const int width = std::max(1, int(std::lround(aperture.width)));
    const int height = std::max(1, int(std::lround(aperture.height)));
    const int x =
        std::clamp(int(std::lround((description.width - aperture.width) / 2 + aperture.offsetX)), 0,
                   frame.width() - width);
    const int y =
        std::clamp(int(std::lround((description.height - aperture.height) / 2 + aperture.offsetY)),
                   0, frame.height() - height);
    return croppedView(frame, x, y, width, height);
}

Expected<std::unique_ptr<MovieRenderer>> MovieRenderer::open(const timeline::Movie& movie,
                                                             const RenderOptions& options) {
    auto renderer = std::make_unique<MovieRenderer>();
    std::vector<const timeline::Track*> tracks;
    for (const auto& track : movie.tracks) {
        const bool wanted = options.onlyTrack ? track.get() == options.onlyTrack : track->enabled();
        if (wanted && isSeen(*track)) {
            tracks.push_back(track.get());
        }
    }
    // Lower layers are nearer to the front; among equals the later track is.
    std::ranges::stable_sort(tracks,
                             [](const auto* a, const auto* b) { return a->layer > b->layer; });
    std::optional<Failure> firstFailure;
    for (const timeline::Track* track : tracks) {
        auto reader = VideoTrackReader::open(movie, *track, options.reading);
        if (!reader) {
            if (!firstFailure) {
                firstFailure = reader.failure();
            }
            continue;
        }
        Layer layer;
        layer.reader = std::move(*reader);
        layer.mode.mode = static_cast<GraphicsMode>(track->media->graphicsMode);
        layer.mode.opColor = track->media->opColor;
        renderer->layers_.push_back(std::move(layer));
    }
    if (renderer->layers_.empty()) {
        if (firstFailure) {
            return *firstFailure;
        }
        return Failure{FailureKind::notFound, "the movie shows no pictures"};
    }
    renderer->alpha_ = options.alpha;
    renderer->layOut(movie, options);
    renderer->chooseTimeScale(movie);
    return renderer;
}

void MovieRenderer::layOut(const timeline::Movie& movie, const RenderOptions& options) {
    Extent box = extentOf(layers_.front().reader->track(), movie);
    for (const Layer& layer : layers_) {
        box = box.with(extentOf(layer.reader->track(), movie));
    }
    const auto side = [](double length) {
        return std::clamp(int(std::lround(length)), 1, kLargestSide);
    };
    const codec::VideoDescription& description = layers_.front().reader->description();
    const timeline::Track& only = layers_.front().reader->track();
    const Affine placement = placementOf(only, movie);
    const bool copies = layers_.front().mode.mode == GraphicsMode::copy ||
                        layers_.front().mode.mode == GraphicsMode::ditherCopy;
    direct_ =
        layers_.size() == 1 && placement.isUpright() && copies && !ClipMask::isNeeded(movie, only);
    const bool unscaled = placement.a == 1 && placement.d == 1;
    if (direct_ && options.storedSize && options.width <= 0 && options.height <= 0 && unscaled &&
        showsStoredPixels(only, description)) {
        storedSize_ = true;
        width_ = evenUp(description.width, options.evenSize);
        height_ = evenUp(description.height, options.evenSize);
        pixelAspect_ =
            description.pixelAspect.known() ? description.pixelAspect : codec::Rational{1, 1};
        return;
    }
    width_ = evenUp(options.width > 0 ? std::min(options.width, kLargestSide) : side(box.width()),
                    options.evenSize);
    height_ =
        evenUp(options.height > 0 ? std::min(options.height, kLargestSide) : side(box.height()),
               options.evenSize);
    const double scaleX = box.width() > 0 ? width_ / box.width() : 1;
    const double scaleY = box.height() > 0 ? height_ / box.height() : 1;
    for (Layer& layer : layers_) {
        const Affine toCanvas{scaleX, 0, 0, scaleY, -box.left * scaleX, -box.top * scaleY};
        layer.forward = placementOf(layer.reader->track(), movie).then(toCanvas);
        layer.clip = ClipMask::make(movie, layer.reader->track(), toCanvas, width_, height_);
    }
}

void MovieRenderer::chooseTimeScale(const timeline::Movie& movie) {
    std::int64_t scale = std::max<std::int64_t>(movie.timeScale, 1);
    for (const Layer& layer : layers_) {
        const std::int64_t media = layer.reader->edits().mediaScale();
        const std::int64_t both = std::lcm(scale, media);
        if (both > 0 && both <= kFinestTimeScale) {
            scale = both;
        }
    }
    timeScale_ = scale;
}

std::uint64_t MovieRenderer::decodedSamples() const {
    std::uint64_t count = 0;
    for (const Layer& layer : layers_) {
        count += layer.reader->decodedSamples();
    }
    return count;
}

std::optional<codec::CleanAperture> MovieRenderer::cleanAperture() const {
    return storedSize_ ? mainTrack().description().cleanAperture : std::nullopt;
}

PixelFormat MovieRenderer::expectedFormat(Time movieTime) {
    if (!direct_) {
        return PixelFormat::bgra32();
    }
    auto frame = layers_.front().reader->frameAt(movieTime);
    return frame && *frame ? (*frame)->format() : PixelFormat::bgra32();
}

std::optional<std::int64_t> MovieRenderer::nextChange(Time movieTime) const {
    std::optional<std::int64_t> next;
    for (const Layer& layer : layers_) {
        const auto change = layer.reader->nextChange(movieTime, timeScale_);
        if (change && (!next || *change < *next)) {
            next = change;
        }
    }
    return next;
}

std::int64_t MovieRenderer::endTime() const {
    std::int64_t end = 0;
    for (const Layer& layer : layers_) {
        end = std::max(end, timeline::rescale(layer.reader->track().duration(),
                                              layer.reader->edits().movieScale(), timeScale_));
    }
    return end;
}

Expected<VideoFrame> MovieRenderer::blankCanvas() const {
    auto canvas = VideoFrame::allocate(PixelFormat::bgra32(), width_, height_);
    if (!canvas) {
        return canvas;
    }
    for (int y = 0; y < height_; ++y) {
        std::uint8_t* row = canvas->writableRow(0, y);
        std::memset(row, 0, std::size_t(width_) * 4);
        for (int x = 0; !alpha_ && x < width_; ++x) {
            row[x * 4 + 3] = 255;
        }
    }
    canvas->pixelAspect = pixelAspect_;
    return canvas;
}

Status MovieRenderer::draw(Layer& layer, const VideoFrame& frame, VideoFrame& canvas) {
    if (!layer.clip) {
        return drawWhole(layer, frame, canvas);
    }
    auto before = duplicate(canvas);
    if (!before) {
        return before.failure();
    }
    if (auto status = drawWhole(layer, frame, canvas); !status) {
        return status;
    }
    layer.clip->restore(canvas, *before);
    return {};
}

Status MovieRenderer::drawWhole(Layer& layer, const VideoFrame& frame, VideoFrame& canvas) {
    auto part = shownPart(frame, layer.reader->description(), layer.reader->track());
    if (!part) {
        return part.failure();
    }
    const double trackWidth = fixed(layer.reader->track().dimensions.width);
    const double trackHeight = fixed(layer.reader->track().dimensions.height);
    const Affine& m = layer.forward;
    const double width = trackWidth * m.a, height = trackHeight * m.d;
    if (m.isUpright() && isWhole(m.x) && isWhole(m.y) && isWhole(width) && isWhole(height) &&
        width >= 1 && height >= 1 && width <= kLargestSide && height <= kLargestSide) {
        auto picture = layer.converter.convert(
            *part, {PixelFormat::bgra32(), int(std::lround(width)), int(std::lround(height)), {}});
        if (!picture) {
            return picture.failure();
        }
        drawAt(canvas, *picture, int(std::lround(m.x)), int(std::lround(m.y)), layer.mode);
        return {};
    }
    auto picture =
        layer.converter.convert(*part, {PixelFormat::bgra32(), part->width(), part->height(), {}});
    if (!picture) {
        return picture.failure();
    }
    // From picture pixels: the track's size is not always the picture's.
    const double stretchX = trackWidth > 0 ? trackWidth / picture->width() : 1;
    const double stretchY = trackHeight > 0 ? trackHeight / picture->height() : 1;
    Affine fromPicture = m;
    fromPicture.a *= stretchX;
    fromPicture.b *= stretchX;
    fromPicture.c *= stretchY;
    fromPicture.d *= stretchY;
    drawMapped(canvas, *picture, fromPicture.inverse(), layer.mode);
    return {};
}

Expected<VideoFrame> MovieRenderer::renderNative(Time movieTime) {
    if (direct_) {
        Layer& layer = layers_.front();
        auto frame = layer.reader->frameAt(movieTime);
        if (!frame) {
            return frame.failure();
        }
        if (!*frame) {
            return blankCanvas();
        }
        if (storedSize_) {
            return std::move(**frame);
        }
        return shownPart(**frame, layer.reader->description(), layer.reader->track());
    }
    auto canvas = blankCanvas();
    if (!canvas) {
        return canvas;
    }
    for (Layer& layer : layers_) {
        auto frame = layer.reader->frameAt(movieTime);
        if (!frame) {
            return frame.failure();
        }
        if (*frame) {
            if (auto status = draw(layer, **frame, *canvas); !status) {
                return status.failure();
            }
        }
    }
    return canvas;
}

Expected<VideoFrame> MovieRenderer::renderFrame(Time movieTime, PixelFormat format) {
    auto frame = renderNative(movieTime);
    if (!frame) {
        return frame;
    }
    return converter_.convert(*frame, {format, width_, height_, {}});
}

}  // namespace TWQuickTime::transcode
