#include <gtest/gtest.h>

#include <thread>

#include "NSException.h"
#include "PropertyListValue.h"

namespace TWQuickTime {
namespace {

TEST(NSArray, NilDiffersFromEmpty) {
    EXPECT_TRUE(NSArray().isNil());
    EXPECT_FALSE(NSArray::array().isNil());
    EXPECT_FALSE(NSArray() == NSArray::array());
    EXPECT_EQ(NSArray().count(), 0u);
    EXPECT_EQ(NSArray().begin(), NSArray().end());
}

TEST(NSArray, AddingToNilMakesAnArray) {
    NSArray array;
    array.addObject("a");
    ASSERT_EQ(array.count(), 1u);
    EXPECT_EQ(array.objectAtIndex(0), "a");
}

TEST(NSArray, AnIndexBeyondTheEndRaisesTheRangeException) {
    NSArray array;
    array.addObject(1);
    try {
        array.objectAtIndex(1);
        FAIL() << "no exception";
    } catch (const NSException& exception) {
        EXPECT_EQ(exception.name(), NSRangeException);
        EXPECT_EQ(exception.reason(), "index 1 is beyond the 1 objects of the array");
    }
    EXPECT_THROW(NSArray().objectAtIndex(0), NSException);
}

TEST(NSArray, ACopyKeepsItsValuesWhenTheOriginalChanges) {
    NSArray original;
    original.addObject(1);
    const NSArray copy = original;
    original.addObject(2);
    EXPECT_EQ(copy.count(), 1u);
    EXPECT_EQ(original.count(), 2u);
}

TEST(NSArray, MayHoldACopyOfItself) {
    NSArray array;
    array.addObject(1);
    array.addObject(array);
    EXPECT_EQ(array.objectAtIndex(1).arrayValue().count(), 1u);
}

TEST(NSArray, ACopyMayBeReadAndDroppedOnOneThreadWhileAnotherChangesIts) {
    for (int round = 0; round < 200; ++round) {
        NSArray array;
        array.addObject(round);
        std::thread reader([copy = array, round]() mutable {
            EXPECT_EQ(copy.objectAtIndex(0), round);
            copy = nullptr;
        });
        array.addObject("more");
        EXPECT_EQ(array.count(), 2u);
        reader.join();
    }
}

}  // namespace
}  // namespace TWQuickTime
