// What travels from a movie to its export besides pictures and sound.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>

#include "Engines/codec/ByteOrder.h"
#include "Engines/codec/SampleDescription.h"
#include "Engines/moviefile/MovieReader.h"
#include "Engines/transcode/Chapters.h"
#include "Engines/transcode/LanguageCode.h"
#include "Engines/transcode/Titles.h"
#include "ExportedFile.h"
#include "TemporaryDirectory.h"
#include "TestMovie.h"

namespace TWQuickTime::transcode {
namespace {

using codec::fourCode;
using test::exportFile;
using test::probe;
using test::settingsFor;
using testing::HasSubstr;
using TWQuickTime::test::runFfmpeg;
using TWQuickTime::test::runProgram;
using TWQuickTime::test::TemporaryDirectory;

/// A second of pictures and sound with everything that a file can say about itself.
class ExportPassengers : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        media_ = new TemporaryDirectory();
        const std::string facts = media_->file("facts");
        std::ofstream(facts)
            << ";FFMETADATA1\ntitle=Waves\nartist=A. Author\ncopyright=(c) N. N.\n"
               "[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=400\ntitle=Ebb\n"
               "[CHAPTER]\nTIMEBASE=1/1000\nSTART=400\nEND=1000\ntitle=Fl\u00FBt\n";
        runFfmpeg({"-f",
                   "lavfi",
                   "-i",
                   "testsrc2=s=64x48:r=25:d=1",
                   "-f",
                   "lavfi",
                   "-i",
                   "sine=440:r=48000:d=1",
                   "-i",
                   facts,
                   "-map",
                   "0",
                   "-map",
                   "1",
                   "-map_metadata",
                   "2",
                   "-map_chapters",
                   "2",
                   "-c:v",
                   "libx264",
                   "-pix_fmt",
                   "yuv420p",
                   "-vf",
                   "setsar=4/3",
                   "-c:a",
                   "aac",
                   "-timecode",
                   "01:00:00:10",
                   "-metadata:s:a",
                   "language=ger",
                   "-colorspace",
                   "bt709",
                   "-color_primaries",
                   "bt709",
                   "-color_trc",
                   "bt709",
                   source("a.mov")});
        runFfmpeg({"-i", source("a.mov"), "-map", "0:v", "-c", "copy", "-metadata:s:v", "rotate=90",
                   "-map_chapters", "-1", source("turned.mov")});
    }
    static void TearDownTestSuite() {
        delete media_;
        media_ = nullptr;
    }
    static std::string source(const char* name) { return media_->file(name); }

    static std::string facts(const std::string& path) {
        return runProgram({"ffprobe", "-v", "error", "-show_format", "-show_streams",
                           "-show_chapters", path})
            .output;
    }
    /// Start, end and title of each chapter.
    static std::string chapters(const std::string& path) {
        return runProgram({"ffprobe", "-v", "error", "-show_chapters", "-show_entries",
                           "chapter=start_time,end_time:chapter_tags=title", "-of", "csv=p=0",
                           path})
            .output;
    }

    static TemporaryDirectory* media_;
    TemporaryDirectory folder_;
};

TemporaryDirectory* ExportPassengers::media_ = nullptr;

constexpr char kBothChapters[] = "0.000000,0.400000,Ebb\n0.400000,1.000000,Fl\u00FBt\n";

TEST_F(ExportPassengers, ChaptersTravelIntoEveryFormatThatHasThem) {
    const std::string mov = folder_.file("a.mov"), mp4 = folder_.file("a.mp4"),
                      mkv = folder_.file("a.mkv");
    ASSERT_TRUE(exportFile(source("a.mov"),
                           settingsFor(FileKind::quickTime, fourCode("jpeg"), fourCode("sowt")),
                           mov));
    EXPECT_EQ(chapters(mov), kBothChapters);
    ASSERT_TRUE(exportFile(source("a.mov"),
                           settingsFor(FileKind::mpeg4, fourCode("avc1"), fourCode("mp4a")), mp4));
    EXPECT_EQ(chapters(mp4), kBothChapters);
    ASSERT_TRUE(exportFile(
        source("a.mov"), settingsFor(FileKind::matroska, fourCode("avc1"), fourCode("fLaC")), mkv));
    EXPECT_EQ(chapters(mkv), kBothChapters);
}

TEST_F(ExportPassengers, ARangeTakesTheChaptersThatItTouchesAndCutsThem) {
    const std::string out = folder_.file("a.mov");
    ASSERT_TRUE(exportFile(source("a.mov"),
                           settingsFor(FileKind::quickTime, fourCode("jpeg"), fourCode("sowt")),
                           out, {0.2, 0.4}));
    EXPECT_EQ(chapters(out), "0.000000,0.200000,Ebb\n0.200000,0.400000,Fl\u00FBt\n");
}

TEST_F(ExportPassengers, ChaptersOfAListInTheUserDataAreTakenWhereThereIsNoTrack) {
    timeline::Movie movie;
    test::addColors(movie, 8, 8, {0xFFFFFFFF, 0xFF000000}, 600);
    codec::ByteWriter list;
    list.u32(0x01000000).u32(0).u8(2);
    list.u64(0).u8(3).raw(std::as_bytes(std::span("One", 3)));
    list.u64(10'000'000).u8(3).raw(std::as_bytes(std::span("Two", 3)));
    movie.userData.add(fourCode("chpl"), timeline::SharedBytes::adopt(list.take()));
    const std::vector<Chapter> chapters = chaptersOf(movie, 0, movie.duration());
    ASSERT_EQ(chapters.size(), 2u);
    EXPECT_EQ(chapters[0].title, "One");
    EXPECT_EQ(chapters[0].end, 600);
    EXPECT_EQ(chapters[1].start, 600);
    EXPECT_EQ(chapters[1].end, 1200);
}

TEST_F(ExportPassengers, AListOfChaptersThatPromisesMoreThanItHoldsGivesWhatIsThere) {
    timeline::Movie movie;
    test::addColors(movie, 8, 8, {0xFFFFFFFF}, 600);
    codec::ByteWriter list;
    list.u32(0x01000000).u32(0).u8(255).u64(0).u8(200).raw(std::as_bytes(std::span("Cut", 3)));
    movie.userData.add(fourCode("chpl"), timeline::SharedBytes::adopt(list.take()));
    const std::vector<Chapter> chapters = chaptersOf(movie, 0, movie.duration());
    ASSERT_EQ(chapters.size(), 1u);
    EXPECT_EQ(chapters[0].title, "Cut");
}

/// A movie whose chapter list has one sample.
std::string titleOfTextSample(const std::vector<std::byte>& sample) {
    timeline::Movie movie;
    test::addColors(movie, 8, 8, {0xFFFFFFFF}, 600);
    timeline::Track& track = movie.addTrack({}, 0);
    track.media = timeline::makeMedia(fourCode("text"), 600);
    auto store = std::make_shared<timeline::MemorySampleStore>(sample);
    timeline::DataReference reference;
    reference.store = store;
    track.media->dataReferences.push_back(reference);
    track.media->addDescription(
        timeline::SampleDescription(timeline::SharedBytes::adopt(chapterDescription())));
    timeline::NewSamples samples;
    samples.sizeInBytes = std::uint32_t(sample.size());
    samples.duration = 600;
    EXPECT_TRUE(track.media->samples.append(samples));
    EXPECT_TRUE(timeline::insertMedia(movie, track, 0, 0, 600));
    movie.tracks.front()->addReference(fourCode("chap"), track.id);
    const std::vector<Chapter> chapters = chaptersOf(movie, 0, movie.duration());
    return chapters.size() == 1 ? chapters.front().title : "(no chapter)";
}

std::vector<std::byte> textSample(std::string_view text, std::optional<std::uint32_t> encoding) {
    codec::ByteWriter writer;
    writer.u16(std::uint32_t(text.size())).raw(std::as_bytes(std::span(text)));
    if (encoding) {
        writer.u32(12).u32(fourCode("encd")).u32(*encoding);
    }
    return writer.take();
}

TEST(ChapterTitle, IsReadInTheEncodingThatItsSampleNames) {
    EXPECT_EQ(titleOfTextSample(textSample("Fl\xC3\xBBt", 0x100)), "Fl\u00FBt");
    EXPECT_EQ(titleOfTextSample(textSample("Fl\x9Et", 0)), "Fl\u00FBt");
    // Bytes that would be UTF-8 as well, but are said not to be.
    EXPECT_EQ(titleOfTextSample(textSample("\xC3\xBB", 0)), "\u221A\u00AA");
}

TEST(ChapterTitle, IsClassicTextWhenNothingIsSaidAndItCannotBeUtf8) {
    EXPECT_EQ(titleOfTextSample(textSample("Fl\x9Et", std::nullopt)), "Fl\u00FBt");
    EXPECT_EQ(titleOfTextSample(textSample("Fl\xC3\xBBt", std::nullopt)), "Fl\u00FBt");
    EXPECT_EQ(titleOfTextSample(textSample("caf\xC3", std::nullopt)), "caf\u221A");
}

TEST(ChapterTitle, IsReadAsUtf16BehindItsMark) {
    const std::string_view text("\xFE\xFF\0F\0l\0\xFB\0t\xD8\x3D\xDE\0\xD8\0", 16);
    EXPECT_EQ(titleOfTextSample(textSample(text, std::nullopt)), "Fl\u00FBt\U0001F600");
}

TEST(ChapterTitle, OutlivesBrokenAtomsBehindIt) {
    for (const std::uint32_t size : {0u, 7u, 8u, 0xFFFFFFFFu}) {
        codec::ByteWriter writer;
        writer.u16(2).u8('O').u8('n').u32(size).u32(fourCode("encd"));
        EXPECT_EQ(titleOfTextSample(writer.take()), "On");
    }
}

TEST_F(ExportPassengers, TitlesTimecodeAndLanguageTravel) {
    const struct {
        const char* name;
        FileKind kind;
    } targets[] = {
        {"a.mov", FileKind::quickTime}, {"a.mp4", FileKind::mpeg4}, {"a.mkv", FileKind::matroska}};
    for (const auto& target : targets) {
        const std::string out = folder_.file(target.name);
        ASSERT_TRUE(exportFile(source("a.mov"),
                               settingsFor(target.kind, fourCode("avc1"), fourCode("mp4a")), out,
                               {0.2, 0.4}));
        const std::string told = facts(out);
        EXPECT_THAT(told, HasSubstr("=Waves")) << target.name;
        EXPECT_THAT(told, HasSubstr("=A. Author")) << target.name;
        EXPECT_THAT(told, HasSubstr("=(c) N. N.")) << target.name;
        EXPECT_THAT(told, HasSubstr("=01:00:00:15")) << target.name;
        EXPECT_THAT(told, testing::ContainsRegex("language=(deu|ger)")) << target.name;
    }
}

TEST_F(ExportPassengers, ColoursAndPixelAspectTravel) {
    for (const FileKind kind : {FileKind::quickTime, FileKind::mpeg4, FileKind::matroska}) {
        const std::string out = folder_.file(kind == FileKind::matroska ? "b.mkv" : "b.mp4");
        ASSERT_TRUE(exportFile(source("a.mov"), settingsFor(kind, fourCode("avc1"), 0), out));
        EXPECT_EQ(probe(out, "v:0", "width"), "64");
        EXPECT_EQ(probe(out, "v:0", "sample_aspect_ratio"), "4:3");
        EXPECT_EQ(probe(out, "v:0", "color_space"), "bt709");
        EXPECT_EQ(probe(out, "v:0", "color_primaries"), "bt709");
        EXPECT_EQ(probe(out, "v:0", "color_transfer"), "bt709");
    }
}

TEST_F(ExportPassengers, ATurnedMovieIsExportedUprightWithItsTurnBakedIn) {
    const std::string out = folder_.file("a.mov");
    ASSERT_TRUE(exportFile(source("turned.mov"),
                           settingsFor(FileKind::quickTime, fourCode("FFV1"), 0), out));
    EXPECT_THAT(facts(source("turned.mov")), HasSubstr("rotation="));
    EXPECT_THAT(facts(out), testing::Not(HasSubstr("rotation=")));
    EXPECT_EQ(probe(out, "v:0", "width"), "48");
    EXPECT_EQ(probe(out, "v:0", "height"), "64");
    const auto quality =
        test::lumaPsnrs(source("turned.mov"), out, "null", "null", folder_.file("psnr"));
    ASSERT_EQ(quality.size(), 25u);
    EXPECT_GT(*std::ranges::min_element(quality), 32);
}

TEST_F(ExportPassengers, ATurnedMovieKeepsTheColourTagsOfItsTrack) {
    const std::string out = folder_.file("a.mov");
    ASSERT_TRUE(exportFile(source("turned.mov"),
                           settingsFor(FileKind::quickTime, fourCode("avc1"), 0), out));
    EXPECT_EQ(probe(out, "v:0", "color_space"), "bt709");
    EXPECT_EQ(probe(out, "v:0", "color_primaries"), "bt709");
    // The samples follow the tag: without a change of matrix they are the source's.
    const auto quality =
        test::lumaPsnrs(source("turned.mov"), out, "null", "null", folder_.file("psnr"));
    ASSERT_EQ(quality.size(), 25u);
    EXPECT_GT(*std::ranges::min_element(quality), 30);
}

TEST_F(ExportPassengers, TheCleanApertureTravelsWithUnchangedPixels) {
    auto opened = moviefile::openMovieFile(source("a.mov"));
    ASSERT_TRUE(opened);
    timeline::Movie& movie = *opened->movie;
    timeline::Media& media = *movie.trackOfType(fourCode("vide"))->media;
    codec::ByteWriter record;
    record.raw(media.descriptions.front().bytes());
    const std::size_t atom = record.openAtom(fourCode("clap"));
    record.u32(60).u32(1).u32(44).u32(1).u32(0).u32(1).u32(0).u32(1).closeAtom(atom).closeAtom(0);
    media.descriptions.front() =
        timeline::SampleDescription(timeline::SharedBytes::adopt(record.take()));
    ExportRequest request;
    request.movie = &movie;
    request.duration = movie.duration();
    request.settings = settingsFor(FileKind::quickTime, fourCode("jpeg"), 0);
    request.path = folder_.file("a.mov");
    ASSERT_TRUE(exportMovie(request));
    const auto made = moviefile::openMovieFile(request.path);
    ASSERT_TRUE(made);
    const auto description = codec::readVideoDescription(
        made->movie->trackOfType(fourCode("vide"))->media->descriptions.front().bytes());
    ASSERT_TRUE(description);
    EXPECT_EQ(description->cleanAperture, (codec::CleanAperture{60, 44, 0, 0}));
}

/// The bytes of a title: texts, each with its language.
timeline::SharedBytes titleTexts(
    const std::vector<std::pair<std::string_view, std::uint16_t>>& texts) {
    codec::ByteWriter writer;
    for (const auto& [text, language] : texts) {
        writer.u16(std::uint32_t(text.size())).u16(language).raw(std::as_bytes(std::span(text)));
    }
    return timeline::SharedBytes::adopt(writer.take());
}

constexpr std::uint32_t kName = 0xA96E616D;
constexpr std::uint16_t kEnglish = 0, kJapanese = 11, kPackedGerman = 0x10B5;

TEST(MovieTitles, AreReadInTheEncodingOfTheirLanguage) {
    const struct {
        std::string_view bytes;
        std::uint16_t language;
        const char* text;
    } cases[] = {{"Fl\x9Et", kEnglish, "Fl\u00FBt"},
                 {"\x93\xFA\x96\x7B", kJapanese, "\u65E5\u672C"},
                 {"Fl\xC3\xBBt", kPackedGerman, "Fl\u00FBt"},
                 {"Fl\xC3\xBBt", 0x7FFF, "Fl\u00FBt"},
                 {"Fl\x9Et", 0x7FFF, "Fl\u00FBt"},
                 {{"\xFE\xFF\0F\0\xFB", 6}, kPackedGerman, "F\u00FB"}};
    for (const auto& c : cases) {
        timeline::Movie movie;
        movie.userData.add(kName, titleTexts({{c.bytes, c.language}}));
        const std::vector<Title> titles = titlesOf(movie);
        ASSERT_EQ(titles.size(), 1u);
        EXPECT_EQ(titles.front().text, c.text);
    }
}

TEST(MovieTitles, CutRecordsGiveWhatIsThere) {
    timeline::Movie movie;
    movie.userData.add(
        kName, timeline::SharedBytes::copyOf(titleTexts({{"Waves", kEnglish}}).span().first(6)));
    ASSERT_EQ(titlesOf(movie).size(), 1u);
    EXPECT_EQ(titlesOf(movie).front().text, "Wa");
    movie.userData.items.front().data = timeline::SharedBytes();
    EXPECT_TRUE(titlesOf(movie).empty());
}

TEST_F(ExportPassengers, ClassicTitlesBecomeUnicodeWhereTheFormatKnowsNothingElse) {
    auto opened = moviefile::openMovieFile(source("a.mov"));
    ASSERT_TRUE(opened);
    timeline::Movie& movie = *opened->movie;
    std::erase_if(movie.userData.items,
                  [](const timeline::UserDataItem& item) { return item.type == kName; });
    const auto given = titleTexts({{"\x93\xFA\x96\x7B", kJapanese}, {"Fl\x9Et", kEnglish}});
    movie.userData.add(kName, given);
    const auto exportTo = [&](FileKind kind, const char* name) {
        ExportRequest request;
        request.movie = &movie;
        request.duration = movie.duration();
        request.settings = settingsFor(kind, fourCode("avc1"), 0);
        request.path = folder_.file(name);
        EXPECT_TRUE(exportMovie(request));
        return request.path;
    };
    const auto titleItemOf = [](const std::string& path) {
        const auto made = moviefile::openMovieFile(path);
        EXPECT_TRUE(made);
        const timeline::UserDataItem* item = made ? made->movie->userData.find(kName) : nullptr;
        return item ? item->data : timeline::SharedBytes();
    };
    const std::string mp4 = exportTo(FileKind::mpeg4, "a.mp4");
    EXPECT_THAT(facts(mp4), HasSubstr("title=\u65E5\u672C"));
    EXPECT_EQ(titleItemOf(mp4), titleTexts({{"\u65E5\u672C", 0x2A0E}, {"Fl\u00FBt", 0x15C7}}));
    EXPECT_THAT(facts(exportTo(FileKind::matroska, "a.mkv")), HasSubstr("title=\u65E5\u672C"));
    // A movie says which encoding it is, so it keeps what it has.
    EXPECT_EQ(titleItemOf(exportTo(FileKind::quickTime, "a.mov")), given);
}

TEST(LanguageCode, ClassicCodesAndPackedLettersNameTheSameLanguages) {
    EXPECT_EQ(languageLetters(0), "eng");
    EXPECT_EQ(languageLetters(11), "jpn");
    EXPECT_EQ(languageLetters(packedLanguage(2)), "deu");
    EXPECT_EQ(languageLetters(0x55C4), "");
    EXPECT_EQ(languageLetters(0x7FFF), "");
    EXPECT_EQ(languageLetters(300), "");
    EXPECT_EQ(languageLetters(0x400), "");
}

}  // namespace
}  // namespace TWQuickTime::transcode
