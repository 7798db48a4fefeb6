#include "MovieStorage.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "DataReferences.h"
#include "FileReferences.h"
#include "RunProgram.h"
#include "TemporaryDirectory.h"
#include "TestMovies.h"
#include "ToolboxTrace.h"
#include "UserData.h"

namespace TWQuickTime {
namespace {

using test::ScopedHandle;
using test::ScopedMovie;

/// A data reference to a path, disposed of with the object.
class Reference {
  public:
    explicit Reference(const std::string& path) {
        QTNewDataReferenceFromFullPathCFString(NSString(path), kQTNativeDefaultPathStyle, 0,
                                               &handle, &type);
    }
    ~Reference() { DisposeHandle(handle); }
    Reference(const Reference&) = delete;
    Reference& operator=(const Reference&) = delete;

    Handle handle = nullptr;
    OSType type = 0;
};

constexpr std::uint32_t kCreate = createMovieFileDeleteCurFile | newMovieActive;

class MovieStorageTest : public testing::Test {
  protected:
    ~MovieStorageTest() override { ToolboxTrace::reset(); }

    OSErr create(DataHandler* handler, Movie* movie, std::uint32_t flags = kCreate) {
        return CreateMovieStorage(reference_.handle, reference_.type, fourCC("TVOD"),
                                  smSystemScript, flags, handler, movie);
    }
    OSErr openMovie(Movie* movie) {
        return NewMovieFromDataRef(movie, newMovieActive, nullptr, reference_.handle,
                                   reference_.type);
    }
    void makeFile() {
        test::runFfmpeg(
            {"-f", "lavfi", "-i", "testsrc=duration=1:size=64x48:rate=25", "-c:v", "mjpeg", path_});
    }
    std::string framesOf(const std::string& path) {
        return test::runProgram(
                   {"ffmpeg", "-v", "error", "-i", path, "-map", "0:v", "-f", "framemd5", "-"})
            .output;
    }

    test::TemporaryDirectory directory_;
    std::string path_ = directory_.file("a.mov");
    Reference reference_{path_};
};

TEST_F(MovieStorageTest, HasNoMovieBeforeItIsWrittenOnce) {
    DataHandler handler = nullptr;
    Movie movie = nullptr, none = nullptr;
    ASSERT_EQ(create(&handler, &movie), noErr);
    EXPECT_EQ(openMovie(&none), noMovieFound);
    EXPECT_EQ(UpdateMovieInStorage(movie, handler), noErr);
    EXPECT_EQ(openMovie(&none), noErr);
    DisposeMovie(none);
    EXPECT_EQ(CloseMovieStorage(handler), noErr);
    EXPECT_EQ(CloseMovieStorage(handler), noDataHandler);
    DisposeMovie(movie);
}

TEST_F(MovieStorageTest, DoesNotReplaceAFileUnlessTold) {
    std::ofstream(path_) << "kept";
    DataHandler handler = nullptr;
    Movie movie = nullptr;
    EXPECT_EQ(create(&handler, &movie, newMovieActive), dupFNErr);
    EXPECT_EQ(handler, nullptr);
    EXPECT_EQ(movie, nullptr);
    EXPECT_EQ(std::filesystem::file_size(path_), 4u);
    std::filesystem::create_directory(directory_.path() / "folder");
    const Reference folder(directory_.file("folder"));
    EXPECT_EQ(CreateMovieStorage(folder.handle, folder.type, 0, 0, kCreate, &handler, &movie),
              paramErr);
}

TEST_F(MovieStorageTest, LeavesTheReadersOfAReplacedFileAlone) {
    makeFile();
    const std::string before = framesOf(path_);
    Movie old = nullptr;
    ASSERT_EQ(openMovie(&old), noErr);
    const ScopedMovie oldOwner(old);
    DataHandler handler = nullptr;
    Movie movie = nullptr;
    ASSERT_EQ(create(&handler, &movie), noErr);
    const ScopedMovie owner(movie);
    const ScopedHandle data;
    EXPECT_EQ(GetMediaSample(GetTrackMedia(GetMovieIndTrack(old, 1)), data, 0, nullptr, 0, nullptr,
                             nullptr, nullptr, nullptr, 0, nullptr, nullptr),
              noErr);
    EXPECT_FALSE(data.bytes().empty());
    // Its samples can no longer be named by the path.
    EXPECT_EQ(UpdateMovieInStorage(old, handler), paramErr);
    CloseMovieStorage(handler);
    EXPECT_FALSE(before.empty());
}

TEST_F(MovieStorageTest, RefusesToWriteThroughAStorageForReading) {
    makeFile();
    DataHandler handler = nullptr;
    ASSERT_EQ(OpenMovieStorage(reference_.handle, reference_.type, kDataHCanRead, &handler), noErr);
    Movie movie = nullptr;
    ASSERT_EQ(openMovie(&movie), noErr);
    EXPECT_EQ(UpdateMovieInStorage(movie, handler), dataNotOpenForWrite);
    EXPECT_EQ(UpdateMovieInStorage(movie, nullptr), noDataHandler);
    EXPECT_EQ(UpdateMovieInStorage(nullptr, handler), invalidMovie);
    DisposeMovie(movie);
    CloseMovieStorage(handler);
}

TEST_F(MovieStorageTest, RefusesReferencesThatAreNone) {
    DataHandler handler = nullptr;
    Movie movie = nullptr;
    EXPECT_EQ(OpenMovieStorage(nullptr, 0, kDataHCanRead, &handler), invalidDataRef);
    EXPECT_EQ(CreateMovieStorage(nullptr, 0, 0, 0, kCreate, &handler, &movie), invalidDataRef);
    EXPECT_EQ(NewMovieFromDataRef(&movie, newMovieActive, nullptr, nullptr, 0), invalidDataRef);
    EXPECT_EQ(OpenMovieStorage(reference_.handle, reference_.type, kDataHCanRead, nullptr),
              paramErr);
    EXPECT_EQ(OpenMovieStorage(reference_.handle, reference_.type, kDataHCanRead, &handler),
              fnfErr);
}

TEST_F(MovieStorageTest, TakesInDataThatWereKeptInMemory) {
    makeFile();
    const std::string before = framesOf(path_);
    Movie movie = nullptr;
    ASSERT_EQ(openMovie(&movie), noErr);
    const ScopedMovie owner(movie);
    test::addSoundTrack(movie, 8000, 8000);
    DataHandler handler = nullptr;
    ASSERT_EQ(OpenMovieStorage(reference_.handle, reference_.type, kDataHCanRead | kDataHCanWrite,
                               &handler),
              noErr);
    ASSERT_EQ(UpdateMovieInStorage(movie, handler), noErr);
    CloseMovieStorage(handler);
    EXPECT_EQ(framesOf(path_), before);
    const auto probed =
        test::runProgram({"ffprobe", "-v", "error", "-show_entries",
                          "stream=codec_tag_string,nb_frames", "-of", "csv=p=0", path_});
    EXPECT_EQ(probed.output, "jpeg,25\ntwos,8000\n");
    EXPECT_EQ(probed.errors, "");
}

TEST_F(MovieStorageTest, NamesTheFileOfSamplesThatLieElsewhere) {
    makeFile();
    Movie movie = nullptr;
    ASSERT_EQ(openMovie(&movie), noErr);
    const ScopedMovie owner(movie);
    const std::string other = directory_.file("reference.mov");
    const Reference destination(other);
    DataHandler handler = nullptr;
    Movie unused = nullptr;
    ASSERT_EQ(
        CreateMovieStorage(destination.handle, destination.type, 0, 0, kCreate, &handler, &unused),
        noErr);
    DisposeMovie(unused);
    ASSERT_EQ(UpdateMovieInStorage(movie, handler), noErr);
    CloseMovieStorage(handler);
    EXPECT_LT(std::filesystem::file_size(other), 4096u);
    Movie second = nullptr;
    ASSERT_EQ(
        NewMovieFromDataRef(&second, newMovieActive, nullptr, destination.handle, destination.type),
        noErr);
    const ScopedMovie secondOwner(second);
    const ScopedHandle first, again;
    for (const auto& [source, data] : {std::pair{movie, static_cast<Handle>(first)},
                                       std::pair{second, static_cast<Handle>(again)}})
        EXPECT_EQ(GetMediaSample(GetTrackMedia(GetMovieIndTrack(source, 1)), data, 0, nullptr, 0,
                                 nullptr, nullptr, nullptr, nullptr, 0, nullptr, nullptr),
                  noErr);
    EXPECT_EQ(first.bytes(), again.bytes());
}

TEST_F(MovieStorageTest, IsOneForAllWhoWriteToAFile) {
    makeFile();
    const std::string before = framesOf(path_);
    DataHandler first = nullptr, second = nullptr;
    for (DataHandler* handler : {&first, &second})
        ASSERT_EQ(OpenMovieStorage(reference_.handle, reference_.type,
                                   kDataHCanRead | kDataHCanWrite, handler),
                  noErr);
    Movie movie = nullptr;
    ASSERT_EQ(openMovie(&movie), noErr);
    const ScopedMovie owner(movie);
    test::addSoundTrack(movie, 8000, 8000);
    ASSERT_EQ(UpdateMovieInStorage(movie, second), noErr);
    test::addSoundTrack(movie, 8000, 8000);
    ASSERT_EQ(UpdateMovieInStorage(movie, first), noErr);
    CloseMovieStorage(first);
    CloseMovieStorage(second);
    EXPECT_EQ(framesOf(path_), before);
}

TEST_F(MovieStorageTest, TakesBackDataThatNoMovieWasWrittenFor) {
    makeFile();
    const auto sizeBefore = std::filesystem::file_size(path_);
    DataHandler handler = nullptr;
    ASSERT_EQ(OpenMovieStorage(reference_.handle, reference_.type, kDataHCanRead | kDataHCanWrite,
                               &handler),
              noErr);
    Movie movie = nullptr;
    ASSERT_EQ(openMovie(&movie), noErr);
    test::addSoundTrack(movie, 48000, 480000);
    DisposeMovie(movie);
    CloseMovieStorage(handler);
    EXPECT_LE(std::filesystem::file_size(path_), sizeBefore + 16);
    EXPECT_FALSE(framesOf(path_).empty());
}

TEST_F(MovieStorageTest, KeepsTheTablesOfAnOpenMovieThroughManyUpdates) {
    makeFile();
    DataHandler handler = nullptr;
    ASSERT_EQ(OpenMovieStorage(reference_.handle, reference_.type, kDataHCanRead | kDataHCanWrite,
                               &handler),
              noErr);
    Movie movie = nullptr;
    ASSERT_EQ(openMovie(&movie), noErr);
    const ScopedMovie owner(movie);
    for (std::uint8_t i = 0; i < 20; ++i) {
        SetUserDataItem(GetMovieUserData(movie), &i, 1, fourCC("step"), 1);
        ASSERT_EQ(UpdateMovieInStorage(movie, handler), noErr);
        const ScopedHandle data;
        ASSERT_EQ(GetMediaSample(GetTrackMedia(GetMovieIndTrack(movie, 1)), data, 0, nullptr,
                                 GetMediaDuration(GetTrackMedia(GetMovieIndTrack(movie, 1))) - 1,
                                 nullptr, nullptr, nullptr, nullptr, 0, nullptr, nullptr),
                  noErr);
    }
    CloseMovieStorage(handler);
    const auto probed = test::runProgram(
        {"ffprobe", "-v", "warning", "-show_entries", "stream=nb_frames", "-of", "csv=p=0", path_});
    EXPECT_EQ(probed.output, "25\n");
    EXPECT_EQ(probed.errors, "");
}

class FragmentedMovieTest : public MovieStorageTest {
  protected:
    FragmentedMovieTest() {
        test::runFfmpeg({"-f", "lavfi", "-i", "testsrc=duration=2:size=64x48:rate=25", "-c:v",
                         "mpeg4", "-g", "10", "-movflags", "+frag_keyframe+empty_moov", path_});
        before_ = framesOf(path_);
        EXPECT_EQ(OpenMovieStorage(reference_.handle, reference_.type,
                                   kDataHCanRead | kDataHCanWrite, &handler_),
                  noErr);
        EXPECT_EQ(openMovie(&movie_), noErr);
    }
    ~FragmentedMovieTest() override {
        DisposeMovie(movie_);
        CloseMovieStorage(handler_);
    }
    bool hasAtom(const char* type) {
        std::ifstream file(path_, std::ios::binary);
        const std::string contents{std::istreambuf_iterator<char>(file),
                                   std::istreambuf_iterator<char>()};
        return contents.find(type) != std::string::npos;
    }

    std::string before_;
    DataHandler handler_ = nullptr;
    Movie movie_ = nullptr;
};

TEST_F(FragmentedMovieTest, IsLeftAloneWithoutAChange) {
    const auto sizeBefore = std::filesystem::file_size(path_);
    ASSERT_EQ(UpdateMovieInStorage(movie_, handler_), noErr);
    EXPECT_TRUE(hasAtom("moof"));
    EXPECT_EQ(std::filesystem::file_size(path_), sizeBefore);
    EXPECT_EQ(framesOf(path_), before_);
}

TEST_F(FragmentedMovieTest, IsFoldedByAnyChange) {
    const std::uint8_t item = 5;
    SetUserDataItem(GetMovieUserData(movie_), &item, 1, fourCC("step"), 1);
    test::addSoundTrack(movie_, 8000, 16000);
    ASSERT_EQ(UpdateMovieInStorage(movie_, handler_), noErr);
    EXPECT_FALSE(hasAtom("moof"));
    EXPECT_EQ(framesOf(path_), before_);
    Movie again = nullptr;
    ASSERT_EQ(openMovie(&again), noErr);
    EXPECT_EQ(GetMediaSampleCount(GetTrackMedia(GetMovieIndTrack(again, 1))), 50);
    EXPECT_EQ(GetMediaSampleCount(GetTrackMedia(GetMovieIndTrack(again, 2))), 16000);
    DisposeMovie(again);
}

TEST_F(FragmentedMovieTest, IsFoldedWhenItsTrackGrows) {
    const Media media = GetTrackMedia(GetMovieIndTrack(movie_, 1));
    const ScopedHandle data, description;
    ASSERT_EQ(GetMediaSample(media, data, 0, nullptr, 0, nullptr, nullptr, description, nullptr, 0,
                             nullptr, nullptr),
              noErr);
    ASSERT_EQ(BeginMediaEdits(media), noErr);
    ASSERT_EQ(AddMediaSample(media, data, 0, static_cast<std::uint32_t>(GetHandleSize(data)), 512,
                             description, 1, 0, nullptr),
              noErr);
    ASSERT_EQ(EndMediaEdits(media), noErr);
    ASSERT_EQ(UpdateMovieInStorage(movie_, handler_), noErr);
    EXPECT_FALSE(hasAtom("moof"));
    Movie again = nullptr;
    ASSERT_EQ(openMovie(&again), noErr);
    EXPECT_EQ(GetMediaSampleCount(GetTrackMedia(GetMovieIndTrack(again, 1))), 51);
    DisposeMovie(again);
}

TEST(MovieFiles, AreKnownByNumbersOnlyWhileTheyAreOpen) {
    const test::TemporaryDirectory directory;
    const std::string path = directory.file("a.mov");
    test::runFfmpeg(
        {"-f", "lavfi", "-i", "testsrc=duration=1:size=64x48:rate=25", "-c:v", "mjpeg", path});
    FSRef ref;
    FSSpec spec;
    ASSERT_EQ(FSPathMakeRef(path.c_str(), &ref, nullptr), noErr);
    ASSERT_EQ(FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, nullptr, &spec, nullptr), noErr);
    std::int16_t first = 0, second = 0;
    ASSERT_EQ(OpenMovieFile(&spec, &first, fsRdPerm), noErr);
    ASSERT_EQ(OpenMovieFile(&spec, &second, fsRdWrPerm), noErr);
    EXPECT_NE(first, second);
    EXPECT_EQ(CloseMovieFile(first), noErr);
    EXPECT_EQ(CloseMovieFile(first), rfNumErr);
    Movie movie = nullptr;
    EXPECT_EQ(NewMovieFromFile(&movie, first, nullptr, nullptr, 0, nullptr), rfNumErr);
    ASSERT_EQ(NewMovieFromFile(&movie, second, nullptr, nullptr, 0, nullptr), noErr);
    DisposeMovie(movie);
    EXPECT_EQ(CloseMovieFile(second), noErr);
    EXPECT_EQ(OpenMovieFile(nullptr, &first, fsRdPerm), paramErr);
    const FSSpec unknown{};
    EXPECT_EQ(OpenMovieFile(&unknown, &first, fsRdPerm), fnfErr);
    EXPECT_EQ(first, 0);
}

}  // namespace
}  // namespace TWQuickTime
