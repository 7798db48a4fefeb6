#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <vector>

#include "DataReferences.h"
#include "FileReferences.h"
#include "Handles.h"
#include "MovieExport.h"
#include "MovieExportDialog.h"
#include "Movies.h"
#include "RunProgram.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime {
namespace {

using TWQuickTime::test::runFfmpeg;
using TWQuickTime::test::TemporaryDirectory;

ComponentInstance openExporter(const char* subtype) {
    ComponentInstance instance = OpenDefaultComponent(MovieExportType, fourCC(subtype));
    EXPECT_NE(instance, nullptr);
    return instance;
}

std::string probe(const std::string& path, const std::string& entry) {
    const auto result = TWQuickTime::test::runProgram(
        {"ffprobe", "-v", "error", "-count_frames", "-select_streams", "v:0", "-show_entries",
         "stream=" + entry, "-of", "default=nw=1:nk=1", path});
    EXPECT_EQ(result.errors, "");
    return result.output.substr(0, result.output.find('\n'));
}

/// What the progress procedure was told, and at which call it says stop.
struct Told {
    std::vector<int> messages;
    int stopAt = -1;
    OSErr stopWith = -1;
};

OSErr tell(Movie, std::int16_t message, std::int16_t operation, Fixed percentDone,
           std::intptr_t refcon) {
    auto& told = *reinterpret_cast<Told*>(refcon);
    EXPECT_EQ(operation, progressOpExportMovie);
    EXPECT_GE(percentDone, 0);
    EXPECT_LE(percentDone, 0x10000);
    told.messages.push_back(message);
    return int(told.messages.size()) == told.stopAt ? told.stopWith : noErr;
}

class FamilyMovieExporterTest : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        media_ = new TemporaryDirectory();
        runFfmpeg({"-f", "lavfi", "-i", "testsrc2=s=64x48:r=25:d=0.4", "-f", "lavfi", "-i",
                   "sine=440:r=48000:d=0.4", "-c:v", "libx264", "-pix_fmt", "yuv420p", "-c:a",
                   "aac", media_->file("source.mov")});
    }
    static void TearDownTestSuite() { delete media_; }

    void SetUp() override {
        Handle reference = nullptr;
        OSType type = 0;
        ASSERT_EQ(QTNewDataReferenceFromFullPathCFString(
                      media_->file("source.mov"), kQTNativeDefaultPathStyle, 0, &reference, &type),
                  noErr);
        ASSERT_EQ(NewMovieFromDataRef(&movie_, 1, nullptr, reference, type), noErr);
        DisposeHandle(reference);
    }
    void TearDown() override { DisposeMovie(movie_); }

    ComponentResult exportTo(ComponentInstance exporter, const std::string& path,
                             TimeValue start = 0, TimeValue duration = -1) {
        Handle reference = nullptr;
        OSType type = 0;
        EXPECT_EQ(QTNewDataReferenceFromFullPathCFString(path, kQTNativeDefaultPathStyle, 0,
                                                         &reference, &type),
                  noErr);
        const ComponentResult status =
            MovieExportToDataRef(exporter, reference, type, movie_, nullptr, start,
                                 duration < 0 ? GetMovieDuration(movie_) : duration);
        DisposeHandle(reference);
        return status;
    }

    static TemporaryDirectory* media_;
    TemporaryDirectory folder_;
    Movie movie_ = nullptr;
};

TemporaryDirectory* FamilyMovieExporterTest::media_ = nullptr;

TEST_F(FamilyMovieExporterTest, EveryFamilyIsAnExporterThatWritesFilesAndNamesItsSource) {
    const ComponentDescription wanted{.componentType = MovieExportType,
                                      .componentManufacturer = fourCC("appl"),
                                      .componentFlags = 0x80030,
                                      .componentFlagsMask = 0x80030};
    EXPECT_GE(CountComponents(&wanted), 15);
    const std::vector<std::pair<const char*, const char*>> expected = {
        {"MooV", "mov "}, {"mpg4", "mp4 "}, {"M4V ", "m4v "}, {"3gpp", "3gp "}, {"VfW ", "avi "},
        {"dvc!", "dv  "}, {"MKV ", "mkv "}, {"WEBM", "webm"}, {"WAVE", "wav "}, {"AIFF", "aif "}};
    for (const auto& [subtype, extension] : expected) {
        ComponentInstance exporter = openExporter(subtype);
        OSType found = 0;
        EXPECT_EQ(MovieExportGetFileNameExtension(exporter, &found), noErr);
        EXPECT_EQ(found, fourCC(extension));
        EXPECT_EQ(CloseComponent(exporter), noErr);
    }
    ComponentInstance wave = openExporter("WAVE");
    OSType source = 0;
    EXPECT_EQ(MovieExportGetSourceMediaType(wave, &source), noErr);
    EXPECT_EQ(source, fourCC("soun"));
    CloseComponent(wave);
}

TEST_F(FamilyMovieExporterTest, ExportsAMovieAndTellsItsProgressFromOpenToClose) {
    ComponentInstance exporter = openExporter("mpg4");
    Told told;
    MovieExportSetProgressProc(exporter, tell, reinterpret_cast<std::intptr_t>(&told));
    const std::string out = folder_.file("out.mp4");
    EXPECT_EQ(exportTo(exporter, out), noErr);
    CloseComponent(exporter);
    EXPECT_EQ(probe(out, "codec_name"), "h264");
    EXPECT_EQ(probe(out, "nb_read_frames"), "10");
    ASSERT_EQ(told.messages.size(), 12u);
    EXPECT_EQ(told.messages.front(), movieProgressOpen);
    EXPECT_EQ(told.messages.back(), movieProgressClose);
}

TEST_F(FamilyMovieExporterTest, ReturnsTheStatusOfTheProgressProcedureThatStopsIt) {
    ComponentInstance exporter = openExporter("mpg4");
    Told told;
    told.stopAt = 3;
    told.stopWith = -1;
    MovieExportSetProgressProc(exporter, tell, reinterpret_cast<std::intptr_t>(&told));
    const std::string out = folder_.file("out.mp4");
    std::FILE* empty = std::fopen(out.c_str(), "w");
    ASSERT_NE(empty, nullptr);
    std::fclose(empty);
    EXPECT_EQ(exportTo(exporter, out), -1);
    CloseComponent(exporter);
    EXPECT_EQ(std::filesystem::file_size(out), 0u);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_.path()), {}), 1);
}

TEST_F(FamilyMovieExporterTest, TakesNothingOfAContainerThatItRefuses) {
    ComponentInstance exporter = openExporter("MooV");
    QTAtomContainer before = nullptr;
    ASSERT_EQ(MovieExportGetSettingsAsAtomContainer(exporter, &before), noErr);
    Handle cut = NewHandle(GetHandleSize(before) - 3);
    std::memcpy(*cut, *before, std::size_t(GetHandleSize(cut)));
    EXPECT_NE(MovieExportSetSettingsFromAtomContainer(exporter, cut), noErr);
    QTAtomContainer after = nullptr;
    ASSERT_EQ(MovieExportGetSettingsAsAtomContainer(exporter, &after), noErr);
    ASSERT_EQ(GetHandleSize(before), GetHandleSize(after));
    EXPECT_EQ(std::memcmp(*before, *after, std::size_t(GetHandleSize(before))), 0);
    Handle nothing = NewHandleClear(0);
    EXPECT_EQ(MovieExportSetSettingsFromAtomContainer(exporter, nothing), noErr);
    for (Handle handle : {before, after, cut, nothing})
        DisposeHandle(handle);
    CloseComponent(exporter);
}

TEST_F(FamilyMovieExporterTest, RefusesAMovieThatIsNoneAndRangesThatAreNone) {
    ComponentInstance exporter = openExporter("MooV");
    EXPECT_EQ(exportTo(exporter, folder_.file("out.mov"), 0, 0), invalidDuration);
    EXPECT_EQ(exportTo(exporter, folder_.file("out.mov"), -5, 10), invalidTime);
    EXPECT_TRUE(std::filesystem::is_empty(folder_.path()));
    CloseComponent(exporter);
}

TEST_F(FamilyMovieExporterTest, WritesASequenceOfImagesBesideTheFirstOne) {
    ComponentInstance exporter = openExporter("grex");
    EXPECT_EQ(exportTo(exporter, folder_.file("shot.png")), noErr);
    CloseComponent(exporter);
    EXPECT_TRUE(std::filesystem::exists(folder_.file("shot.png")));
    EXPECT_TRUE(std::filesystem::exists(folder_.file("shot 0002.png")));
    EXPECT_TRUE(std::filesystem::exists(folder_.file("shot 0010.png")));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_.path()), {}), 10);
    EXPECT_EQ(probe(folder_.file("shot 0010.png"), "width"), "64");
}

/// Frames that a source hands out, 16x16 pixels A R G B that grow brighter.
struct FrameSource {
    int frames = 5;
    int asked = 0;
    std::vector<char> pixels = std::vector<char>(16 * 16 * 4);
    Handle description = nullptr;

    FrameSource() {
        description = NewHandleClear(86);
        auto* bytes = reinterpret_cast<unsigned char*>(*description);
        bytes[3] = 86;
        std::memcpy(bytes + 4, "raw ", 4);
        bytes[15] = 1;
        bytes[33] = bytes[35] = 16;
        bytes[49] = 1;
        bytes[83] = 32;
        bytes[84] = bytes[85] = 0xFF;
    }
    ~FrameSource() { DisposeHandle(description); }
};

OSErr getProperty(void*, std::int32_t, OSType, void*) {
    return paramErr;
}

OSErr getFrame(void* refcon, MovieExportGetDataParams* params) {
    auto& source = *static_cast<FrameSource*>(refcon);
    if (source.asked == source.frames)
        return eofErr;
    EXPECT_EQ(params->requestedTime, source.asked * 100);
    std::memset(source.pixels.data(), 30 + 40 * source.asked, source.pixels.size());
    params->actualTime = params->requestedTime;
    params->dataPtr = source.pixels.data();
    params->dataSize = static_cast<std::int32_t>(source.pixels.size());
    params->desc = source.description;
    params->descType = fourCC("vide");
    params->actualSampleCount = 1;
    params->durationPerSample = 100;
    ++source.asked;
    return noErr;
}

TEST_F(FamilyMovieExporterTest, RendersTheFramesOfAProcedureUntilItEnds) {
    ComponentInstance exporter = openExporter("MooV");
    FrameSource source;
    std::int32_t track = 0;
    ASSERT_EQ(MovieExportAddDataSource(exporter, fourCC("vide"), 2500, &track, getProperty,
                                       getFrame, &source),
              noErr);
    EXPECT_EQ(track, 1);
    const std::string out = folder_.file("out.mov");
    Handle reference = nullptr;
    OSType type = 0;
    ASSERT_EQ(QTNewDataReferenceFromFullPathCFString(out, kQTNativeDefaultPathStyle, 0, &reference,
                                                     &type),
              noErr);
    EXPECT_EQ(MovieExportFromProceduresToDataRef(exporter, reference, type), noErr);
    EXPECT_EQ(probe(out, "nb_read_frames"), "5");
    EXPECT_EQ(probe(out, "r_frame_rate"), "25/1");
    EXPECT_EQ(probe(out, "width"), "16");
    // The sources were for one export.
    EXPECT_EQ(MovieExportFromProceduresToDataRef(exporter, reference, type), paramErr);
    DisposeHandle(reference);
    CloseComponent(exporter);
}

/// A tone of 16 bits at 8 kHz, as long as the frames are.
struct ToneSource {
    std::int64_t given = 0;
    std::int64_t length = 1600;
    std::vector<char> bytes;
    Handle description = nullptr;

    ToneSource() {
        description = NewHandleClear(36);
        auto* record = reinterpret_cast<unsigned char*>(*description);
        record[3] = 36;
        std::memcpy(record + 4, "twos", 4);
        record[15] = 1;
        record[25] = 1;
        record[27] = 16;
        record[32] = 0x1F;
        record[33] = 0x40;
    }
    ~ToneSource() { DisposeHandle(description); }
};

OSErr getTone(void* refcon, MovieExportGetDataParams* params) {
    auto& source = *static_cast<ToneSource*>(refcon);
    if (source.given == source.length)
        return eofErr;
    EXPECT_EQ(params->requestedTime, source.given);
    EXPECT_GT(params->requestedSampleCount, 0);
    const std::int64_t count =
        std::min<std::int64_t>(params->requestedSampleCount, source.length - source.given);
    source.bytes.clear();
    for (std::int64_t i = 0; i < count; ++i) {
        const auto level = static_cast<std::int16_t>((source.given + i) % 16 < 8 ? 8000 : -8000);
        source.bytes.push_back(static_cast<char>(level >> 8));
        source.bytes.push_back(static_cast<char>(level));
    }
    params->actualTime = params->requestedTime;
    params->dataPtr = source.bytes.data();
    params->dataSize = static_cast<std::int32_t>(source.bytes.size());
    params->desc = source.description;
    params->descType = fourCC("soun");
    params->actualSampleCount = static_cast<std::int32_t>(count);
    params->durationPerSample = 1;
    source.given += count;
    return noErr;
}

TEST_F(FamilyMovieExporterTest, WritesPicturesAndSoundOfTwoProceduresSideBySide) {
    ComponentInstance exporter = openExporter("mpg4");
    FrameSource frames;
    ToneSource tone;
    std::int32_t pictures = 0, sound = 0;
    ASSERT_EQ(MovieExportAddDataSource(exporter, fourCC("vide"), 2500, &pictures, getProperty,
                                       getFrame, &frames),
              noErr);
    ASSERT_EQ(MovieExportAddDataSource(exporter, fourCC("soun"), 8000, &sound, getProperty, getTone,
                                       &tone),
              noErr);
    EXPECT_NE(pictures, sound);
    const std::string out = folder_.file("out.mp4");
    Handle reference = nullptr;
    OSType type = 0;
    ASSERT_EQ(QTNewDataReferenceFromFullPathCFString(out, kQTNativeDefaultPathStyle, 0, &reference,
                                                     &type),
              noErr);
    EXPECT_EQ(MovieExportFromProceduresToDataRef(exporter, reference, type), noErr);
    DisposeHandle(reference);
    CloseComponent(exporter);
    EXPECT_EQ(frames.asked, 5);
    EXPECT_EQ(tone.given, 1600);
    EXPECT_EQ(probe(out, "nb_read_frames"), "5");
    const auto decoded =
        TWQuickTime::test::runProgram({"ffmpeg", "-v", "error", "-i", out, "-f", "null", "-"});
    EXPECT_EQ(decoded.exitStatus, 0);
    EXPECT_EQ(decoded.errors, "");
    const auto shown = TWQuickTime::test::runProgram(
        {"ffprobe", "-v", "error", "-select_streams", "a", "-show_entries",
         "stream=codec_name,sample_rate,duration", "-of", "csv=p=0", out});
    EXPECT_EQ(shown.output, "aac,8000,0.200000\n");
}

OSErr failAtThird(void* refcon, MovieExportGetDataParams* params) {
    auto& source = *static_cast<FrameSource*>(refcon);
    return source.asked == 2 ? OSErr(-77) : getFrame(refcon, params);
}

TEST_F(FamilyMovieExporterTest, EndsWithTheStatusOfAProcedureThatFailsAndLeavesNoFile) {
    ComponentInstance exporter = openExporter("MooV");
    FrameSource source;
    std::int32_t track = 0;
    ASSERT_EQ(MovieExportAddDataSource(exporter, fourCC("vide"), 2500, &track, getProperty,
                                       failAtThird, &source),
              noErr);
    Handle reference = nullptr;
    OSType type = 0;
    ASSERT_EQ(QTNewDataReferenceFromFullPathCFString(
                  folder_.file("out.mov"), kQTNativeDefaultPathStyle, 0, &reference, &type),
              noErr);
    EXPECT_EQ(MovieExportFromProceduresToDataRef(exporter, reference, type), -77);
    EXPECT_TRUE(std::filesystem::is_empty(folder_.path()));
    DisposeHandle(reference);
    CloseComponent(exporter);
}

TEST_F(FamilyMovieExporterTest, ShowsItsSettingsThroughThePresenterAndTakesTheEditedOnes) {
    ComponentInstance exporter = openExporter("MooV");
    Boolean canceled = false;
    EXPECT_EQ(MovieExportDoUserDialog(exporter, nullptr, nullptr, 0, 0, &canceled),
              badComponentSelector);
    SetMovieExportDialogPresenter([](MovieExportDialog& dialog) {
        EXPECT_EQ(dialog.exporterName(), "QuickTime Movie");
        EXPECT_TRUE(dialog.setValue("videoCodec", "jpeg"));
        EXPECT_TRUE(dialog.setValue("width", "32"));
        EXPECT_TRUE(dialog.setValue("frameRate", "12.5"));
        EXPECT_FALSE(dialog.setValue("width", "wide"));
        EXPECT_FALSE(dialog.setValue("colour", "red"));
        return MovieExportDialogAnswer::accepted;
    });
    EXPECT_EQ(MovieExportDoUserDialog(exporter, nullptr, nullptr, 0, 0, &canceled), noErr);
    EXPECT_FALSE(canceled);
    std::vector<MovieExportDialogField> fields;
    SetMovieExportDialogPresenter([&](MovieExportDialog& dialog) {
        fields = dialog.fields();
        return MovieExportDialogAnswer::canceled;
    });
    EXPECT_EQ(MovieExportDoUserDialog(exporter, nullptr, nullptr, 0, 0, &canceled), noErr);
    EXPECT_TRUE(canceled);
    SetMovieExportDialogPresenter({});
    const auto valueOf = [&](const std::string& key) {
        for (const MovieExportDialogField& field : fields)
            if (field.key == key)
                return field.value;
        return std::string("none");
    };
    EXPECT_EQ(valueOf("videoCodec"), "jpeg");
    EXPECT_EQ(valueOf("width"), "32");
    EXPECT_EQ(valueOf("frameRate"), "12.5");
    EXPECT_EQ(valueOf("soundCodec"), "mp4a");
    CloseComponent(exporter);
}

TEST_F(FamilyMovieExporterTest, OpensAForeignFileAsAMovieAndExportsIt) {
    const std::string source = folder_.file("tone.wav");
    runFfmpeg({"-f", "lavfi", "-i", "sine=440:r=48000:d=0.25", source});
    Handle reference = nullptr;
    OSType type = 0;
    ASSERT_EQ(QTNewDataReferenceFromFullPathCFString(source, kQTNativeDefaultPathStyle, 0,
                                                     &reference, &type),
              noErr);
    Movie sound = nullptr;
    ASSERT_EQ(NewMovieFromDataRef(&sound, 1, nullptr, reference, type), noErr);
    DisposeHandle(reference);
    EXPECT_NEAR(double(GetMovieDuration(sound)) / GetMovieTimeScale(sound), 0.25, 0.002);
    DisposeMovie(sound);
}

}  // namespace
}  // namespace TWQuickTime
