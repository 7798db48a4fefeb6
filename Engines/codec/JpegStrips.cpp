#include "Engines/codec/Private/JpegStrips.h"

#include <algorithm>
#include <cstring>

#include "Engines/codec/PixelConverter.h"

namespace TWQuickTime::codec {

namespace {

/// The last sample repeated to the end of a row.
void padRow(std::uint8_t* row, int width, int paddedWidth) {
    std::memset(row + width, row[width - 1], std::size_t(paddedWidth - width));
}

}  // namespace

void JpegStrips::prepare(const jpeg_compress_struct& info, const VideoFrame& frame) {
    planeCount_ = info.num_components;
    shiftX_ = frame.format().chromaShiftX();
    shiftY_ = frame.format().chromaShiftY();
    for (int i = 0; i < planeCount_; ++i) {
        const jpeg_component_info& component = info.comp_info[i];
        Plane& plane = planes_[std::size_t(i)];
        plane.width = i > 0 ? -((-frame.width()) >> shiftX_) : frame.width();
        plane.height = i > 0 ? -((-frame.height()) >> shiftY_) : frame.height();
        plane.paddedWidth = int(component.width_in_blocks) * DCTSIZE;
        plane.lines = component.v_samp_factor * DCTSIZE;
        plane.memory.resize(std::size_t(plane.paddedWidth) * std::size_t(plane.lines));
    }
}

void JpegStrips::useRows(const VideoFrame& frame, int index, int strip) {
    Plane& plane = planes_[std::size_t(index)];
    for (int i = 0; i < plane.lines; ++i) {
        // The last row is repeated to fill the blocks.
        const int y = std::min(strip * plane.lines + i, plane.height - 1);
        auto* row = const_cast<std::uint8_t*>(frame.row(index, y));
        if (plane.paddedWidth > plane.width) {
            std::memcpy(plane.line(i), row, std::size_t(plane.width));
            row = plane.line(i);
            padRow(row, plane.width, plane.paddedWidth);
        }
        plane.rows[std::size_t(i)] = row;
    }
}

void JpegStrips::changeRows(const VideoFrame& frame, int strip, PlanarColorRows& colors) {
    Plane &luma = planes_[0], &u = planes_[1], &v = planes_[2];
    const int lumaPerChroma = 1 << shiftY_;
    for (int i = 0; i < u.lines; ++i) {
        const int row = std::min(strip * u.lines + i, u.height - 1);
        const std::uint8_t* fromU = frame.row(1, row);
        const std::uint8_t* fromV = frame.row(2, row);
        colors.changeChroma(fromU, fromV, u.line(i), v.line(i), u.width);
        padRow(u.line(i), u.width, u.paddedWidth);
        padRow(v.line(i), v.width, v.paddedWidth);
        u.rows[std::size_t(i)] = u.line(i);
        v.rows[std::size_t(i)] = v.line(i);
        colors.beginLuma(fromU, fromV, u.width, shiftX_);
        for (int j = i * lumaPerChroma; j < (i + 1) * lumaPerChroma; ++j) {
            const int y = std::min(strip * luma.lines + j, luma.height - 1);
            colors.changeLuma(frame.row(0, y), luma.line(j), luma.width);
            padRow(luma.line(j), luma.width, luma.paddedWidth);
            luma.rows[std::size_t(j)] = luma.line(j);
        }
    }
}

void JpegStrips::write(jpeg_compress_struct& info, const VideoFrame& frame, int matrix) {
    prepare(info, frame);
    const int own = matrixOf(frame);
    PlanarColorRows& colors = colors_.emplace(
        PlanarColorChange{own, matrix == 2 ? own : matrix, isFullRange(frame), true});
    const bool keeps = planeCount_ == 1 || colors.keepsAll();
    std::array<JSAMPARRAY, 3> rows{};
    for (std::size_t i = 0; i < planes_.size(); ++i) {
        rows[i] = planes_[i].rows.data();
    }
    const int stripHeight = planes_[0].lines;
    for (int strip = 0; strip * stripHeight < frame.height(); ++strip) {
        if (keeps) {
            for (int plane = 0; plane < planeCount_; ++plane) {
                useRows(frame, plane, strip);
            }
        } else {
            changeRows(frame, strip, colors);
        }
        jpeg_write_raw_data(&info, rows.data(), JDIMENSION(stripHeight));
    }
}

}  // namespace TWQuickTime::codec
