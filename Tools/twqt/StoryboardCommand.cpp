// twqt storyboard FILE: frames of a movie, evenly spread, on one sheet with their timecodes.
#include <Movies.h>
#include <QTMovie.h>
#include <QTMovie_TWAdditions.h>
#include <StBitmapContext.h>
#include <TWUQuickTimeMovie.h>
#include <Tracks.h>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <memory>

#include "Command.h"
#include "CommandFailure.h"
#include "DigitFont.h"
#include "JsonOutput.h"
#include "MovieArgument.h"
#include "OutputFile.h"
#include "PictureFile.h"

namespace twqt {
namespace {

using namespace TWQuickTime;

constexpr int kMargin = 12;
constexpr int kCellWidth = 240;
constexpr int kTextHeight = 26;
constexpr double kDot = 2;

struct StoryboardOptions {
    std::string file;
    std::string output;
    int columns = 4;
    int rows = 3;
    bool force = false;
    bool json = false;
};

/// Where frames lie on the sheet, in whole pixels.
struct Sheet {
    int columns, rows, cellHeight;
    int width() const { return kMargin + columns * (kCellWidth + kMargin); }
    int height() const { return kMargin + rows * (cellHeight + kTextHeight + kMargin); }
    int left(int index) const { return kMargin + index % columns * (kCellWidth + kMargin); }
    /// Of the text below a frame, from the sheet's lower edge.
    int bottom(int index) const {
        const int row = index / columns;
        return height() - kMargin - row * (cellHeight + kTextHeight + kMargin) - cellHeight -
               kTextHeight;
    }
};

/// Frames a second of the movie's pictures, to the nearest whole number; 25 without any.
int frameRateOf(Movie movie) {
    const TimeScale timeScale = GetMovieTimeScale(movie);
    SetMovieTimeValue(movie, 0);
    TWUQuickTimeMovie::gotoNextFrame(movie);
    const TimeValue frame = GetMovieTime(movie, nullptr);
    SetMovieTimeValue(movie, 0);
    if (frame <= 0)
        return 25;
    return std::clamp(static_cast<int>(std::lround(static_cast<double>(timeScale) / frame)), 1,
                      255);
}

/// Where the movie's pictures end, in seconds; sound and other tracks may go on.
double endOfPictures(Movie movie) {
    TimeValue end = 0;
    for (std::int32_t i = 1;; ++i) {
        Track track = GetMovieIndTrackType(movie, i, VideoMediaType, movieTrackMediaType);
        if (!track)
            break;
        end = std::max(end, GetTrackDuration(track));
    }
    return static_cast<double>(end) / std::max<TimeScale>(1, GetMovieTimeScale(movie));
}

/// The timecode that the movie shows at a time: counted on from its own start, or from zero.
std::string timeCodeAt(Movie movie, double seconds, int frameRate) {
    const std::int32_t start = TWUQuickTimeMovie::timeCodeToFrame(
        TWUQuickTimeMovie::getStartTimeCodeOfMovie(movie), frameRate);
    const auto frame = static_cast<std::int32_t>(std::floor(seconds * frameRate + 1e-6));
    return TWUQuickTimeMovie::timeCodeStringForFrame(start + frame, frameRate, true, true).utf8();
}

Sheet layOut(const StoryboardOptions& options, Movie movie) {
    Rect box;
    GetMovieBox(movie, &box);
    const int width = box.right - box.left;
    const int height = box.bottom - box.top;
    if (width < 1 || height < 1)
        throw failureWithStatus("draw frames of " + options.file, invalidTrack);
    const int cellHeight = std::clamp(
        static_cast<int>(std::lround(static_cast<double>(kCellWidth) * height / width)), 1, 2000);
    return {options.columns, options.rows, cellHeight};
}

void run(const StoryboardOptions& options) {
    const QuietLog quiet;
    requireFreeOutput(options.output, options.force);
    OpenedMovie opened(options.file);
    opened.movePicturesToOrigin();
    NSError error;
    const auto movie = QTMovie::movieWithQuickTimeMovie(opened.movie(), false, &error);
    if (!movie)
        throw failureWithError("open " + options.file, error);
    const Sheet sheet = layOut(options, opened.movie());
    StBitmapContext context(nullptr, sheet.width(), sheet.height(), 0, nullptr);
    if (!context.GetContext())
        throw failureWithStatus("draw frames of " + options.file, memFullErr);
    context.EraseToColor(NSColor::colorWithCalibratedWhite(0.12, 1));
    CGContextSetRGBFillColor(context, 0.92, 0.92, 0.92, 1);

    const int frameRate = frameRateOf(opened.movie());
    const double length = endOfPictures(opened.movie());
    const int count = options.columns * options.rows;
    for (int i = 0; i < count; ++i) {
        const double seconds = length * (i + 0.5) / count;
        CGImageRef frame = QTMovie_TWAdditions::imageAtTime(
            *movie, seconds, NSMakeSize(kCellWidth, sheet.cellHeight), &error);
        if (!frame)
            throw failureWithError("draw a frame of " + options.file, error);
        CGContextDrawImage(
            context,
            CGRectMake(sheet.left(i), sheet.bottom(i) + kTextHeight, kCellWidth, sheet.cellHeight),
            frame);
        CGImageRelease(frame);
        const std::string text = timeCodeAt(opened.movie(), seconds, frameRate);
        const double textLeft = sheet.left(i) + (kCellWidth - widthInDots(text) * kDot) / 2;
        drawDigits(context, text, std::round(textLeft), sheet.bottom(i) + 6, kDot);
    }
    CGImageRef image = CGBitmapContextCreateImage(context);
    try {
        writePicture(image, options.output);
    } catch (...) {
        CGImageRelease(image);
        throw;
    }
    CGImageRelease(image);
    if (options.json)
        printJson({{"width", sheet.width()}, {"height", sheet.height()}, {"frames", count}});
    else
        std::cout << options.output << ": " << count << " frames, " << sheet.width() << "x"
                  << sheet.height() << '\n';
}

const CommandRegistration registration("storyboard", [](CLI::App& program) {
    CLI::App* command = addCommand(program, "storyboard", "A sheet of frames with their timecodes",
                                   "twqt storyboard movie.mov -o sheet.png --columns 4 --rows 3");
    auto options = std::make_shared<StoryboardOptions>();
    command->add_option("FILE", options->file, "the movie")->required();
    command->add_option("-o,--output", options->output, "the PNG file")->required();
    command->add_option("--columns", options->columns, "frames in a row (1 to 32)")
        ->check(CLI::Range(1, 32));
    command->add_option("--rows", options->rows, "rows of frames (1 to 32)")
        ->check(CLI::Range(1, 32));
    addForceFlag(*command, options->force);
    addJsonFlag(*command, options->json);
    command->callback([options] { run(*options); });
});

}  // namespace
}  // namespace twqt
