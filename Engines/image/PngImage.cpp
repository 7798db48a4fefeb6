#include <algorithm>
#include <cstring>
#include <vector>

#include "Engines/image/PngChunks.h"
#include "Engines/image/PngFilter.h"
#include "Engines/image/PngInflater.h"
#include "Engines/image/PngRowExpander.h"
#include "Engines/image/StillImage.h"

namespace TWQuickTime::image {
namespace {

using result::Failure;
using result::FailureKind;
using result::Status;

/// Unfilters rows of one pass as they come out of the inflater.
class PngRows {
  public:
    PngRows(PngInflater& inflater, const PngHeader& header, int width)
        : inflater_(inflater),
          rowBytes_(header.rowBytes(width)),
          bytesPerPixel_(static_cast<std::size_t>(std::max(1, header.bitsPerPixel() / 8))),
          previous_(rowBytes_, 0) {}

    /// The next row, valid until the call after it.
    result::Expected<const std::uint8_t*> next() {
        result::Expected<std::uint8_t*> filtered = inflater_.next(rowBytes_ + 1);
        if (!filtered)
            return filtered.failure();
        std::uint8_t* row = *filtered + 1;
        if (!unfilterPngRow(**filtered, row, previous_.data(), rowBytes_, bytesPerPixel_))
            return Failure{FailureKind::damaged, "PNG: unknown row filter"};
        std::memcpy(previous_.data(), row, rowBytes_);
        return static_cast<const std::uint8_t*>(previous_.data());
    }

  private:
    PngInflater& inflater_;
    std::size_t rowBytes_;
    std::size_t bytesPerPixel_;
    std::vector<std::uint8_t> previous_;
};

class PngImage : public StillImage {
  public:
    explicit PngImage(PngFile file) : file_(std::move(file)) {}

    SizeInPixels size() const override { return {file_.header.width, file_.header.height}; }

    Status draw(RowConsumer& consumer, SizeInPixels,
                std::span<const std::byte> destinationProfile) const override {
        auto transform = ColorTransform::make(file_.colors(), destinationProfile);
        if (!transform)
            return transform.failure();
        const PngHeader& header = file_.header;
        if (Status begun =
                consumer.begin(header.width, header.height,
                               file_.hasTransparency ? AlphaKind::straight : AlphaKind::skipped);
            !begun)
            return begun;
        const auto send = [&](std::uint8_t* pixels) {
            if (*transform)
                (*transform)->convertRow(pixels, header.width);
            return consumer.row(pixels);
        };
        return header.interlaced ? drawInterlaced(send) : drawRows(send);
    }

  private:
    template <class Send>
    Status drawRows(const Send& send) const {
        PngInflater inflater(file_.data);
        PngRows rows(inflater, file_.header, file_.header.width);
        const PngRowExpander expander(file_);
        std::vector<std::uint8_t> pixels(static_cast<std::size_t>(file_.header.width) * 4);
        for (int y = 0; y < file_.header.height; ++y) {
            auto row = rows.next();
            if (!row)
                return row.failure();
            expander.expand(*row, pixels.data(), file_.header.width);
            if (Status sent = send(pixels.data()); !sent)
                return sent;
        }
        return {};
    }

    /// Adam7: seven passes over ever finer grids, so the whole picture is held.
    template <class Send>
    Status drawInterlaced(const Send& send) const {
        const PngHeader& header = file_.header;
        if (std::int64_t{header.width} * header.height > kMaximumWholePixels)
            return Failure{FailureKind::limit, "PNG: too large for an interlaced picture"};
        const std::size_t width = static_cast<std::size_t>(header.width);
        std::vector<std::uint8_t> picture(width * static_cast<std::size_t>(header.height) * 4);
        struct Pass {
            int x, y, stepX, stepY;
        };
        static constexpr Pass kPasses[7] = {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4},
                                            {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}};
        PngInflater inflater(file_.data);
        const PngRowExpander expander(file_);
        for (const Pass& pass : kPasses) {
            const int columns = (header.width - pass.x + pass.stepX - 1) / pass.stepX;
            if (columns <= 0)
                continue;
            PngRows rows(inflater, header, columns);
            for (int y = pass.y; y < header.height; y += pass.stepY) {
                auto row = rows.next();
                if (!row)
                    return row.failure();
                expander.expand(*row,
                                &picture[(static_cast<std::size_t>(y) * width +
                                          static_cast<std::size_t>(pass.x)) *
                                         4],
                                columns, pass.stepX);
            }
        }
        for (int y = 0; y < header.height; ++y)
            if (Status sent = send(&picture[static_cast<std::size_t>(y) * width * 4]); !sent)
                return sent;
        return {};
    }

    PngFile file_;
};

}  // namespace

StillImageOrFailure openPNG(std::span<const std::byte> bytes) {
    result::Expected<PngFile> file = readPngChunks(bytes);
    if (!file)
        return file.failure();
    return std::unique_ptr<StillImage>(new PngImage(*std::move(file)));
}

}  // namespace TWQuickTime::image
