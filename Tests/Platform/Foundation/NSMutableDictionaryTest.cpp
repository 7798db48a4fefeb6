#include "NSMutableDictionary.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace TWQuickTime {
namespace {

TEST(NSMutableDictionary, ObjectsAreEnteredReplacedAndRemovedByName) {
    NSMutableDictionary<int> dictionary;
    EXPECT_EQ(dictionary.objectForKey("a"), nullptr);
    dictionary.setObject(std::make_shared<int>(1), "a");
    dictionary.setObject(std::make_shared<int>(2), "a");
    EXPECT_EQ(*dictionary.objectForKey("a"), 2);
    EXPECT_EQ(dictionary.count(), 1u);
    dictionary.setObject(nullptr, "a");
    EXPECT_EQ(dictionary.objectForKey("a"), nullptr);
    dictionary.setObject(std::make_shared<int>(3), "b");
    dictionary.removeObjectForKey("b");
    EXPECT_EQ(dictionary.count(), 0u);
}

TEST(NSMutableDictionary, ANilKeyTakesNoEntry) {
    NSMutableDictionary<int> dictionary;
    dictionary.setObject(std::make_shared<int>(1), nullptr);
    EXPECT_EQ(dictionary.setObjectIfAbsent(std::make_shared<int>(1), nullptr), nullptr);
    EXPECT_EQ(dictionary.objectForKey(nullptr), nullptr);
    EXPECT_EQ(dictionary.objectForKey(""), nullptr);
    EXPECT_EQ(dictionary.count(), 0u);
}

TEST(NSMutableDictionary, OfThreadsThatEnterTheSameNameOneWinsAndAllGetItsObject) {
    for (int round = 0; round < 50; ++round) {
        NSMutableDictionary<int> dictionary;
        std::vector<std::shared_ptr<int>> results(4);
        std::vector<std::thread> threads;
        for (std::size_t thread = 0; thread < results.size(); ++thread)
            threads.emplace_back([&, thread] {
                results[thread] = dictionary.setObjectIfAbsent(
                    std::make_shared<int>(static_cast<int>(thread)), "a");
            });
        for (std::thread& thread : threads)
            thread.join();
        for (const auto& result : results)
            EXPECT_EQ(result, dictionary.objectForKey("a"));
    }
}

}  // namespace
}  // namespace TWQuickTime
