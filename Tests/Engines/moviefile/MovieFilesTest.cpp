// Movies made by other programs: what we read agrees with ffprobe, and what we write back without
// a change is what was there.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "Engines/moviefile/MemoryStorage.h"
#include "Engines/moviefile/MovieReader.h"
#include "Engines/moviefile/MovieWriter.h"
#include "Engines/moviefile/StorageSampleStore.h"
#include "MovieRecipes.h"
#include "PacketListing.h"
#include "RunProgram.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime::moviefile {
namespace {

using test::Packet;
using timeline::fourCharCode;
using timeline::Sample;
using timeline::Track;

std::vector<std::byte> movieAtomOf(const OpenedMovie& opened) {
    const auto bytes =
        viewRange(*opened.storage, opened.movieAtom.offset, opened.movieAtom.sizeInBytes);
    return std::vector<std::byte>(bytes->span().begin(), bytes->span().end());
}

void expectUnchangedRewrite(const OpenedMovie& opened) {
    WriteOptions options;
    options.fragments = Fragments::keep;
    const auto written = writeMovieAtom(*opened.movie, options);
    ASSERT_TRUE(written) << written.failure().message;
    EXPECT_TRUE(*written == movieAtomOf(opened));
    const auto measured = measureMovieAtom(*opened.movie, options);
    ASSERT_TRUE(measured);
    EXPECT_EQ(*measured, written->size());
}

/// The packets of one stream against the samples of one track. A packet of raw sound holds many
/// samples.
/// @param statesDurations  false where ffprobe guesses the durations of packets
void expectSamePackets(const Track& track, const std::vector<Packet>& packets,
                       std::size_t streamIndex, bool statesDurations = true) {
    const timeline::Media& media = *track.media;
    const auto status = media.samples.check();
    ASSERT_TRUE(status) << status.failure().message;
    auto cursor = media.samples.cursor(0);
    Sample sample;
    std::optional<std::int64_t> decodeShift;
    std::size_t number = 0;
    int recoveryPoints = 0;
    for (const Packet& packet : packets) {
        if (packet.stream != streamIndex)
            continue;
        SCOPED_TRACE("stream " + std::to_string(streamIndex) + " packet " +
                     std::to_string(number++));
        ASSERT_TRUE(cursor.next(sample));
        ASSERT_EQ(sample.offset, packet.offset);
        if (packet.displayTime) {
            ASSERT_EQ(sample.displayTime(), *packet.displayTime);
        }
        // Negative composition offsets make the demuxer move all decode times by one amount.
        if (packet.decodeTime && !decodeShift)
            decodeShift = sample.decodeTime - *packet.decodeTime;
        if (packet.decodeTime) {
            ASSERT_EQ(sample.decodeTime, *packet.decodeTime + *decodeShift);
        }
        // A frame that a decoder may recover at counts as a key frame for ffprobe, too.
        const bool sync = sample.sync || sample.partialSync;
        recoveryPoints += packet.key && !sync ? 1 : 0;
        ASSERT_TRUE(packet.key || !sync);
        std::uint64_t size = sample.sizeInBytes;
        std::int64_t duration = sample.duration;
        while (size < packet.sizeInBytes) {
            ASSERT_TRUE(cursor.next(sample));
            size += sample.sizeInBytes;
            duration += sample.duration;
        }
        ASSERT_EQ(size, packet.sizeInBytes);
        // With composition offsets, and for the last sample, ffprobe guesses the duration.
        const bool isLast = sample.index + 1 == media.samples.sampleCount();
        if (statesDurations && packet.duration && !isLast &&
            !media.samples.hasCompositionOffsets()) {
            ASSERT_EQ(duration, *packet.duration);
        }
    }
    EXPECT_LE(recoveryPoints, 3);
    // Of a track of chapters ffprobe makes chapters instead of packets.
    if (number != 0) {
        EXPECT_FALSE(cursor.next(sample)) << "samples that ffprobe does not have";
    }
}

void expectAgreementWithFfprobe(const std::string& path) {
    SCOPED_TRACE(path);
    const auto opened = openMovieFile(path);
    ASSERT_TRUE(opened) << opened.failure().message;
    ASSERT_EQ(opened->movie->tracks.size(), test::countStreams(path));
    const std::vector<Packet> packets = test::listPackets(path);
    for (std::size_t i = 0; i < opened->movie->tracks.size(); ++i)
        expectSamePackets(*opened->movie->tracks[i], packets, i, !opened->fragmented);
    expectUnchangedRewrite(*opened);
}

std::vector<std::string> sampleMovies() {
    std::vector<std::string> paths;
    const std::string folder = TWQuickTime::test::sampleMediaFolder();
    if (folder.empty())
        return paths;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::string extension = entry.path().extension().string();
        if (extension == ".mov" || extension == ".mp4" || extension == ".3gp" ||
            extension == ".m4a")
            paths.push_back(entry.path().string());
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

TEST(SampleMovies, AllOfThemAgreeWithFfprobeAndAreWrittenBackToTheByte) {
    const std::vector<std::string> paths = sampleMovies();
    if (paths.empty())
        GTEST_SKIP() << "set TWQT_MEDIA to the folder of sample media";
    for (const std::string& path : paths)
        expectAgreementWithFfprobe(path);
}

TEST(SampleMovies, ChangingTheUserDataChangesNoOtherAtom) {
    const std::vector<std::string> paths = sampleMovies();
    if (paths.empty())
        GTEST_SKIP() << "set TWQT_MEDIA to the folder of sample media";
    for (const std::string& path : paths) {
        SCOPED_TRACE(path);
        auto opened = openMovieFile(path);
        ASSERT_TRUE(opened);
        const std::byte note[] = {std::byte{'h'}, std::byte{'i'}};
        opened->movie->userData.add(fourCharCode("note"), timeline::SharedBytes::copyOf(note));
        WriteOptions options;
        options.fragments = Fragments::keep;
        const auto changed = writeMovieAtom(*opened->movie, options);
        ASSERT_TRUE(changed) << changed.failure().message;
        auto again = readMovieAtom(timeline::SharedBytes::adopt(*changed));
        ASSERT_TRUE(again) << again.failure().message;
        ASSERT_TRUE((*again)->userData.remove(fourCharCode("note")));
        const auto restored = writeMovieAtom(**again, options);
        ASSERT_TRUE(restored);
        // Removing the item again restores the movie, but for an empty list that went away.
        std::vector<std::byte> original = movieAtomOf(*opened);
        const bool hadUserData = opened->movie->userData.items.size() > 1;
        if (hadUserData) {
            EXPECT_TRUE(*restored == original);
        } else {
            EXPECT_LE(restored->size(), original.size());
            EXPECT_GE(restored->size() + 12, original.size());
        }
    }
}

TEST(MoviesMadeByFfmpeg, AgreeWithFfprobeAndAreWrittenBackToTheByte) {
    const TWQuickTime::test::TemporaryDirectory directory;
    for (const TWQuickTime::test::MovieRecipe& recipe : TWQuickTime::test::movieRecipes()) {
        SCOPED_TRACE(recipe.name);
        const std::string path = makeMovie(recipe, directory);
        expectAgreementWithFfprobe(path);
    }
}

TEST(MoviesMadeByFfmpeg, FoldedFragmentsGiveTheSamePackets) {
    const TWQuickTime::test::TemporaryDirectory directory;
    const std::string path = directory.file("fragments.mp4");
    std::vector<std::string> arguments = TWQuickTime::test::testPictureAndSound();
    for (const char* argument : {"-c:v", "libx264", "-bf", "2", "-g", "10", "-c:a", "aac",
                                 "-movflags", "+frag_keyframe+empty_moov"})
        arguments.push_back(argument);
    arguments.push_back(path);
    TWQuickTime::test::runFfmpeg(arguments);
    const auto opened = openMovieFile(path);
    ASSERT_TRUE(opened) << opened.failure().message;
    EXPECT_TRUE(opened->fragmented);
    EXPECT_NEAR(static_cast<double>(opened->movie->duration()), 2.0 * opened->movie->timeScale,
                0.1 * opened->movie->timeScale);

    // The old file without its fragments' atoms: they become free, the new movie is appended.
    const auto folded = writeMovieAtom(*opened->movie);
    ASSERT_TRUE(folded) << folded.failure().message;
    const std::string foldedPath = directory.file("folded.mp4");
    std::filesystem::copy_file(path, foldedPath);
    std::fstream file(foldedPath, std::ios::in | std::ios::out | std::ios::binary);
    OuterAtomWalker walker(*opened->storage);
    for (auto atom = walker.next(); atom && *atom; atom = walker.next()) {
        const timeline::FourCharCode type = (*atom)->type;
        if (type != fourCharCode("moof") && type != fourCharCode("moov") &&
            type != fourCharCode("mfra"))
            continue;
        file.seekp(static_cast<std::streamoff>((*atom)->offset + 4));
        file.write("free", 4);
    }
    file.seekp(0, std::ios::end);
    file.write(reinterpret_cast<const char*>(folded->data()),
               static_cast<std::streamsize>(folded->size()));
    file.close();

    const std::vector<Packet> before = test::listPackets(path);
    std::vector<Packet> after = test::listPackets(foldedPath);
    ASSERT_EQ(before.size(), after.size());
    const auto refolded = openMovieFile(foldedPath);
    ASSERT_TRUE(refolded);
    EXPECT_FALSE(refolded->fragmented);
    expectUnchangedRewrite(*refolded);
    for (std::size_t i = 0; i < refolded->movie->tracks.size(); ++i)
        expectSamePackets(*refolded->movie->tracks[i], before, i, false);
}

TEST(MoviesMadeByFfmpeg, ReadFromMemoryAsFromAFile) {
    const TWQuickTime::test::TemporaryDirectory directory;
    const std::string path = directory.file("plain.mov");
    std::vector<std::string> arguments = TWQuickTime::test::testPictureAndSound();
    arguments.insert(arguments.end(), {"-c:v", "mjpeg", path});
    TWQuickTime::test::runFfmpeg(arguments);
    std::ifstream file(path, std::ios::binary);
    const std::string content((std::istreambuf_iterator<char>(file)),
                              std::istreambuf_iterator<char>());
    const auto* first = reinterpret_cast<const std::byte*>(content.data());
    auto storage =
        std::make_shared<MemoryStorage>(std::vector<std::byte>(first, first + content.size()));
    const auto opened = openMovie(storage, "");
    ASSERT_TRUE(opened) << opened.failure().message;
    const timeline::Media& media = *opened->movie->tracks[0]->media;
    const auto data = media.readSample(*media.samples.sample(7));
    ASSERT_TRUE(data) << data.failure().message;
    EXPECT_EQ((*data)[0], std::byte{0xFF});
    EXPECT_EQ((*data)[1], std::byte{0xD8});
}

}  // namespace
}  // namespace TWQuickTime::moviefile
