// Pictures from a file into a buffer of 1920 × 1080 pixels: this library against libvips and
// gdk-pixbuf. Judge by the processor time of the whole process; libvips uses threads.
#include <benchmark/benchmark.h>
#include <gdk-pixbuf/gdk-pixbuf.h>
#include <unistd.h>
#include <vips/vips.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "UQuickTimeImage.h"

namespace {

using namespace TWQuickTime;

constexpr int kWidth = 1920, kHeight = 1080;

/// A picture file that ffmpeg makes; gone with the process.
class PictureFile {
  public:
    PictureFile(const std::string& extension, int width, int height)
        : path_("/tmp/twqt-picture-" + std::to_string(getpid()) + "." + extension) {
        const std::string size = std::to_string(width) + "x" + std::to_string(height);
        const std::string command = "ffmpeg -v error -nostdin -y -f lavfi -i testsrc2=s=" + size +
                                    " -vf noise=alls=6,format=rgb24 -q:v 3 -frames:v 1 " + path_;
        if (std::system(command.c_str()) != 0)
            std::abort();
    }
    ~PictureFile() { unlink(path_.c_str()); }
    const std::string& path() const { return path_; }

  private:
    std::string path_;
};

const PictureFile png("png", 4000, 3000);
const PictureFile jpeg("jpg", 6000, 4000);

/// How far a buffer is from what ffmpeg's area average makes of the file, in decibels.
double distanceToAreaAverage(const PictureFile& file, const std::vector<unsigned char>& pixels) {
    const std::string raw = file.path() + ".argb";
    const std::string command = "ffmpeg -v error -nostdin -y -i " + file.path() +
                                " -vf scale=" + std::to_string(kWidth) + ":" +
                                std::to_string(kHeight) +
                                ":flags=area+accurate_rnd+full_chroma_int+full_chroma_inp"
                                " -pix_fmt argb -f rawvideo " +
                                raw;
    if (std::system(command.c_str()) != 0)
        std::abort();
    std::ifstream stream(raw, std::ios::binary);
    const std::vector<char> expected((std::istreambuf_iterator<char>(stream)), {});
    unlink(raw.c_str());
    if (expected.size() != pixels.size())
        return 0;
    double squares = 0;
    for (std::size_t i = 0; i < pixels.size(); ++i)
        if (i % 4 != 0) {
            const double difference =
                double(pixels[i]) - double(static_cast<unsigned char>(expected[i]));
            squares += difference * difference;
        }
    return 10 * std::log10(255.0 * 255.0 * double(pixels.size()) * 0.75 / std::max(squares, 1.0));
}

void loadWithTWQuickTime(benchmark::State& state, const PictureFile& file) {
    std::vector<unsigned char> pixels(std::size_t{kWidth} * kHeight * 4);
    for (auto _ : state)
        if (UQuickTimeImage::LoadImageFile(NSString(file.path()), pixels.data(), kWidth, kHeight, 0,
                                           0, 0, 0, nullptr) != noErr)
            state.SkipWithError("not loaded");
    state.counters["dB"] = distanceToAreaAverage(file, pixels);
    if (state.counters["dB"] < 30)
        state.SkipWithError("the wrong picture");
}

void loadWithLibvips(benchmark::State& state, const PictureFile& file) {
    if (VIPS_INIT("PictureBenchmark"))
        std::abort();
    for (auto _ : state) {
        VipsImage* image = nullptr;
        if (vips_thumbnail(file.path().c_str(), &image, kWidth, "height", kHeight, "size",
                           VIPS_SIZE_FORCE, nullptr) != 0) {
            state.SkipWithError("not loaded");
            break;
        }
        std::size_t size = 0;
        void* pixels = vips_image_write_to_memory(image, &size);
        g_free(pixels);
        g_object_unref(image);
    }
}

void loadWithGdkPixbuf(benchmark::State& state, const PictureFile& file) {
    for (auto _ : state) {
        GdkPixbuf* pixels =
            gdk_pixbuf_new_from_file_at_scale(file.path().c_str(), kWidth, kHeight, FALSE, nullptr);
        if (!pixels) {
            state.SkipWithError("not loaded");
            break;
        }
        g_object_unref(pixels);
    }
}

BENCHMARK_CAPTURE(loadWithTWQuickTime, png12MP, png)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();
BENCHMARK_CAPTURE(loadWithLibvips, png12MP, png)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();
BENCHMARK_CAPTURE(loadWithGdkPixbuf, png12MP, png)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();
BENCHMARK_CAPTURE(loadWithTWQuickTime, jpeg24MP, jpeg)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();
BENCHMARK_CAPTURE(loadWithLibvips, jpeg24MP, jpeg)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();
BENCHMARK_CAPTURE(loadWithGdkPixbuf, jpeg24MP, jpeg)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

}  // namespace
