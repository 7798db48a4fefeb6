#include "Engines/playback/PlayLog.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

namespace TWQuickTime::playback {
namespace {

PlayEntry entryAt(std::int64_t outputFrame) {
    PlayEntry entry;
    entry.outputFrame = outputFrame;
    entry.seekNumber = std::uint64_t(outputFrame) + 1;
    entry.takeFrame = outputFrame + 2;
    entry.moves = outputFrame % 2 == 0;
    entry.plan = {outputFrame + 3, {outputFrame + 4, outputFrame + 5}, true, {44100, 48000}};
    return entry;
}

TEST(PlayLog, FindsTheEntryThatHoldsAtAFrame) {
    auto log = std::make_unique<PlayLog>();
    EXPECT_FALSE(log->at(100));
    log->append(entryAt(10));
    log->append(entryAt(20));
    EXPECT_FALSE(log->at(9));
    EXPECT_EQ(log->at(10)->outputFrame, 10);
    EXPECT_EQ(log->at(19)->outputFrame, 10);
    const auto last = log->at(5000);
    ASSERT_TRUE(last);
    EXPECT_EQ(last->seekNumber, 21u);
    EXPECT_EQ(last->takeFrame, 22);
    EXPECT_EQ(last->plan, entryAt(20).plan);
    EXPECT_TRUE(last->moves);
}

TEST(PlayLog, OfWhatWasWrittenOverTheOldestThatIsLeftAnswers) {
    auto log = std::make_unique<PlayLog>();
    for (int i = 0; i < 1000; ++i) {
        log->append(entryAt(i));
    }
    const auto oldest = log->at(3);
    ASSERT_TRUE(oldest);
    EXPECT_GT(oldest->outputFrame, 3);
    EXPECT_EQ(log->at(999)->outputFrame, 999);
}

TEST(PlayLog, NeverGivesHalfAnEntryWhileItIsWrittenOver) {
    auto log = std::make_unique<PlayLog>();
    std::atomic<bool> ends = false;
    std::thread writer([&] {
        for (int i = 0; i < 20000; ++i) {
            log->append(entryAt(i));
        }
        ends = true;
    });
    int seen = 0;
    while (!ends) {
        if (const auto entry = log->at(20000)) {
            const PlayEntry whole = entryAt(entry->outputFrame);
            EXPECT_EQ(entry->seekNumber, whole.seekNumber);
            EXPECT_EQ(entry->takeFrame, whole.takeFrame);
            EXPECT_EQ(entry->plan, whole.plan);
            ++seen;
        }
    }
    writer.join();
    EXPECT_EQ(log->at(20000)->outputFrame, 19999);
    EXPECT_GE(seen, 0);
}

}  // namespace
}  // namespace TWQuickTime::playback
