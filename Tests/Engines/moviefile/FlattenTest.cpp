#include "Engines/moviefile/Flatten.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "AtomBytes.h"
#include "Engines/moviefile/AtomTypes.h"
#include "Engines/moviefile/DataReferences.h"
#include "Engines/moviefile/FileSurvey.h"
#include "Engines/moviefile/MemoryStorage.h"
#include "Engines/moviefile/MovieReader.h"
#include "HoleStorage.h"
#include "Tests/Support/RunProgram.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace TWQuickTime::moviefile::test {
namespace {

using result::FailureKind;
using result::Status;
using TWQuickTime::test::runFfmpeg;
using TWQuickTime::test::runProgram;
using TWQuickTime::test::sampleMediaFolder;
using TWQuickTime::test::TemporaryDirectory;

constexpr std::uint32_t video = timeline::fourCharCode("vide");
constexpr std::uint32_t sound = timeline::fourCharCode("soun");

/// A description whose data are those of the first reference.
timeline::SampleDescription description(const std::string& format) {
    Bytes bytes = joined({u32(16), bytesOf(format), Bytes(6), Bytes(2)});
    bytes[15] = std::byte{1};
    return timeline::SampleDescription(timeline::SharedBytes::adopt(std::move(bytes)));
}

/// A movie whose samples lie in memory, each with bytes of its own.
class MovieInMemory {
  public:
    MovieInMemory() { movie.timeScale = 600; }

    timeline::Track& addTrack(std::uint32_t type, std::uint32_t timeScale, std::uint32_t count,
                              std::uint32_t duration, std::uint32_t size) {
        timeline::Track& track = movie.addTrack({}, 0);
        track.media = timeline::makeMedia(type, timeScale);
        auto store = std::make_shared<timeline::MemorySampleStore>();
        timeline::DataReference reference;
        reference.type = timeline::fourCharCode("hndl");
        reference.store = store;
        track.media->dataReferences.push_back(reference);
        track.media->descriptions.push_back(description("test"));
        for (std::uint32_t i = 0; i < count; ++i) {
            const auto offset =
                store->append(Bytes(size, static_cast<std::byte>(i * 7 + track.id * 31)));
            timeline::NewSamples sample;
            sample.offset = *offset;
            sample.sizeInBytes = size;
            sample.duration = duration;
            EXPECT_TRUE(track.media->samples.append(sample));
        }
        EXPECT_TRUE(timeline::insertMedia(movie, track, 0, 0, track.media->duration()));
        return track;
    }

    timeline::Movie movie;
};

/// The bytes of all samples of all tracks, one behind the other.
std::vector<Bytes> samplesOf(const timeline::Movie& movie) {
    std::vector<Bytes> all;
    for (const auto& track : movie.tracks) {
        Bytes bytes;
        auto cursor = track->media->samples.cursor(0);
        for (timeline::Sample sample; cursor.next(sample);) {
            const auto read = track->media->readSample(sample);
            EXPECT_TRUE(read) << read.failure().message;
            if (read)
                bytes.insert(bytes.end(), read->begin(), read->end());
        }
        all.push_back(std::move(bytes));
    }
    return all;
}

std::vector<std::string> outerTypes(const Storage& storage) {
    std::vector<std::string> types;
    const auto survey = surveyFile(storage);
    EXPECT_TRUE(survey);
    for (const OuterAtom& atom : survey->atoms)
        types.push_back(timeline::textOf(atom.type));
    return types;
}

class FlattenOfMemory : public ::testing::TestWithParam<MoviePlace> {
  protected:
    FlattenOptions options() const {
        FlattenOptions chosen;
        chosen.place = GetParam();
        return chosen;
    }
    static OpenedMovie reopened(std::shared_ptr<Storage> storage) {
        auto opened = openMovie(std::move(storage), "");
        EXPECT_TRUE(opened) << opened.failure().message;
        return std::move(*opened);
    }
};

TEST_P(FlattenOfMemory, HoldsEverySampleInAFileOfItsOwn) {
    MovieInMemory source;
    source.addTrack(video, 600, 100, 24, 1000);
    source.addTrack(sound, 44100, 40, 4410, 333);
    const auto expected = samplesOf(source.movie);
    const auto storage = std::make_shared<MemoryStorage>();
    const Status flattened = flattenInto(source.movie, *storage, options());
    ASSERT_TRUE(flattened) << flattened.failure().message;
    const OpenedMovie copy = reopened(storage);
    EXPECT_EQ(samplesOf(*copy.movie), expected);
    for (const auto& track : copy.movie->tracks)
        for (const timeline::DataReference& reference : track->media->dataReferences)
            EXPECT_TRUE(reference.isSelf());
    EXPECT_EQ(samplesOf(source.movie), expected) << "the source stays what it is";
}

TEST_P(FlattenOfMemory, PutsTheMovieWhereItIsWanted) {
    MovieInMemory source;
    source.addTrack(video, 600, 10, 24, 100);
    MemoryStorage storage;
    ASSERT_TRUE(flattenInto(source.movie, storage, options()));
    if (GetParam() == MoviePlace::beforeData)
        EXPECT_THAT(outerTypes(storage), ::testing::ElementsAre("ftyp", "moov", "wide", "mdat"));
    else
        EXPECT_THAT(outerTypes(storage), ::testing::ElementsAre("ftyp", "wide", "mdat", "moov"));
}

TEST_P(FlattenOfMemory, InterleavesTheTracksByHalfSeconds) {
    MovieInMemory source;
    source.addTrack(video, 600, 100, 24, 1000);
    source.addTrack(sound, 44100, 40, 4410, 333);
    auto storage = std::make_shared<MemoryStorage>();
    ASSERT_TRUE(flattenInto(source.movie, *storage, options()));
    const OpenedMovie copy = reopened(storage);
    std::map<std::uint64_t, std::pair<std::uint32_t, double>> chunks;  // by offset: track, seconds
    for (const auto& track : copy.movie->tracks) {
        for (std::uint32_t i = 0; i < track->media->samples.chunkCount(); ++i) {
            const auto chunk = track->media->samples.chunk(i);
            ASSERT_TRUE(chunk);
            chunks[chunk->offset] = {
                track->id, static_cast<double>(chunk->decodeTime) / track->media->timeScale};
        }
    }
    ASSERT_EQ(chunks.size(), 16u);
    double last = 0;
    for (const auto& [offset, chunk] : chunks) {
        EXPECT_GE(chunk.second + 0.05, last) << offset;
        last = chunk.second;
    }
}

TEST_P(FlattenOfMemory, WithoutInterleavingOneTrackFollowsTheOther) {
    MovieInMemory source;
    source.addTrack(video, 600, 100, 24, 1000);
    source.addTrack(sound, 600, 100, 24, 333);
    FlattenOptions chosen = options();
    chosen.interleave = false;
    auto storage = std::make_shared<MemoryStorage>();
    ASSERT_TRUE(flattenInto(source.movie, *storage, chosen));
    const OpenedMovie copy = reopened(storage);
    const auto& first = copy.movie->tracks[0]->media->samples;
    const auto& second = copy.movie->tracks[1]->media->samples;
    EXPECT_LT(first.chunk(first.chunkCount() - 1)->offset, second.chunk(0)->offset);
    EXPECT_EQ(samplesOf(*copy.movie), samplesOf(source.movie));
}

TEST_P(FlattenOfMemory, AMovieWithoutSamplesAndOneWithoutTracksAreCopiedToo) {
    MovieInMemory empty;
    auto storage = std::make_shared<MemoryStorage>();
    ASSERT_TRUE(flattenInto(empty.movie, *storage, options()));
    EXPECT_EQ(reopened(storage).movie->tracks.size(), 0u);

    MovieInMemory noSamples;
    timeline::Track& track = noSamples.movie.addTrack({}, 0);
    track.media = timeline::makeMedia(video, 600);
    storage = std::make_shared<MemoryStorage>();
    ASSERT_TRUE(flattenInto(noSamples.movie, *storage, options()));
    EXPECT_EQ(reopened(storage).movie->tracks.size(), 1u);
}

TEST_P(FlattenOfMemory, ACompressedMovieFindsItsSamples) {
    MovieInMemory source;
    source.addTrack(video, 600, 2000, 400, 11);
    FlattenOptions chosen = options();
    chosen.compression = Compression::always;
    auto storage = std::make_shared<MemoryStorage>();
    const Status flattened = flattenInto(source.movie, *storage, chosen);
    ASSERT_TRUE(flattened) << flattened.failure().message;
    EXPECT_EQ(samplesOf(*reopened(storage).movie), samplesOf(source.movie));
}

TEST_P(FlattenOfMemory, TellsAProgressThatNeverGoesBackFromNoneToAll) {
    MovieInMemory source;
    source.addTrack(video, 600, 30, 24, 1'000'000);
    FlattenOptions chosen = options();
    std::vector<double> fractions;
    bool movieIsWhole = true;
    const auto offset = source.movie.tracks[0]->media->samples.chunk(0)->offset;
    chosen.progress = [&](double fraction) {
        fractions.push_back(fraction);
        movieIsWhole &= source.movie.tracks[0]->media->samples.chunk(0)->offset == offset;
        return true;
    };
    const TemporaryDirectory folder;
    ASSERT_TRUE(flattenMovie(source.movie, folder.file("movie"), chosen));
    EXPECT_GE(fractions.size(), 6u);
    EXPECT_EQ(fractions.front(), 0.0);
    EXPECT_EQ(fractions.back(), 1.0);
    EXPECT_TRUE(std::is_sorted(fractions.begin(), fractions.end()));
    EXPECT_TRUE(movieIsWhole);
}

TEST_P(FlattenOfMemory, StoppedAtAnyMomentItLeavesTheDestinationAndNothingElse) {
    MovieInMemory source;
    source.addTrack(video, 600, 20, 24, 1'000'000);
    const TemporaryDirectory folder;
    std::ofstream(folder.file("movie")) << "old";
    for (int calls = 0;; ++calls) {
        FlattenOptions chosen = options();
        int left = calls;
        chosen.progress = [&](double) { return left-- > 0; };
        const Status flattened = flattenMovie(source.movie, folder.file("movie"), chosen);
        if (flattened)
            break;
        ASSERT_LT(calls, 20);
        EXPECT_EQ(flattened.failure().kind, FailureKind::cancelled);
        EXPECT_EQ(std::filesystem::file_size(folder.file("movie")), 3u);
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
    }
    EXPECT_GT(std::filesystem::file_size(folder.file("movie")), 20'000'000u);
}

TEST_P(FlattenOfMemory, EveryFailureOfTheStorageIsReturned) {
    MovieInMemory source;
    source.addTrack(video, 600, 100, 24, 1000);
    source.addTrack(sound, 44100, 40, 4410, 333);
    MemoryStorage complete;
    ASSERT_TRUE(flattenInto(source.movie, complete, options()));
    for (std::size_t index = 0; index < complete.operationCount(); ++index) {
        MemoryStorage storage;
        storage.failOperation(index, ENOSPC, 1);
        const Status flattened = flattenInto(source.movie, storage, options());
        ASSERT_FALSE(flattened) << index;
        EXPECT_EQ(flattened.failure().kind, FailureKind::noSpace);
    }
}

TEST_P(FlattenOfMemory, DataThatEndTooEarlyOrCannotBeOpenedFailBeforeAnythingIsWritten) {
    MovieInMemory source;
    timeline::Track& track = source.addTrack(video, 600, 100, 24, 1000);
    const auto whole = track.media->dataReferences[0].store;
    track.media->dataReferences[0].store =
        std::make_shared<timeline::MemorySampleStore>(Bytes(99'999));
    MemoryStorage storage;
    EXPECT_EQ(flattenInto(source.movie, storage, options()).failure().kind, FailureKind::truncated);
    track.media->dataReferences[0].store = nullptr;
    EXPECT_EQ(flattenInto(source.movie, storage, options()).failure().kind,
              FailureKind::notAvailable);
    EXPECT_EQ(storage.operationCount(), 0u);
    track.media->dataReferences[0].store = whole;
    EXPECT_TRUE(flattenInto(source.movie, storage, options()));
}

/// Five gibibytes of zeros.
class EndlessZeros final : public timeline::SampleStore {
  public:
    std::uint64_t size() const override { return std::uint64_t{5} << 30; }
    Status read(std::uint64_t, std::span<std::byte> into) const override {
        std::fill(into.begin(), into.end(), std::byte{0});
        return {};
    }
};

TEST_P(FlattenOfMemory, MoreThan4GiBGetWideOffsetsAndAWideHeader) {
    MovieInMemory source;
    timeline::Track& track = source.addTrack(video, 600, 1, 600, 10);
    track.media->dataReferences[0].store = std::make_shared<EndlessZeros>();
    timeline::NewSamples samples;
    samples.offset = 10;
    samples.sizeInBytes = 1 << 30;
    samples.count = 4;
    samples.duration = 600;
    ASSERT_TRUE(track.media->samples.append(samples));
    const TemporaryDirectory folder;
    auto file = FileStorage::createNew(folder.file("large"));
    ASSERT_TRUE(file);
    auto storage = std::make_shared<HoleStorage>(**file);
    const Status flattened = flattenInto(source.movie, *storage, options());
    ASSERT_TRUE(flattened) << flattened.failure().message;
    const auto survey = surveyFile(*storage);
    ASSERT_TRUE(survey);
    const OuterAtom& media =
        survey->atoms[survey->atoms.size() - (GetParam() == MoviePlace::beforeData ? 1 : 2)];
    EXPECT_EQ(media.type, typeMediaData);
    EXPECT_EQ(media.headerSizeInBytes, 16u);
    EXPECT_EQ(media.sizeInBytes, 16 + 10 + (std::uint64_t{4} << 30));
    const OpenedMovie copy = reopened(storage);
    const auto last = copy.movie->tracks[0]->media->samples.sample(4);
    ASSERT_TRUE(last);
    EXPECT_EQ(last->offset, media.payloadOffset() + 10 + (std::uint64_t{3} << 30));
}

INSTANTIATE_TEST_SUITE_P(Flatten, FlattenOfMemory,
                         ::testing::Values(MoviePlace::afterData, MoviePlace::beforeData),
                         [](const auto& place) {
                             return place.param == MoviePlace::beforeData ? "MovieFirst"
                                                                          : "MovieLast";
                         });

std::string ffmpegReads(const std::string& path, const std::string& format) {
    const auto run = runProgram({"ffmpeg", "-v", "error", "-nostdin", "-i", path, "-map", "0:v?",
                                 "-map", "0:a?", "-c", "copy", "-f", format, "-"});
    EXPECT_EQ(run.exitStatus, 0) << path << ": " << run.errors;
    return run.output;
}

/// What ffmpeg reads of pictures and sound: a checksum of each stream, and the time, size and
/// checksum of each packet, stream by stream. Uncompressed sound has no packets of its own; ffmpeg
/// makes them of chunks.
std::vector<std::string> packetsOf(const std::string& path) {
    std::set<std::string> uncompressed;
    std::vector<std::string> lines;
    std::istringstream frames(ffmpegReads(path, "framehash"));
    for (std::string line; std::getline(frames, line);) {
        const std::string codec = "#codec_id ";
        if (line.starts_with(codec) && line.find(": pcm_") != std::string::npos)
            uncompressed.insert(line.substr(codec.size(), line.find(':') - codec.size()) + ",");
        if (!line.starts_with('#') && !uncompressed.contains(line.substr(0, line.find(',') + 1)))
            lines.push_back(line);
    }
    std::stable_sort(lines.begin(), lines.end(), [](const std::string& a, const std::string& b) {
        return std::stoi(a) < std::stoi(b);
    });
    lines.push_back(ffmpegReads(path, "streamhash"));
    return lines;
}

/// All atoms within the range that hold no others, with their path, in order. Left out are those
/// that say where samples lie, and the free ones.
void listLeaves(std::span<const std::byte> bytes, const std::string& path,
                std::vector<std::pair<std::string, Bytes>>& leaves) {
    const std::set<std::string> parents = {"moov", "trak", "edts", "mdia", "minf",
                                           "dinf", "stbl", "udta", "tref", "gmhd"};
    const std::set<std::string> places = {"stsc", "stco", "co64", "dref", "free"};
    while (bytes.size() >= 8) {
        const std::size_t size = loadU32(bytes.first<4>());
        if (size < 8 || size > bytes.size())
            break;
        const std::string type = timeline::textOf(loadU32(bytes.subspan<4, 4>()));
        const auto payload = bytes.subspan(8, size - 8);
        if (parents.contains(type))
            listLeaves(payload, path + "/" + type, leaves);
        else if (!places.contains(type))
            leaves.emplace_back(path + "/" + type, Bytes(payload.begin(), payload.end()));
        bytes = bytes.subspan(size);
    }
    leaves.emplace_back(path + "/end", Bytes(bytes.begin(), bytes.end()));
}

std::vector<std::pair<std::string, Bytes>> leavesOf(const OpenedMovie& opened) {
    Bytes atom(static_cast<std::size_t>(opened.movieAtom.sizeInBytes));
    EXPECT_TRUE(opened.storage->readExactly(opened.movieAtom.offset, atom));
    std::vector<std::pair<std::string, Bytes>> leaves;
    listLeaves(atom, "", leaves);
    return leaves;
}

std::ptrdiff_t warningsOf(const std::string& path) {
    const std::string errors = runProgram({"ffprobe", "-v", "warning", path}).errors;
    return std::count(errors.begin(), errors.end(), '\n');
}

/// Flattens the file both ways and compares the copies with it.
void flattenAndCompare(const std::string& source) {
    const TemporaryDirectory folder;
    const std::string copy = folder.file("copy.mov");
    const auto packets = packetsOf(source);
    const auto warnings = warningsOf(source);
    for (const MoviePlace place : {MoviePlace::afterData, MoviePlace::beforeData}) {
        auto opened = openMovieFile(source);
        ASSERT_TRUE(opened) << opened.failure().message;
        FlattenOptions options;
        options.place = place;
        const Status flattened = flattenMovie(*opened->movie, copy, options);
        ASSERT_TRUE(flattened) << flattened.failure().message;
        auto reopened = openMovieFile(copy);
        ASSERT_TRUE(reopened) << reopened.failure().message;
        EXPECT_EQ(samplesOf(*reopened->movie), samplesOf(*opened->movie));
        EXPECT_EQ(packetsOf(copy), packets);
        EXPECT_LE(warningsOf(copy), warnings);
        // Fragments are gathered into one movie atom; every other one stays to the byte.
        if (!opened->fragmented) {
            EXPECT_EQ(leavesOf(*reopened), leavesOf(*opened));
        }
    }
}

TEST(Flatten, WhatFfmpegReadsFromTheCopyIsWhatItReadsFromTheSource) {
    const TemporaryDirectory folder;
    const std::vector<std::vector<std::string>> codecs = {
        {"-c:v", "libx264", "-bf", "2", "-c:a", "aac"},
        {"-c:v", "mjpeg", "-c:a", "pcm_s16le"},
        {"-c:v", "mpeg4", "-c:a", "adpcm_ima_qt", "-movflags", "+faststart"},
        {"-c:v", "libx264", "-c:a", "pcm_s24be", "-timecode", "01:00:00:00", "-metadata",
         "title=A title", "-metadata", "comment=A comment"},
    };
    for (const std::vector<std::string>& codec : codecs) {
        std::vector<std::string> arguments = {
            "-f", "lavfi", "-i", "testsrc=size=160x120:rate=25:duration=3",
            "-f", "lavfi", "-i", "sine=frequency=440:duration=3"};
        arguments.insert(arguments.end(), codec.begin(), codec.end());
        arguments.push_back(folder.file("source.mov"));
        runFfmpeg(arguments);
        SCOPED_TRACE(codec[1] + " " + codec[3]);
        flattenAndCompare(folder.file("source.mov"));
    }
}

TEST(Flatten, SampleMediaAreCopiedWithAllTheirPackets) {
    const std::string media = sampleMediaFolder();
    if (media.empty())
        GTEST_SKIP() << "no folder of sample media in TWQT_MEDIA";
    std::size_t movies = 0;
    for (const auto& entry : std::filesystem::directory_iterator(media)) {
        const std::string extension = entry.path().extension();
        if (extension != ".mov" && extension != ".mp4" && extension != ".3gp" &&
            extension != ".m4a")
            continue;
        SCOPED_TRACE(entry.path().filename().string());
        flattenAndCompare(entry.path().string());
        ++movies;
    }
    EXPECT_GT(movies, 0u);
}

TEST(Flatten, AMovieMayBeFlattenedOntoItself) {
    const TemporaryDirectory folder;
    const std::string path = folder.file("movie.mov");
    runFfmpeg(
        {"-f", "lavfi", "-i", "testsrc=size=160x120:rate=25:duration=2", "-c:v", "mjpeg", path});
    const auto before = packetsOf(path);
    auto opened = openMovieFile(path);
    ASSERT_TRUE(opened);
    FlattenOptions options;
    options.place = MoviePlace::beforeData;
    ASSERT_TRUE(flattenMovie(*opened->movie, path, options));
    EXPECT_EQ(packetsOf(path), before);
}

TEST(Flatten, SamplesOfOtherFilesComeAlong) {
    const TemporaryDirectory folder;
    const std::string source = folder.file("source.mov");
    runFfmpeg(
        {"-f", "lavfi", "-i", "testsrc=size=160x120:rate=25:duration=2", "-c:v", "mjpeg", source});
    auto opened = openMovieFile(source);
    ASSERT_TRUE(opened);
    // A file that holds the movie only and names the other one.
    WriteOptions naming;
    naming.mapDataReference = [&](const timeline::DataReference&) {
        return makeFileReference(source);
    };
    const auto atom = writeMovieAtom(*opened->movie, naming);
    ASSERT_TRUE(atom);
    const std::string reference = folder.file("reference.mov");
    {
        auto file = FileStorage::createNew(reference);
        ASSERT_TRUE(file);
        ASSERT_TRUE((*file)->write(0, joined({fileType(), *atom})));
    }
    auto referring = openMovieFile(reference);
    ASSERT_TRUE(referring) << referring.failure().message;
    const std::string copy = folder.file("copy.mov");
    const Status flattened = flattenMovie(*referring->movie, copy);
    ASSERT_TRUE(flattened) << flattened.failure().message;
    const auto expected = packetsOf(source);
    std::filesystem::remove(source);
    EXPECT_EQ(packetsOf(copy), expected);
}

}  // namespace
}  // namespace TWQuickTime::moviefile::test
