// Frames of an open movie of 1920 × 1080 pixels (H.264, a sync sample every two seconds): this
// library against a loop of libavformat and libavcodec with automatic threads, and frames one after
// the other against one run of ffmpeg for each. Every frame counts only if it is the right one.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "Movies.h"
#include "NSBitmapImageRep.h"
#include "NSImage.h"
#include "TWUQuickTimeMovie.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

namespace {

using namespace TWQuickTime;

constexpr int kWidth = 1920, kHeight = 1080, kRate = 30, kSeconds = 20;
constexpr std::size_t kFrameBytes = std::size_t{kWidth} * kHeight * 4;
using Pixels = std::vector<std::uint8_t>;

/// A movie that ffmpeg makes; gone with the process.
class MovieFile {
  public:
    MovieFile() : path_("/tmp/twqt-frames-" + std::to_string(getpid()) + ".mp4") {
        const std::string command =
            "ffmpeg -v error -nostdin -y -f lavfi -i testsrc2=s=1920x1080:r=" +
            std::to_string(kRate) + ":d=" + std::to_string(kSeconds) +
            " -vf noise=alls=2:allf=t,format=yuv420p -c:v libx264 -preset veryfast -bf 2"
            " -g 60 -colorspace bt709 -color_primaries bt709 -color_trc bt709 " +
            path_;
        if (std::system(command.c_str()) != 0)
            std::abort();
    }
    ~MovieFile() { unlink(path_.c_str()); }
    const std::string& path() const { return path_; }

  private:
    std::string path_;
};

const MovieFile movieFile;

/// The middle of a frame, in seconds.
double timeOf(int frame) {
    return (frame + 0.5) / kRate;
}

std::vector<int> randomFrames() {
    std::mt19937 random(7);
    std::vector<int> frames;
    for (int i = 0; i < 100; ++i)
        frames.push_back(int(random() % (kRate * kSeconds)));
    return frames;
}

/// What many programs do: seek to the sync sample before, decode on to the frame.
class PeerMovie {
  public:
    PeerMovie() {
        avformat_open_input(&input_, movieFile.path().c_str(), nullptr, nullptr);
        avformat_find_stream_info(input_, nullptr);
        const AVCodecParameters* parameters = input_->streams[0]->codecpar;
        const AVCodec* codec = avcodec_find_decoder(parameters->codec_id);
        decoder_ = avcodec_alloc_context3(codec);
        avcodec_parameters_to_context(decoder_, parameters);
        decoder_->thread_count = 0;
        avcodec_open2(decoder_, codec, nullptr);
        scaler_ = sws_getContext(kWidth, kHeight, AV_PIX_FMT_YUV420P, kWidth, kHeight,
                                 AV_PIX_FMT_RGBA, SWS_BICUBIC, nullptr, nullptr, nullptr);
        const int* matrix = sws_getCoefficients(SWS_CS_ITU709);
        sws_setColorspaceDetails(scaler_, matrix, 0, matrix, 1, 0, 1 << 16, 1 << 16);
    }
    ~PeerMovie() {
        sws_freeContext(scaler_);
        av_frame_free(&frame_);
        av_packet_free(&packet_);
        avcodec_free_context(&decoder_);
        avformat_close_input(&input_);
    }

    Pixels frameAt(int number) {
        const AVRational unit = input_->streams[0]->time_base;
        const std::int64_t wanted = av_rescale_q(number, {1, kRate}, unit);
        av_seek_frame(input_, 0, wanted, AVSEEK_FLAG_BACKWARD);
        avcodec_flush_buffers(decoder_);
        while (av_read_frame(input_, packet_) >= 0) {
            avcodec_send_packet(decoder_, packet_);
            av_packet_unref(packet_);
            if (receive(wanted))
                return pixels();
        }
        avcodec_send_packet(decoder_, nullptr);
        return receive(wanted) ? pixels() : Pixels();
    }

  private:
    bool receive(std::int64_t wanted) {
        while (avcodec_receive_frame(decoder_, frame_) >= 0)
            if (frame_->pts >= wanted)
                return true;
        return false;
    }
    Pixels pixels() {
        Pixels result(kFrameBytes);
        std::uint8_t* to[4] = {result.data()};
        const int stride[4] = {kWidth * 4};
        sws_scale(scaler_, frame_->data, frame_->linesize, 0, kHeight, to, stride);
        return result;
    }

    AVFormatContext* input_ = nullptr;
    AVCodecContext* decoder_ = nullptr;
    SwsContext* scaler_ = nullptr;
    AVFrame* frame_ = av_frame_alloc();
    AVPacket* packet_ = av_packet_alloc();
};

/// The movie as hosts of this library hold it.
class OurMovie {
  public:
    OurMovie()
        : movie_(TWUQuickTimeMovie::createMovieFromPath(NSString(movieFile.path()), fsRdPerm,
                                                        nullptr, nullptr, nullptr)) {}
    ~OurMovie() { DisposeMovie(movie_); }

    std::shared_ptr<NSImage> frameAt(int number) {
        return TWUQuickTimeMovie::frameImageAtTime(timeOf(number), movie_);
    }

  private:
    Movie movie_;
};

double psnr(const std::uint8_t* a, const Pixels& b) {
    double squares = 0;
    for (std::size_t i = 0; i < kFrameBytes; ++i)
        squares += (double(a[i]) - double(b[i])) * (double(a[i]) - double(b[i]));
    return squares == 0 ? 100 : 10 * std::log10(255.0 * 255.0 * double(kFrameBytes) / squares);
}

/// Whether frames, every tenth of them, are those that the peer decodes and not their neighbours.
bool areRight(const std::vector<int>& frames) {
    PeerMovie peer;
    OurMovie ours;
    for (std::size_t i = 0; i < frames.size(); i += 10) {
        const auto image = ours.frameAt(frames[i]);
        const Pixels expected = peer.frameAt(frames[i]);
        const Pixels neighbour = peer.frameAt(frames[i] ? frames[i] - 1 : 1);
        if (!image || expected.empty() || neighbour.empty())
            return false;
        const std::uint8_t* pixels = image->representations().front()->bitmapData();
        if (psnr(pixels, expected) < std::max(30.0, psnr(pixels, neighbour) + 3))
            return false;
    }
    return true;
}

void randomFramesWithTWQuickTime(benchmark::State& state) {
    const std::vector<int> frames = randomFrames();
    if (!areRight(frames))
        state.SkipWithError("wrong frames");
    OurMovie movie;
    for (auto _ : state)
        for (const int frame : frames)
            benchmark::DoNotOptimize(movie.frameAt(frame));
}

void randomFramesWithLibavformat(benchmark::State& state) {
    const std::vector<int> frames = randomFrames();
    PeerMovie movie;
    for (auto _ : state)
        for (const int frame : frames)
            benchmark::DoNotOptimize(movie.frameAt(frame));
}

std::vector<int> consecutiveFrames() {
    std::vector<int> frames;
    for (int i = 0; i < 25; ++i)
        frames.push_back(200 + i);
    return frames;
}

void consecutiveFramesWithTWQuickTime(benchmark::State& state) {
    const std::vector<int> frames = consecutiveFrames();
    if (!areRight(frames))
        state.SkipWithError("wrong frames");
    for (auto _ : state) {
        OurMovie movie;
        for (const int frame : frames)
            benchmark::DoNotOptimize(movie.frameAt(frame));
    }
}

void consecutiveFramesWithFfmpeg(benchmark::State& state) {
    for (auto _ : state)
        for (const int frame : consecutiveFrames()) {
            const std::string command = "ffmpeg -v error -nostdin -ss " +
                                        std::to_string(timeOf(frame)) + " -i " + movieFile.path() +
                                        " -frames:v 1 -pix_fmt rgba -f rawvideo -y /dev/null";
            if (std::system(command.c_str()) != 0)
                state.SkipWithError("ffmpeg failed");
        }
}

void measured(benchmark::internal::Benchmark* bench) {
    bench->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(2)->UseRealTime();
    bench->MeasureProcessCPUTime();
}
BENCHMARK(randomFramesWithTWQuickTime)->Apply(measured);
BENCHMARK(randomFramesWithLibavformat)->Apply(measured);
BENCHMARK(consecutiveFramesWithTWQuickTime)->Apply(measured);
BENCHMARK(consecutiveFramesWithFfmpeg)->Apply(measured);

}  // namespace
