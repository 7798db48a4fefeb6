#include "Engines/codec/PixelFormat.h"

#include "Engines/codec/Private/Native.h"

namespace TWQuickTime::codec {

namespace {

const AVPixFmtDescriptor* descriptorOf(PixelFormat format) {
    return av_pix_fmt_desc_get(static_cast<AVPixelFormat>(format.number()));
}

}  // namespace

PixelFormat PixelFormat::argb32() {
    return PixelFormat(AV_PIX_FMT_ARGB);
}
PixelFormat PixelFormat::bgra32() {
    return PixelFormat(AV_PIX_FMT_BGRA);
}
PixelFormat PixelFormat::rgba32() {
    return PixelFormat(AV_PIX_FMT_RGBA);
}
PixelFormat PixelFormat::rgb24() {
    return PixelFormat(AV_PIX_FMT_RGB24);
}
PixelFormat PixelFormat::grey8() {
    return PixelFormat(AV_PIX_FMT_GRAY8);
}
PixelFormat PixelFormat::yuv420() {
    return PixelFormat(AV_PIX_FMT_YUV420P);
}
PixelFormat PixelFormat::yuv422() {
    return PixelFormat(AV_PIX_FMT_YUV422P);
}
PixelFormat PixelFormat::yuv444() {
    return PixelFormat(AV_PIX_FMT_YUV444P);
}
PixelFormat PixelFormat::yuyv422() {
    return PixelFormat(AV_PIX_FMT_YUYV422);
}
PixelFormat PixelFormat::uyvy422() {
    return PixelFormat(AV_PIX_FMT_UYVY422);
}

bool PixelFormat::hasAlpha() const {
    const auto* d = descriptorOf(*this);
    return d && (d->flags & (AV_PIX_FMT_FLAG_ALPHA | AV_PIX_FMT_FLAG_PAL)) != 0;
}

bool PixelFormat::isRgb() const {
    const auto* d = descriptorOf(*this);
    return d && (d->flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)) != 0;
}

bool PixelFormat::isGrey() const {
    const auto* d = descriptorOf(*this);
    return d && d->nb_components <= 2 && !(d->flags & AV_PIX_FMT_FLAG_PAL);
}

int PixelFormat::bitsPerComponent() const {
    const auto* d = descriptorOf(*this);
    return d ? d->comp[0].depth : 0;
}

int PixelFormat::chromaShiftX() const {
    const auto* d = descriptorOf(*this);
    return d ? d->log2_chroma_w : 0;
}

int PixelFormat::chromaShiftY() const {
    const auto* d = descriptorOf(*this);
    return d ? d->log2_chroma_h : 0;
}

int PixelFormat::planeCount() const {
    return valid() ? av_pix_fmt_count_planes(static_cast<AVPixelFormat>(number_)) : 0;
}

std::string PixelFormat::name() const {
    const char* text = av_get_pix_fmt_name(static_cast<AVPixelFormat>(number_));
    return text ? text : "none";
}

}  // namespace TWQuickTime::codec
