#include "Engines/timeline/TweenEvaluator.h"

#include <gtest/gtest.h>

#include <cmath>

#include "Engines/timeline/TweenSample.h"

namespace TWQuickTime::timeline {
namespace {

using Bytes = std::vector<std::byte>;

void append32(Bytes& bytes, std::uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes.push_back(static_cast<std::byte>(value >> shift));
}

/// An atom of a container; children are given as its content and counted.
Bytes atom(std::uint32_t type, std::uint32_t id, std::uint32_t childCount, const Bytes& content) {
    Bytes bytes;
    append32(bytes, static_cast<std::uint32_t>(20 + content.size()));
    append32(bytes, type);
    append32(bytes, id);
    append32(bytes, childCount);
    append32(bytes, 0);
    bytes.insert(bytes.end(), content.begin(), content.end());
    return bytes;
}

Bytes joined(const std::vector<Bytes>& parts) {
    Bytes all;
    for (const Bytes& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

Bytes number(std::uint32_t value) {
    Bytes bytes;
    append32(bytes, value);
    return bytes;
}

Bytes container(std::uint32_t childCount, const Bytes& children) {
    Bytes bytes(12);
    const Bytes root = atom(fourCharCode("sean"), 1, childCount, children);
    bytes.insert(bytes.end(), root.begin(), root.end());
    return bytes;
}

Bytes tweenSample(std::int16_t start, std::int16_t end,
                  FourCharCode dataType = fourCharCode("data")) {
    const std::uint32_t values = static_cast<std::uint32_t>(static_cast<std::uint16_t>(start))
                                     << 16 |
                                 static_cast<std::uint16_t>(end);
    return container(1, atom(fourCharCode("twen"), 1, 2,
                             joined({atom(fourCharCode("twnt"), 1, 0, number(1)),
                                     atom(dataType, 1, 0, number(values))})));
}

struct Ramp {
    std::uint32_t duration;
    std::int16_t start, end;
};

/// A movie with a sound track, and a tween track with ramps at a movie time.
struct TweenedMovie {
    Movie movie;
    Track* sound = nullptr;

    explicit TweenedMovie(std::int16_t ownVolume = 0x100) {
        movie.timeScale = 600;
        sound = &movie.addTrack({}, ownVolume);
        sound->media = makeMedia(fourCharCode("soun"), 1000);
    }

    /// @param trackStart  movie units; the media's time scale is 1000
    Track& addTween(std::int64_t trackStart, const std::vector<Ramp>& ramps, bool connect = true) {
        Track& track = movie.addTrack({}, 0);
        track.media = makeMedia(fourCharCode("twen"), 1000);
        auto store = std::make_shared<MemorySampleStore>();
        track.media->dataReferences.push_back(
            {.type = fourCharCode("hndl"), .flags = 0, .data = {}, .store = store});
        Bytes description(16);
        description[3] = std::byte{16};
        description[15] = std::byte{1};
        track.media->descriptions.emplace_back(SharedBytes::adopt(std::move(description)));
        for (const Ramp& ramp : ramps) {
            const Bytes bytes = tweenSample(ramp.start, ramp.end);
            const auto offset = store->append(bytes);
            EXPECT_TRUE(track.media->samples
                            .append({.offset = *offset,
                                     .sizeInBytes = static_cast<std::uint32_t>(bytes.size()),
                                     .duration = ramp.duration})
                            .ok());
        }
        EXPECT_TRUE(insertMedia(movie, track, trackStart, 0, track.media->samples.duration()).ok());
        if (connect)
            inputs_ =
                joined({inputs_, input(sound->addReference(fourCharCode("ssrc"), track.id), 3)});
        sound->media->inputMap = SharedBytes::adopt(
            container(static_cast<std::uint32_t>(
                          sound->references.empty() ? 0 : sound->references[0].trackIDs.size()),
                      inputs_));
        return track;
    }

    static Bytes input(std::uint32_t index, std::uint32_t kind) {
        return atom(
            26990, index, 2,
            joined({atom(29817, 1, 0, number(kind)), atom(fourCharCode("subi"), 1, 0, number(1))}));
    }

    TweenEvaluator volume() const { return TweenEvaluator::ofVolume(movie, *sound); }

  private:
    Bytes inputs_;
};

TEST(TweenSample, ReadsPairsOf16BitIntegers) {
    EXPECT_EQ(shortTweensOfSample(tweenSample(0, 255), 500),
              (std::vector<ShortTween>{{0, 500, 0, 255}}));
    EXPECT_EQ(shortTweensOfSample(tweenSample(-1, 1, fourCharCode("twdt")), 500),
              (std::vector<ShortTween>{{0, 500, -1, 1}}));
    EXPECT_EQ(tweenSample(0, 255).size(), 100u);
}

TEST(TweenSample, HonoursAStartAndADurationOfItsOwn) {
    const Bytes sample =
        container(1, atom(fourCharCode("twen"), 1, 4,
                          joined({atom(fourCharCode("twst"), 1, 0, number(100)),
                                  atom(fourCharCode("twdu"), 1, 0, number(200)),
                                  atom(fourCharCode("twnt"), 1, 0, number(1)),
                                  atom(fourCharCode("data"), 1, 0, number(0x00000100))})));
    EXPECT_EQ(shortTweensOfSample(sample, 500), (std::vector<ShortTween>{{100, 200, 0, 256}}));
}

TEST(TweenSample, LeavesOutWhatIsOfAnotherTypeOrDamaged) {
    Bytes sample = tweenSample(0, 255);
    for (std::size_t size = 0; size < sample.size(); ++size)
        EXPECT_TRUE(shortTweensOfSample(std::span(sample).first(size), 500).empty()) << size;
    sample[75] = std::byte{2};  // the tween type
    EXPECT_TRUE(shortTweensOfSample(sample, 500).empty());
}

TEST(TweenEvaluator, HoldsTheTracksOwnVolumeWithoutTweens) {
    const TweenedMovie tweened(0x80);
    EXPECT_TRUE(tweened.volume().isConstant());
    EXPECT_EQ(tweened.volume().volumeAt(7), 0.5);
    EXPECT_EQ(TweenEvaluator().volumeAt(0), 1);
}

TEST(TweenEvaluator, ChangesTheVolumeEvenlyOverASample) {
    TweenedMovie tweened;
    tweened.addTween(600, {{2000, 0, 256}, {1000, 256, 256}, {500, 256, 0}});
    const TweenEvaluator volume = tweened.volume();
    EXPECT_EQ(volume.volumeAt(0.5), 1);
    EXPECT_EQ(volume.volumeAt(1), 0);
    EXPECT_DOUBLE_EQ(volume.volumeAt(2), 0.5);
    EXPECT_DOUBLE_EQ(volume.volumeAt(3.5), 1);
    EXPECT_NEAR(volume.volumeAt(4.25), 0.5, 1e-9);
    EXPECT_EQ(volume.volumeAt(4.5), 1);
    EXPECT_EQ(volume.stretches().size(), 5u);
}

TEST(TweenEvaluator, StaysWithinOneUnitOfTheExactVolume) {
    TweenedMovie tweened;
    tweened.addTween(0, {{3333, 17, 255}});
    const TweenEvaluator volume = tweened.volume();
    for (int i = 0; i < 3333; ++i)
        EXPECT_LE(std::abs(volume.shortVolumeAt(i / 1000.0) - (17 + 238 * (i / 3333.0))), 1.0);
}

TEST(TweenEvaluator, FollowsTheEditsOfTheTween) {
    TweenedMovie tweened;
    Track& tween = tweened.addTween(0, {{1000, 0, 256}});
    // The second half of the ramp alone, at twice its speed, one second into the movie.
    tween.edits = EditList({{.duration = 600, .mediaTime = kEmptyMediaTime},
                            {.duration = 150, .mediaTime = 500, .rate = 2 * kFixedOne}});
    const TweenEvaluator volume = tweened.volume();
    EXPECT_EQ(volume.volumeAt(0.9), 1);
    EXPECT_DOUBLE_EQ(volume.volumeAt(1), 0.5);
    EXPECT_DOUBLE_EQ(volume.volumeAt(1.125), 0.75);
    EXPECT_EQ(volume.volumeAt(1.25), 1);
}

TEST(TweenEvaluator, LetsLaterReferencesGoFirst) {
    TweenedMovie tweened;
    tweened.addTween(0, {{3000, 128, 128}});
    tweened.addTween(600, {{1000, 0, 0}});
    const TweenEvaluator volume = tweened.volume();
    EXPECT_EQ(volume.volumeAt(0.5), 0.5);
    EXPECT_EQ(volume.volumeAt(1.5), 0);
    EXPECT_EQ(volume.volumeAt(2.5), 0.5);
    EXPECT_EQ(volume.volumeAt(3.5), 1);
}

TEST(TweenEvaluator, IgnoresTweensThatDriveSomethingElseOrAreOff) {
    TweenedMovie tweened;
    Track& off = tweened.addTween(0, {{1000, 0, 0}});
    off.setEnabled(false);
    EXPECT_TRUE(tweened.volume().isConstant());
    off.setEnabled(true);
    EXPECT_FALSE(tweened.volume().isConstant());
    tweened.sound->media->inputMap = SharedBytes::adopt(container(1, TweenedMovie::input(1, 4)));
    EXPECT_TRUE(tweened.volume().isConstant());
    tweened.sound->media->inputMap = SharedBytes::adopt(container(1, TweenedMovie::input(9, 3)));
    EXPECT_TRUE(tweened.volume().isConstant());
}

TEST(TweenEvaluator, PassesOverSamplesWithoutData) {
    TweenedMovie tweened;
    Track& tween = tweened.addTween(0, {{1000, 0, 256}});
    ASSERT_TRUE(
        tween.media->samples.append({.offset = 1 << 20, .sizeInBytes = 100, .duration = 5}).ok());
    tween.edits = EditList({{.duration = 6000, .mediaTime = 0}});
    EXPECT_DOUBLE_EQ(tweened.volume().volumeAt(0.5), 0.5);
    EXPECT_EQ(tweened.volume().volumeAt(1.002), 1);
}

}  // namespace
}  // namespace TWQuickTime::timeline
