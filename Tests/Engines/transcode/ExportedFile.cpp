#include "ExportedFile.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "Engines/moviefile/MovieReader.h"
#include "Engines/transcode/MovieImport.h"

namespace TWQuickTime::transcode::test {

using TWQuickTime::test::ProgramResult;
using TWQuickTime::test::runProgram;

namespace {

std::string firstLine(const std::string& text) {
    return text.substr(0, text.find('\n'));
}

}  // namespace

result::Status exportFile(const std::string& source, const ExportSettings& settings,
                          const std::string& path, Range range) {
    std::unique_ptr<timeline::Movie> movie;
    if (auto opened = moviefile::openMovieFile(source)) {
        movie = std::move(opened->movie);
    } else {
        auto imported = importMovie(source);
        if (!imported) {
            return imported.failure();
        }
        movie = std::move(*imported);
    }
    ExportRequest request;
    request.movie = movie.get();
    request.start = std::llround(range.start * movie->timeScale);
    request.duration = range.duration > 0 ? std::llround(range.duration * movie->timeScale)
                                          : movie->duration() - request.start;
    request.settings = settings;
    request.path = path;
    return exportMovie(request);
}

ExportSettings settingsFor(FileKind kind, std::uint32_t videoCodec, std::uint32_t soundCodec) {
    ExportSettings settings;
    settings.kind = kind;
    if (videoCodec != 0) {
        settings.video = VideoSettings{};
        settings.video->codec = videoCodec;
        settings.video->spatialQuality = 900;
    }
    if (soundCodec != 0) {
        settings.sound = SoundSettings{};
        settings.sound->codec = soundCodec;
    }
    return settings;
}

std::string wordOf(std::uint32_t code) {
    std::string word;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const char letter = static_cast<char>(code >> shift);
        word += std::isalnum(static_cast<unsigned char>(letter)) ? letter : '_';
    }
    return word;
}

std::string probe(const std::string& path, const std::string& stream, const std::string& entry) {
    const ProgramResult result =
        runProgram({"ffprobe", "-v", "error", "-select_streams", stream, "-show_entries",
                    "stream=" + entry, "-of", "default=nw=1:nk=1", path});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_EQ(result.errors, "");
    return firstLine(result.output);
}

std::string probeFormat(const std::string& path, const std::string& entry) {
    return firstLine(runProgram({"ffprobe", "-v", "error", "-show_entries", "format=" + entry,
                                 "-of", "default=nw=1:nk=1", path})
                         .output);
}

int countFrames(const std::string& path, const std::string& stream) {
    const ProgramResult result =
        runProgram({"ffprobe", "-v", "error", "-count_frames", "-select_streams", stream,
                    "-show_entries", "stream=nb_read_frames", "-of", "default=nw=1:nk=1", path});
    EXPECT_EQ(result.errors, "");
    return std::atoi(result.output.c_str());
}

std::vector<double> frameTimes(const std::string& path) {
    const ProgramResult result =
        runProgram({"ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries",
                    "frame=pts_time", "-of", "csv=p=0", path});
    std::vector<double> times;
    std::istringstream lines(result.output);
    for (std::string line; std::getline(lines, line);) {
        // Frames with side data are followed by empty lines.
        if (!line.empty()) {
            times.push_back(std::atof(line.c_str()));
        }
    }
    return times;
}

double psnr(const std::string& a, const std::string& b, const std::string& filter) {
    const ProgramResult result =
        runProgram({"ffmpeg", "-nostdin", "-hide_banner", "-i", a, "-i", b, "-lavfi",
                    "[0:v]setpts=N/25/TB[a];[1:v]" + filter + ",setpts=N/25/TB[b];[a][b]psnr", "-f",
                    "null", "-"});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    const std::size_t at = result.errors.find("average:");
    if (at == std::string::npos) {
        ADD_FAILURE() << result.errors;
        return 0;
    }
    const std::string number = result.errors.substr(at + 8, 12);
    return number.starts_with("inf") ? 99 : std::atof(number.c_str());
}

std::vector<double> lumaPsnrs(const std::string& reference, const std::string& exported,
                              const std::string& prepare, const std::string& prepared,
                              const std::string& scratchFile) {
    // Times that are whole numbers in both: rounded ones would pair a picture with its neighbour.
    const std::string counted = ",format=yuv420p,settb=1/25,setpts=N";
    const ProgramResult result =
        runProgram({"ffmpeg",
                    "-v",
                    "error",
                    "-nostdin",
                    "-y",
                    "-i",
                    reference,
                    "-i",
                    exported,
                    "-lavfi",
                    "[0:v]" + prepare + counted + "[a];[1:v]" + prepared + counted +
                        "[b];[a][b]psnr=stats_file=" + scratchFile +
                        ":shortest=1:repeatlast=0,settb=1/25,setpts=N[compared]",
                    "-map",
                    "[compared]",
                    "-vsync",
                    "passthrough",
                    "-enc_time_base",
                    "1:25",
                    "-f",
                    "rawvideo",
                    "/dev/null"});
    EXPECT_EQ(result.exitStatus, 0);
    // The H.261 decoder says this of every stream, its own encoder's too.
    const bool harmless = result.errors.find("first frame is no keyframe") != std::string::npos;
    EXPECT_TRUE(result.errors.empty() || harmless) << result.errors;
    std::vector<double> values;
    std::ifstream file(scratchFile);
    for (std::string line; std::getline(file, line);) {
        if (const std::size_t at = line.find("psnr_y:"); at != std::string::npos) {
            const std::string number = line.substr(at + 7, 8);
            values.push_back(number.starts_with("inf") ? 99 : std::atof(number.c_str()));
        }
    }
    return values;
}

std::vector<float> decodedSound(const std::string& path, const std::string& scratchFile) {
    TWQuickTime::test::runFfmpeg({"-i", path, "-map", "a:0", "-af", "aresample=48000:first_pts=0",
                                  "-ac", "1", "-f", "f32le", scratchFile});
    std::ifstream file(scratchFile, std::ios::binary | std::ios::ate);
    std::vector<float> samples(std::size_t(file.tellg()) / sizeof(float));
    file.seekg(0);
    file.read(reinterpret_cast<char*>(samples.data()),
              std::streamsize(samples.size() * sizeof(float)));
    return samples;
}

double correlation(const std::vector<float>& a, const std::vector<float>& b, std::ptrdiff_t shift) {
    const auto from = std::max<std::ptrdiff_t>(0, -shift);
    const auto to =
        std::min<std::ptrdiff_t>(std::ptrdiff_t(a.size()), std::ptrdiff_t(b.size()) - shift);
    double ab = 0, aa = 0, bb = 0;
    for (std::ptrdiff_t i = from; i < to; ++i) {
        const double x = a[std::size_t(i)], y = b[std::size_t(i + shift)];
        ab += x * y;
        aa += x * x;
        bb += y * y;
    }
    return ab / std::sqrt(std::max(aa * bb, 1e-12));
}

std::ptrdiff_t bestShift(const std::vector<float>& a, const std::vector<float>& b,
                         std::ptrdiff_t reach) {
    std::ptrdiff_t best = 0;
    double greatest = -2;
    for (std::ptrdiff_t shift = -reach; shift <= reach; ++shift) {
        if (const double value = correlation(a, b, shift); value > greatest) {
            greatest = value;
            best = shift;
        }
    }
    return best;
}

double level(const std::vector<float>& samples) {
    double sum = 0;
    for (const float sample : samples) {
        sum += double(sample) * sample;
    }
    return samples.empty() ? 0 : std::sqrt(sum / double(samples.size()));
}

}  // namespace TWQuickTime::transcode::test
