#include "Engines/timeline/SampleTable.h"

#include <gtest/gtest.h>

#include <random>

#include "TimeAllowance.h"

namespace TWQuickTime::timeline {
namespace {

using result::FailureKind;

bool same(const Sample& a, const Sample& b) {
    return a.index == b.index && a.decodeTime == b.decodeTime && a.duration == b.duration &&
           a.compositionOffset == b.compositionOffset && a.sync == b.sync &&
           a.sizeInBytes == b.sizeInBytes && a.offset == b.offset &&
           a.descriptionIndex == b.descriptionIndex;
}

/// A table grown sample by sample, and the samples one by one as they must come out.
struct GrownTable {
    SampleTable table;
    std::vector<Sample> samples;

    void add(const NewSamples& added) {
        ASSERT_TRUE(table.append(added));
        for (std::uint32_t i = 0; i < added.count; ++i) {
            Sample sample;
            sample.index = static_cast<std::uint32_t>(samples.size());
            sample.decodeTime =
                samples.empty() ? 0 : samples.back().decodeTime + samples.back().duration;
            sample.duration = added.duration;
            sample.compositionOffset = added.compositionOffset;
            sample.sync = added.sync;
            sample.sizeInBytes = added.sizeInBytes;
            sample.offset = added.offset + std::uint64_t{added.sizeInBytes} * i;
            sample.descriptionIndex = added.descriptionIndex;
            samples.push_back(sample);
        }
    }
};

GrownTable randomTable(unsigned seed, int appends, bool reordered) {
    std::mt19937 random(seed);
    const auto below = [&](unsigned limit) { return static_cast<std::uint32_t>(random() % limit); };
    GrownTable grown;
    std::uint64_t offset = 48;
    for (int i = 0; i < appends; ++i) {
        NewSamples added;
        if (below(10) == 0)
            offset += 1000 + below(1u << 30);
        added.offset = offset;
        added.sizeInBytes = below(5000);
        added.count = 1 + below(3);
        added.duration = 1 + below(4) * 500;
        added.compositionOffset = reordered ? static_cast<std::int32_t>(below(4000)) - 1000 : 0;
        added.descriptionIndex = 1 + below(20) / 19;
        added.sync = below(12) == 0;
        offset += std::uint64_t{added.sizeInBytes} * added.count;
        grown.add(added);
    }
    return grown;
}

TEST(SampleTable, AnEmptyTableAnswersEverythingWithNothing) {
    const SampleTable table;
    EXPECT_EQ(table.sampleCount(), 0u);
    EXPECT_EQ(table.duration(), 0);
    EXPECT_TRUE(table.check());
    EXPECT_EQ(table.sample(0).failure().kind, FailureKind::endOfData);
    EXPECT_EQ(table.sampleAtDecodeTime(0), std::nullopt);
    EXPECT_EQ(table.sampleAtDisplayTime(0), std::nullopt);
    EXPECT_EQ(table.sampleDisplayedAfter(0), std::nullopt);
    Sample sample;
    EXPECT_FALSE(table.cursor(0).next(sample));
}

TEST(SampleTable, AWalkGivesTheSamplesThatWereAppended) {
    const GrownTable grown = randomTable(1, 5000, true);
    ASSERT_EQ(grown.table.sampleCount(), grown.samples.size());
    ASSERT_TRUE(grown.table.check());
    auto cursor = grown.table.cursor(0);
    Sample sample;
    for (const Sample& expected : grown.samples) {
        ASSERT_TRUE(cursor.next(sample));
        ASSERT_TRUE(same(sample, expected)) << "sample " << expected.index;
    }
    EXPECT_FALSE(cursor.next(sample));
}

TEST(SampleTable, LookingUpOneSampleAgreesWithTheWalk) {
    const GrownTable grown = randomTable(2, 3000, true);
    for (const Sample& expected : grown.samples) {
        const auto found = grown.table.sample(expected.index);
        ASSERT_TRUE(found);
        ASSERT_TRUE(same(*found, expected)) << "sample " << expected.index;
    }
}

TEST(SampleTable, AWalkMayBeginAnywhere) {
    const GrownTable grown = randomTable(3, 1000, true);
    for (std::uint32_t first = 0; first < grown.samples.size(); first += 37) {
        auto cursor = grown.table.cursor(first);
        Sample sample;
        for (std::uint32_t i = first; i < std::min<std::size_t>(first + 40, grown.samples.size());
             ++i) {
            ASSERT_TRUE(cursor.next(sample));
            ASSERT_TRUE(same(sample, grown.samples[i])) << first << " " << i;
        }
    }
}

TEST(SampleTable, FindsTheSampleDecodedAtATime) {
    const GrownTable grown = randomTable(4, 2000, false);
    for (const Sample& expected : grown.samples) {
        ASSERT_EQ(grown.table.sampleAtDecodeTime(expected.decodeTime), expected.index);
        ASSERT_EQ(grown.table.sampleAtDecodeTime(expected.decodeTime + expected.duration - 1),
                  expected.index);
        ASSERT_EQ(grown.table.decodeTimeOf(expected.index), expected.decodeTime);
    }
    EXPECT_EQ(grown.table.sampleAtDecodeTime(grown.table.duration()), std::nullopt);
    EXPECT_EQ(grown.table.sampleAtDecodeTime(-1), std::nullopt);
}

TEST(SampleTable, FindsTheSampleShownAtATimeAmongReorderedOnes) {
    const GrownTable grown = randomTable(5, 400, true);
    for (std::int64_t time = -3000; time < grown.table.duration() + 3000; time += 97) {
        std::optional<std::int64_t> shown;
        std::optional<std::int64_t> next;
        for (const Sample& sample : grown.samples) {
            if (sample.displayTime() <= time && (!shown || sample.displayTime() > *shown))
                shown = sample.displayTime();
            if (sample.displayTime() > time && (!next || sample.displayTime() < *next))
                next = sample.displayTime();
        }
        const auto found = grown.table.sampleAtDisplayTime(time);
        ASSERT_TRUE(found);
        ASSERT_EQ(grown.samples[*found].displayTime(), shown ? *shown : *next) << time;
        const auto after = grown.table.sampleDisplayedAfter(time);
        ASSERT_EQ(after.has_value(), next.has_value()) << time;
        if (after) {
            ASSERT_EQ(grown.samples[*after].displayTime(), *next) << time;
        }
    }
}

TEST(SampleTable, FindsSyncSamplesOnBothSides) {
    const GrownTable grown = randomTable(6, 1000, false);
    for (const Sample& sample : grown.samples) {
        std::uint32_t before = sample.index;
        while (before > 0 && !grown.samples[before].sync)
            --before;
        std::optional<std::uint32_t> after;
        for (std::uint32_t i = sample.index; i < grown.samples.size() && !after; ++i) {
            if (grown.samples[i].sync)
                after = i;
        }
        ASSERT_EQ(grown.table.syncSampleAtOrBefore(sample.index), before);
        ASSERT_EQ(grown.table.syncSampleAtOrAfter(sample.index), after);
    }
}

TEST(SampleTable, WithoutASyncTableAllSamplesAreSyncSamples) {
    GrownTable grown;
    grown.add({.offset = 8, .sizeInBytes = 10, .count = 100, .duration = 1});
    EXPECT_TRUE(grown.table.allSync());
    EXPECT_EQ(grown.table.syncSampleAtOrBefore(7), 7u);
    EXPECT_EQ(grown.table.syncSampleAtOrAfter(7), 7u);
}

TEST(SampleTable, TheFirstSampleThatIsNoSyncSampleMakesTheOthersExplicit) {
    GrownTable grown;
    grown.add({.offset = 8, .sizeInBytes = 10, .count = 3, .duration = 1});
    grown.add({.offset = 38, .sizeInBytes = 10, .count = 2, .duration = 1, .sync = false});
    EXPECT_FALSE(grown.table.allSync());
    EXPECT_TRUE(grown.table.sample(2)->sync);
    EXPECT_FALSE(grown.table.sample(3)->sync);
    EXPECT_EQ(grown.table.columns().sync.rowCount(), 3u);
}

TEST(SampleTable, ContiguousSamplesShareAChunkUntilItIsFull) {
    GrownTable grown;
    for (std::uint32_t i = 0; i < 3000; ++i)
        grown.add({.offset = 100 + std::uint64_t{i} * 1024, .sizeInBytes = 1024, .duration = 1});
    EXPECT_EQ(grown.table.chunkCount(), 3u);
    EXPECT_EQ(grown.table.chunk(0)->sampleCount, 1024u);
    EXPECT_EQ(grown.table.chunk(0)->sizeInBytes, 1u << 20);
    EXPECT_EQ(grown.table.chunk(2)->firstSample, 2048u);
    // Two chunks of 1024 and one of 952 samples are two runs.
    EXPECT_EQ(grown.table.columns().chunks.runs().size(), 24u);
}

TEST(SampleTable, EqualNeighboursTakeNoRowsOfTheirOwn) {
    GrownTable grown;
    for (std::uint32_t i = 0; i < 10000; ++i)
        grown.add({.offset = std::uint64_t{i} * 4, .sizeInBytes = 4, .duration = 1});
    EXPECT_EQ(grown.table.columns().times.rowCount(), 1u);
    EXPECT_EQ(grown.table.columns().sizes.rows().size(), 0u);
    EXPECT_EQ(grown.table.columns().sizes.commonSize(), 4u);
}

TEST(SampleTable, EverythingWasShownWhenTheLastPictureShownEnds) {
    SampleTable table;
    EXPECT_EQ(table.displayEnd(), 0);
    const auto append = [&table](std::uint32_t duration, std::int32_t offset) {
        NewSamples added;
        added.sizeInBytes = 1;
        added.duration = duration;
        added.compositionOffset = offset;
        ASSERT_TRUE(table.append(added));
    };
    append(10, 0);
    append(10, 0);
    EXPECT_EQ(table.displayEnd(), 20);
    append(10, 25);  // decoded from 20 to 30, shown from 45 to 55
    append(10, 5);
    append(10, -10);
    EXPECT_EQ(table.duration(), 50);
    EXPECT_EQ(table.displayEnd(), 55);
    append(10, -40);
    EXPECT_EQ(table.displayEnd(), 60);  // never before the sum of the durations
}

TEST(SampleTable, OffsetsPastFourGigabytesWidenTheColumn) {
    GrownTable grown;
    grown.add({.offset = 8, .sizeInBytes = 10, .duration = 1});
    EXPECT_FALSE(grown.table.columns().chunks.wide());
    grown.add({.offset = 0x1'0000'0000, .sizeInBytes = 10, .duration = 1});
    EXPECT_TRUE(grown.table.columns().chunks.wide());
    EXPECT_EQ(grown.table.sample(0)->offset, 8u);
    EXPECT_EQ(grown.table.sample(1)->offset, 0x1'0000'0000u);
}

TEST(SampleTable, ACopyKeepsItsSamplesWhenTheOriginalGrows) {
    GrownTable grown = randomTable(7, 1000, true);
    const SampleTable copy = grown.table;
    const std::size_t before = grown.samples.size();
    ASSERT_TRUE(copy.sample(500));
    grown.add({.offset = 0, .sizeInBytes = 1, .count = 700, .duration = 9, .sync = false});
    EXPECT_EQ(copy.sampleCount(), before);
    EXPECT_EQ(copy.duration(), grown.samples[before].decodeTime);
    EXPECT_EQ(grown.table.duration(), grown.samples.back().decodeTime + 9);
    EXPECT_TRUE(same(*grown.table.sample(grown.table.sampleCount() - 1), grown.samples.back()));
}

TEST(SampleTable, LookUpsStayRightWhileATableGrows) {
    GrownTable grown;
    std::mt19937 random(8);
    std::uint64_t offset = 0;
    for (int i = 0; i < 3000; ++i) {
        const auto size = static_cast<std::uint32_t>(1 + random() % 100);
        offset += random() % 3 == 0 ? 5 : 0;
        grown.add({.offset = offset,
                   .sizeInBytes = size,
                   .duration = static_cast<std::uint32_t>(1 + random() % 3)});
        offset += size;
        const auto found =
            grown.table.sample(static_cast<std::uint32_t>(random() % grown.samples.size()));
        ASSERT_TRUE(found);
        ASSERT_TRUE(same(*found, grown.samples[found->index]));
        ASSERT_EQ(grown.table.duration(),
                  grown.samples.back().decodeTime + grown.samples.back().duration);
        ASSERT_EQ(grown.table.chunk(grown.table.chunkCount() - 1)->firstSample +
                      grown.table.chunk(grown.table.chunkCount() - 1)->sampleCount,
                  grown.samples.size());
    }
}

TEST(SampleTable, PlacingChunksMovesTheSamplesAndNothingElse) {
    GrownTable grown;
    grown.add({.offset = 8, .sizeInBytes = 10, .count = 6, .duration = 2});
    EXPECT_EQ(grown.table.placeChunks({{1000, 2, 1}}).failure().kind, FailureKind::badArgument);
    ASSERT_TRUE(grown.table.placeChunks({{1000, 2, 1}, {2000, 3, 1}, {500, 1, 1}}));
    EXPECT_EQ(grown.table.sample(1)->offset, 1010u);
    EXPECT_EQ(grown.table.sample(4)->offset, 2020u);
    EXPECT_EQ(grown.table.sample(5)->offset, 500u);
    EXPECT_EQ(grown.table.sample(5)->decodeTime, 10);
    EXPECT_TRUE(grown.table.columns().placementChanged);
}

TEST(SampleTable, ShiftingMovesOnlyTheChunksOfTheChosenDescriptions) {
    GrownTable grown;
    grown.add({.offset = 100, .sizeInBytes = 10, .duration = 2});
    grown.add({.offset = 500, .sizeInBytes = 10, .duration = 2, .descriptionIndex = 2});
    ASSERT_TRUE(grown.table.shiftChunks(-50, [](std::uint32_t index) { return index == 1; }));
    EXPECT_EQ(grown.table.sample(0)->offset, 50u);
    EXPECT_EQ(grown.table.sample(1)->offset, 500u);
    EXPECT_EQ(grown.table.shiftChunks(-51).failure().kind, FailureKind::badArgument);
    EXPECT_EQ(grown.table.sample(1)->offset, 500u);
}

TEST(SampleTable, RefusesMoreSamplesThanAFileCanCount) {
    SampleTable table;
    ASSERT_TRUE(table.append({.offset = 0, .sizeInBytes = 1, .count = 0xFFFFFFFE, .duration = 1}));
    EXPECT_EQ(
        table.append({.offset = 0, .sizeInBytes = 1, .count = 2, .duration = 1}).failure().kind,
        FailureKind::limit);
    EXPECT_EQ(table.sample(0xFFFFFFFD)->offset, 0xFFFFFFFDu);
    EXPECT_EQ(table.append({.count = 0}).failure().kind, FailureKind::badArgument);
    EXPECT_EQ(table.append({.descriptionIndex = 0}).failure().kind, FailureKind::badArgument);
}

TEST(SampleTable, AppendingAMillionSamplesOneByOneTakesAMoment) {
    constexpr std::uint32_t count = TWQuickTime::test::isSanitized ? 100'000 : 1'000'000;
    SampleTable table;
    std::uint64_t offset = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint32_t size = 100 + i % 1000;
        ASSERT_TRUE(table.append({.offset = offset, .sizeInBytes = size, .duration = 1 + i % 2}));
        offset += size;
    }
    EXPECT_EQ(table.duration(), count / 2 * 3);
    EXPECT_EQ(table.sample(count - 1)->offset + table.sample(count - 1)->sizeInBytes, offset);
}

std::vector<std::byte> bytesOf(std::initializer_list<std::uint32_t> words) {
    std::vector<std::byte> bytes;
    for (const std::uint32_t word : words) {
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes.push_back(static_cast<std::byte>(word >> shift));
    }
    return bytes;
}

SampleTable tableWithChunks(std::initializer_list<std::uint32_t> runs, std::uint32_t samples) {
    SampleColumns columns;
    columns.times = RunColumn(SharedBytes::adopt(bytesOf({samples, 1})));
    columns.sizes = SizeColumn::common(10, samples);
    columns.chunks = ChunkColumn(SharedBytes::adopt(bytesOf(runs)),
                                 SharedBytes::adopt(bytesOf({100, 200, 300})), false);
    return SampleTable(columns);
}

TEST(SampleTable, RunsThatGoBackwardAreDamageAndHideOnlyWhatTheyTouch) {
    const SampleTable table = tableWithChunks({1, 2, 1, 3, 1, 1, 2, 1, 1}, 6);
    EXPECT_EQ(table.check().failure().kind, FailureKind::damaged);
    EXPECT_EQ(table.sample(1)->offset, 110u);
    EXPECT_EQ(table.sample(5).failure().kind, FailureKind::damaged);
}

TEST(SampleTable, SamplesWithoutAChunkAreDamage) {
    const SampleTable table = tableWithChunks({1, 2, 1}, 7);
    EXPECT_EQ(table.check().failure().kind, FailureKind::damaged);
    EXPECT_TRUE(table.sample(5));
    EXPECT_EQ(table.sample(6).failure().kind, FailureKind::damaged);
    Sample sample;
    auto cursor = table.cursor(0);
    int walked = 0;
    while (cursor.next(sample))
        ++walked;
    EXPECT_EQ(walked, 6);
}

TEST(SampleTable, RunsThatDoNotBeginWithTheFirstChunkGiveNoSamples) {
    const SampleTable table = tableWithChunks({2, 2, 1}, 4);
    EXPECT_EQ(table.check().failure().kind, FailureKind::damaged);
    EXPECT_EQ(table.sample(0).failure().kind, FailureKind::damaged);
    EXPECT_EQ(table.chunk(0).failure().kind, FailureKind::damaged);
    SampleTable changed = table;
    EXPECT_EQ(changed.append({.offset = 0, .sizeInBytes = 1}).failure().kind, FailureKind::damaged);
}

TEST(SizeColumn, ReadsRowsOfFourEightAndSixteenBits) {
    const auto rows = SharedBytes::adopt(bytesOf({0x12345678}));
    EXPECT_EQ(SizeColumn::listed(rows, 7, 4).size(6), 7u);
    EXPECT_EQ(SizeColumn::listed(rows, 8, 4).sizeOfRange(0, 8), 36u);
    EXPECT_EQ(SizeColumn::listed(rows, 4, 8).size(1), 0x34u);
    EXPECT_EQ(SizeColumn::listed(rows, 2, 16).size(1), 0x5678u);
    EXPECT_EQ(SizeColumn::listed(rows, 1, 32).size(0), 0x12345678u);
    EXPECT_EQ(SizeColumn::listed(rows, 1, 32).size(1), 0u);
}

TEST(SizeColumn, RowsOfFourBitsWidenWhenSamplesAreAppended) {
    auto column = SizeColumn::listed(SharedBytes::adopt(bytesOf({0x12345678})), 8, 4);
    column.append(70000, 1);
    EXPECT_EQ(column.bitsPerRow(), 32u);
    EXPECT_EQ(column.size(2), 3u);
    EXPECT_EQ(column.sizeOfRange(0, 9), 70036u);
}

TEST(SizeColumn, SoundInPacketsHasItsBytesAtTheFirstFrameOfEachPacket) {
    auto column = SizeColumn::common(1, 256);
    column.setPackets(64, 34);
    EXPECT_EQ(column.size(0), 34u);
    EXPECT_EQ(column.size(1), 0u);
    EXPECT_EQ(column.size(64), 34u);
    EXPECT_EQ(column.sizeOfRange(0, 256), 136u);
    EXPECT_EQ(column.sizeOfRange(0, 65), 68u);
}

TEST(SizeColumn, ASampleThatIsNoPacketIsAsLargeAsItSaysInAnEmptyTableOfPackets) {
    SizeColumn column = SizeColumn::common(1, 0);
    column.setPackets(64, 34);
    column.append(7, 1);
    ASSERT_EQ(column.count(), 1u);
    EXPECT_EQ(column.sizeOfRange(0, 1), 7u);
}

}  // namespace
}  // namespace TWQuickTime::timeline
