#include "MovieDrawing.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <thread>

#include "Engines/image/PremultipliedAlpha.h"
#include "Engines/timeline/Geometry.h"
#include "Private/DrawingRecord.h"
#include "Private/GWorldRecord.h"
#include "Private/MovieFileStorage.h"
#include "Private/MovieLoading.h"
#include "Private/RecordCalls.h"
#include "Private/StatusOfFailure.h"

namespace TWQuickTime {
namespace {

MovieDrawing& drawingOf(MovieRecord& record) {
    if (!record.drawing)
        record.drawing = std::make_unique<MovieDrawing>();
    return *record.drawing;
}

/// A hash over all that decides what a movie shows and what decoders read (FNV-1a).
class Fingerprint {
  public:
    template <class Number>
    void add(Number value) {
        auto bits = static_cast<std::uint64_t>(value);
        for (int i = 0; i < 8; ++i, bits >>= 8)
            hash_ = (hash_ ^ (bits & 0xFF)) * 0x100000001B3;
    }
    std::uint64_t value() const { return hash_; }

  private:
    std::uint64_t hash_ = 0xCBF29CE484222325;
};

void addLooksOf(const timeline::Media& media, Fingerprint& hash) {
    hash.add(media.timeScale);
    hash.add(media.graphicsMode);
    hash.add(media.descriptions.size());
    for (const timeline::SampleDescription& description : media.descriptions)
        for (const std::byte byte : description.bytes().span())
            hash.add(byte);
    hash.add(media.samples.sampleCount());
    hash.add(media.samples.duration());
}

/// Of all values that decide what a movie shows.
std::uint64_t looksOf(const timeline::Movie& movie, const transcode::RenderOptions& options) {
    Fingerprint hash;
    hash.add(options.width);
    hash.add(options.height);
    hash.add(options.alpha);
    hash.add(movie.timeScale);
    for (std::int32_t number : movie.matrix)
        hash.add(number);
    for (const auto& track : movie.tracks) {
        hash.add(track->id);
        hash.add(track->flags);
        hash.add(track->layer);
        hash.add(track->dimensions.width);
        hash.add(track->dimensions.height);
        for (std::int32_t number : track->matrix)
            hash.add(number);
        for (const timeline::Edit& edit : track->edits.edits()) {
            hash.add(edit.duration);
            hash.add(edit.mediaTime);
            hash.add(edit.rate);
        }
        if (track->media)
            addLooksOf(*track->media, hash);
    }
    return hash.value();
}

/// Of the parts that a renderer refers to.
std::uint64_t identityOf(const timeline::Movie& movie) {
    Fingerprint hash;
    for (const auto& track : movie.tracks) {
        hash.add(reinterpret_cast<std::uintptr_t>(track.get()));
        hash.add(reinterpret_cast<std::uintptr_t>(track->media.get()));
    }
    return hash.value();
}

/// A row of A R G B pixels, premultiplied, laid over the world's pixels.
void placeRow(const std::uint8_t* row, const OpaquePixMap& map, int x, int y, int width,
              bool keepsUncovered) {
    std::uint8_t* out =
        map.pixels + std::ptrdiff_t{map.rowBytes} * y + std::ptrdiff_t{x} * map.bytesPerPixel();
    if (map.bytesPerPixel() == 4) {
        if (keepsUncovered)
            image::composeRowOver(row, out, width, true);
        else
            std::copy_n(row, std::ptrdiff_t{width} * 4, out);
        return;
    }
    for (int i = 0; i < width; ++i, row += 4, out += 3) {
        const unsigned rest = keepsUncovered ? 255u - row[0] : 0u;
        for (int c = 0; c < 3; ++c)
            out[c] = static_cast<std::uint8_t>(
                std::min(255u, row[1 + c] + unsigned{image::multiply255(out[c], rest)}));
    }
}

/// Whole pixels of a movie box.
struct PixelBox {
    int left = 0, top = 0, width = 0, height = 0;
};

PixelBox pixelBoxOf(const MovieRecord& record) {
    const timeline::Box box = timeline::boxOfMovie(*record.movie, record.apertureMode);
    const auto whole = [](double edge) { return static_cast<int>(std::lround(edge)); };
    PixelBox result;
    result.left = whole(box.left);
    result.top = whole(box.top);
    result.width = whole(box.right) - result.left;
    result.height = whole(box.bottom) - result.top;
    return result;
}

// Eight pictures of 1920 × 1080 by the reader's estimate.
constexpr std::size_t kKeptPictureBytes = 64 * 1024 * 1024;

constexpr int kMostThreads = 8;

transcode::RenderOptions renderOptions(const PixelBox& box, bool keepsUncovered) {
    transcode::RenderOptions options;
    options.width = box.width;
    options.height = box.height;
    options.alpha = keepsUncovered;
    options.reading.keptBytes = kKeptPictureBytes;
    options.reading.singlePictures = true;
    // One for each core: every further thread costs memory for pictures that nobody asked for.
    options.reading.decoding.threads =
        std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, kMostThreads);
    return options;
}

/// Makes sure that there are decoders for what the movie looks like; `notFound` when no track shows
/// pictures.
result::Status prepareRenderer(MovieRecord& record, const transcode::RenderOptions& options) {
    MovieDrawing& drawing = drawingOf(record);
    const std::uint64_t looks = looksOf(*record.movie, options);
    const std::uint64_t identity = identityOf(*record.movie);
    if (drawing.drawn.renderer && drawing.looks == looks && drawing.identity == identity)
        return {};
    drawing.drawn.renderer.reset();
    drawing.drawn.movie.reset();
    std::optional<DrawnMovie> kept;
    if (const auto decoders = drawing.cloneDecoders.lock())
        kept = decoders->take(drawing.atom, looks);
    if (kept) {
        drawing.drawn = *std::move(kept);
    } else {
        auto opened = transcode::MovieRenderer::open(*record.movie, options);
        if (!opened)
            return opened.failure();
        drawing.drawn.renderer = *std::move(opened);
    }
    drawing.looks = looks;
    drawing.identity = identity;
    return {};
}

/// The current frame at the box's size; an empty frame when no track shows pictures.
result::Expected<codec::VideoFrame> currentFrame(MovieRecord& record, const PixelBox& box,
                                                 bool keepsUncovered) {
    if (const auto prepared = prepareRenderer(record, renderOptions(box, keepsUncovered));
        !prepared) {
        if (prepared.failure().kind == result::FailureKind::notFound)
            return codec::VideoFrame();
        return prepared.failure();
    }
    return record.drawing->drawn.renderer->renderFrame(
        {record.movie->currentTime, record.movie->timeScale}, codec::PixelFormat::argb32());
}

/// Whether samples come from a file that is open for writing, which must not be held on to.
bool readsFromOpenStorage(const timeline::Movie& movie) {
    for (const auto& track : movie.tracks)
        if (track->media)
            for (const timeline::DataReference& reference : track->media->dataReferences)
                if (dynamic_cast<const MovieStorage*>(reference.store.get()))
                    return true;
    return false;
}

OSErr draw(Movie movie, MovieRecord& record) {
    MovieDrawing& drawing = drawingOf(record);
    OpaqueGrafPtr* world = findGWorld(drawing.port);
    if (!world)
        return noErr;
    const PixelBox box = pixelBoxOf(record);
    if (box.width < 1 || box.height < 1)
        return noErr;
    const bool keepsUncovered = drawing.uncoverProc != nullptr;
    if (keepsUncovered) {
        if (const OSErr status = drawing.uncoverProc(movie, nullptr, drawing.coverRefCon);
            status != noErr)
            return status;
    }
    const auto frame = currentFrame(record, box, keepsUncovered);
    if (!frame)
        return statusOfFailure(frame.failure());

    const OpaquePixMap& map = world->pixMap;
    const int left = std::max(0, box.left - map.bounds.left);
    const int right = std::min(map.width(), box.left + box.width - map.bounds.left);
    const int top = std::max(0, box.top - map.bounds.top);
    const int bottom = std::min(map.height(), box.top + box.height - map.bounds.top);
    if (right <= left || bottom <= top)
        return noErr;
    std::vector<std::uint8_t> black;
    if (!*frame) {
        if (keepsUncovered)
            return noErr;
        for (int x = left; x < right; ++x)
            black.insert(black.end(), {255, 0, 0, 0});
    }
    const int skippedColumns = left - (box.left - map.bounds.left);
    const int skippedRows = top - (box.top - map.bounds.top);
    for (int y = top; y < bottom; ++y) {
        const std::uint8_t* row =
            *frame ? frame->row(0, y - top + skippedRows) + std::ptrdiff_t{skippedColumns} * 4
                   : black.data();
        placeRow(row, map, left, y, right - left, keepsUncovered);
    }
    return noErr;
}

}  // namespace

void keepDecodersForNextClone(MovieRecord& record) {
    MovieDrawing& drawing = *record.drawing;
    const auto decoders = drawing.cloneDecoders.lock();
    if (!decoders || !drawing.drawn.renderer || readsFromOpenStorage(*record.movie))
        return;
    if (!drawing.drawn.movie) {
        if (drawing.identity != identityOf(*record.movie))
            return;
        drawing.drawn.movie = std::move(record.movie);
    }
    decoders->keep(drawing.atom, drawing.looks, std::move(drawing.drawn));
}

void SetMovieGWorld(Movie movie, CGrafPtr port, const void*) {
    changeObject("SetMovieGWorld", movie,
                 [&](MovieRecord& record) { drawingOf(record).port = port; });
}

void GetMovieGWorld(Movie movie, CGrafPtr* port, const void** device) {
    if (device)
        *device = nullptr;
    if (port)
        *port = readObject("GetMovieGWorld", movie, CGrafPtr{nullptr},
                           [](MovieRecord& record) { return drawingOf(record).port; });
}

void SetMovieCoverProcs(Movie movie, MovieRgnCoverUPP uncoverProc, MovieRgnCoverUPP coverProc,
                        RefCon refCon) {
    changeObject("SetMovieCoverProcs", movie, [&](MovieRecord& record) {
        MovieDrawing& drawing = drawingOf(record);
        drawing.uncoverProc = uncoverProc;
        drawing.coverProc = coverProc;
        drawing.coverRefCon = refCon;
    });
}

OSErr MoviesTask(Movie movie, std::int32_t) {
    if (!movie)
        return noErr;
    return workOnObject("MoviesTask", movie, [&](MovieRecord& record) {
        if (record.loading)
            record.loading->takeTurn(record);
        return draw(movie, record);
    });
}

}  // namespace TWQuickTime
