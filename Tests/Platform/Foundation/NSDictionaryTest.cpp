#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "PropertyListValue.h"

namespace TWQuickTime {
namespace {

std::vector<std::string> keysOf(const NSDictionary& dictionary) {
    std::vector<std::string> keys;
    for (const auto& [key, value] : dictionary)
        keys.push_back(key.utf8());
    return keys;
}

using Keys = std::vector<std::string>;

TEST(NSDictionary, NilDiffersFromEmpty) {
    EXPECT_TRUE(NSDictionary().isNil());
    EXPECT_FALSE(NSDictionary::dictionary().isNil());
    EXPECT_FALSE(NSDictionary() == NSDictionary::dictionary());
    EXPECT_EQ(NSDictionary().count(), 0u);
    EXPECT_TRUE(NSDictionary().allKeys().isNil());
    EXPECT_TRUE(NSDictionary().objectForKey("a").isNull());
    EXPECT_EQ(NSDictionary().begin(), NSDictionary().end());
}

TEST(NSDictionary, KeepsTheOrderInWhichKeysWereFirstSet) {
    NSDictionary dictionary{{"z", 1}, {"a", 2}};
    dictionary.setObject(3, "m");
    dictionary.setObject(4, "z");
    EXPECT_EQ(keysOf(dictionary), (Keys{"z", "a", "m"}));
    EXPECT_EQ(dictionary.objectForKey("z"), 4);
    ASSERT_EQ(dictionary.allKeys().count(), 3u);
    EXPECT_EQ(dictionary.allKeys().objectAtIndex(2), "m");
}

TEST(NSDictionary, ARemovedKeyThatReturnsComesLast) {
    NSDictionary dictionary{{"a", 1}, {"b", 2}, {"c", 3}};
    dictionary.removeObjectForKey("a");
    dictionary.removeObjectForKey("unknown");
    EXPECT_EQ(keysOf(dictionary), (Keys{"b", "c"}));
    dictionary.setObject(1, "a");
    EXPECT_EQ(keysOf(dictionary), (Keys{"b", "c", "a"}));
}

TEST(NSDictionary, ANullValueRemovesItsKey) {
    NSDictionary dictionary{{"a", 1}, {"b", nullptr}};
    EXPECT_EQ(dictionary.count(), 1u);
    dictionary.setObject(nullptr, "a");
    EXPECT_EQ(dictionary.count(), 0u);
    EXPECT_FALSE(dictionary.isNil());
}

TEST(NSDictionary, ChangingNilMakesItADictionary) {
    NSDictionary set, removed;
    set.setObject(1, "a");
    removed.removeObjectForKey("a");
    EXPECT_EQ(set.objectForKey("a"), 1);
    EXPECT_FALSE(removed.isNil());
}

TEST(NSDictionary, ACopyKeepsItsEntriesWhenTheOriginalChanges) {
    NSDictionary original{{"a", 1}, {"b", 2}};
    const NSDictionary copy = original;
    original.setObject(9, "a");
    original.setObject(9, "c");
    original.removeObjectForKey("b");
    EXPECT_EQ(copy, (NSDictionary{{"a", 1}, {"b", 2}}));
    EXPECT_EQ(original, (NSDictionary{{"a", 9}, {"c", 9}}));
}

TEST(NSDictionary, RemovingAnUnknownKeyLeavesCopiesShared) {
    NSDictionary original{{"a", 1}};
    const NSDictionary copy = original;
    original.removeObjectForKey("b");
    EXPECT_EQ(original.begin(), copy.begin());
}

TEST(NSDictionary, EqualityIgnoresTheOrderButNotKeysOrValues) {
    const NSDictionary ab{{"a", 1}, {"b", 2}};
    EXPECT_EQ(ab, (NSDictionary{{"b", 2.0}, {"a", true}}));
    EXPECT_FALSE(ab == (NSDictionary{{"a", 1}, {"c", 2}}));
    EXPECT_FALSE(ab == (NSDictionary{{"a", 1}, {"b", 3}}));
    EXPECT_FALSE(ab == (NSDictionary{{"a", 1}}));
}

TEST(NSDictionary, KeysAreFoundWhileTheyGrowManyAndFewAgain) {
    NSDictionary dictionary;
    for (int key = 0; key < 100; ++key) {
        dictionary.setObject(key, std::to_string(key));
        for (int known = 0; known <= key; ++known)
            ASSERT_EQ(dictionary.objectForKey(std::to_string(known)), known);
        ASSERT_FALSE(dictionary.hasKey(std::to_string(key + 1)));
    }
    for (int key = 0; key < 100; key += 2)
        dictionary.removeObjectForKey(std::to_string(key));
    for (int key = 99; key > 0; key -= 2) {
        ASSERT_EQ(dictionary.objectForKey(std::to_string(key)), key);
        dictionary.removeObjectForKey(std::to_string(key));
        ASSERT_FALSE(dictionary.hasKey(std::to_string(key)));
    }
    EXPECT_EQ(dictionary.count(), 0u);
}

double secondsForLookUps(std::size_t keyCount) {
    NSDictionary dictionary;
    std::vector<NSString> keys;
    for (std::size_t key = 0; key < keyCount; ++key) {
        keys.emplace_back("key " + std::to_string(key));
        dictionary.setObject(static_cast<std::int64_t>(key), keys.back());
    }
    constexpr std::size_t lookUps = 20000;
    std::int64_t sum = 0;
    const auto start = std::chrono::steady_clock::now();
    for (std::size_t count = 0; count < lookUps; ++count)
        sum += dictionary.objectForKey(keys[count % keyCount]).longLongValue();
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    EXPECT_GT(sum, 0);
    return elapsed.count();
}

TEST(NSDictionary, ALookUpAmongManyKeysCostsAboutAsMuchAsAmongFew) {
    const double few = secondsForLookUps(20);
    const double many = secondsForLookUps(20000);
    // Looking through all keys would take a thousand times as long; caches alone cost some.
    EXPECT_LT(many, few * 100);
}

}  // namespace
}  // namespace TWQuickTime
