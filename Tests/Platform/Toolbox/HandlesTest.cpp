#include "Handles.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "ToolboxTrace.h"

namespace TWQuickTime {
namespace {

std::string text(Handle handle) {
    return {*handle, static_cast<std::size_t>(GetHandleSize(handle))};
}

TEST(Handles, ANewClearHandleHoldsZeros) {
    Handle handle = NewHandleClear(100);
    ASSERT_TRUE(handle);
    EXPECT_EQ(GetHandleSize(handle), 100);
    EXPECT_EQ(text(handle), std::string(100, '\0'));
    DisposeHandle(handle);
    EXPECT_EQ(MemError(), noErr);
}

TEST(Handles, AHandleOfNoBytesIsAHandle) {
    Handle handle = NewHandle(0);
    ASSERT_TRUE(handle);
    EXPECT_TRUE(*handle);
    EXPECT_EQ(GetHandleSize(handle), 0);
    EXPECT_EQ(MemError(), noErr);
    DisposeHandle(handle);
}

TEST(Handles, ANegativeOrImpossibleSizeGivesNoHandleButAStatus) {
    EXPECT_FALSE(NewHandle(-1));
    EXPECT_EQ(MemError(), paramErr);
    EXPECT_FALSE(NewHandle(INT64_MAX));
    EXPECT_EQ(MemError(), memFullErr);
}

TEST(Handles, ANullHandleIsReportedExceptByDispose) {
    EXPECT_EQ(GetHandleSize(nullptr), 0);
    EXPECT_EQ(MemError(), nilHandleErr);
    HLock(nullptr);
    EXPECT_EQ(MemError(), nilHandleErr);
    DisposeHandle(nullptr);
    EXPECT_EQ(MemError(), noErr);
}

TEST(Handles, ADisposedHandleIsRecognised) {
    Handle handle = NewHandle(4);
    DisposeHandle(handle);
    EXPECT_FALSE(IsHandleValid(handle));
    EXPECT_EQ(GetHandleSize(handle), 0);
    EXPECT_EQ(MemError(), nilHandleErr);
    DisposeHandle(handle);
    EXPECT_EQ(MemError(), nilHandleErr);
    SetHandleSize(handle, 10);
    EXPECT_EQ(MemError(), nilHandleErr);
    EXPECT_EQ(PtrAndHand("x", handle, 1), nilHandleErr);
}

TEST(Handles, AForeignPointerIsRecognised) {
    char* bytes = nullptr;
    EXPECT_EQ(GetHandleSize(&bytes), 0);
    EXPECT_EQ(MemError(), nilHandleErr);
    Handle handle = NewHandle(4);
    EXPECT_FALSE(IsHandleValid(handle + 1));
    EXPECT_FALSE(IsHandleValid(reinterpret_cast<Handle>(reinterpret_cast<char*>(handle) + 3)));
    DisposeHandle(handle);
}

TEST(Handles, GrowingKeepsTheLeadingBytesAndShrinkingCutsThem) {
    Handle handle = nullptr;
    ASSERT_EQ(PtrToHand("abcdef", &handle, 6), noErr);
    SetHandleSize(handle, 100000);
    EXPECT_EQ(MemError(), noErr);
    EXPECT_EQ(text(handle).substr(0, 6), "abcdef");
    SetHandleSize(handle, 2);
    EXPECT_EQ(text(handle), "ab");
    SetHandleSize(handle, -3);
    EXPECT_EQ(MemError(), paramErr);
    DisposeHandle(handle);
}

TEST(Handles, ALockedHandleDoesNotMoveUntilItsLastLockIsGone) {
    Handle handle = NewHandle(10);
    HLock(handle);
    HLock(handle);
    HUnlock(handle);
    char* place = *handle;
    SetHandleSize(handle, 1 << 20);
    EXPECT_EQ(MemError(), memFullErr);
    EXPECT_EQ(*handle, place);
    EXPECT_EQ(GetHandleSize(handle), 10);
    HUnlock(handle);
    SetHandleSize(handle, 1 << 20);
    EXPECT_EQ(MemError(), noErr);
    DisposeHandle(handle);
}

TEST(Handles, UnlockingMoreOftenThanLockingDoesNoHarm) {
    Handle handle = NewHandle(10);
    HUnlock(handle);
    HLock(handle);
    SetHandleSize(handle, 1 << 20);
    EXPECT_EQ(MemError(), memFullErr);
    HUnlock(handle);
    DisposeHandle(handle);
}

TEST(Handles, AppendingTakesBytesAlsoFromTheHandleItself) {
    Handle handle = nullptr;
    ASSERT_EQ(PtrToHand("abc", &handle, 3), noErr);
    ASSERT_EQ(PtrAndHand("def", handle, 3), noErr);
    ASSERT_EQ(HandAndHand(handle, handle), noErr);
    EXPECT_EQ(text(handle), "abcdefabcdef");
    for (int i = 0; i < 10; ++i)
        ASSERT_EQ(PtrAndHand(*handle + 1, handle, 2), noErr);
    EXPECT_EQ(text(handle), "abcdefabcdefbcbcbcbcbcbcbcbcbcbc");
    DisposeHandle(handle);
}

TEST(Handles, ACopyIsAHandleOfItsOwn) {
    Handle handle = nullptr;
    ASSERT_EQ(PtrToHand("abc", &handle, 3), noErr);
    Handle copy = handle;
    ASSERT_EQ(HandToHand(&copy), noErr);
    EXPECT_NE(copy, handle);
    DisposeHandle(handle);
    EXPECT_EQ(text(copy), "abc");
    DisposeHandle(copy);
}

TEST(Handles, NullSourcesAndPlacesGiveAStatus) {
    Handle handle = nullptr;
    EXPECT_EQ(PtrToHand(nullptr, &handle, 3), paramErr);
    EXPECT_FALSE(handle);
    EXPECT_EQ(PtrToHand("abc", nullptr, 3), paramErr);
    EXPECT_EQ(HandToHand(nullptr), nilHandleErr);
    EXPECT_EQ(HandAndHand(nullptr, nullptr), nilHandleErr);
}

TEST(Handles, ThreadsMakeAndDisposeOfHandlesAtTheSameTime) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < 2000; ++i) {
                Handle handle = NewHandle(8);
                ASSERT_TRUE(handle);
                std::memset(*handle, t, 8);
                ASSERT_EQ(text(handle), std::string(8, static_cast<char>(t)));
                DisposeHandle(handle);
                ASSERT_EQ(MemError(), noErr);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

TEST(Handles, ThePlaceOfADisposedHandleIsUsedAgainAsLateAsPossible) {
    Handle first = NewHandle(1);
    Handle second = NewHandle(1);
    DisposeHandle(first);
    DisposeHandle(second);
    Handle third = NewHandle(1);
    EXPECT_NE(third, second);
    DisposeHandle(third);
}

TEST(Handles, APlannedFaultMakesAnAllocationFail) {
    ToolboxTrace::failCall("NewHandleClear", 1, memFullErr);
    EXPECT_FALSE(NewHandleClear(4));
    EXPECT_EQ(MemError(), memFullErr);
    Handle handle = NewHandleClear(4);
    EXPECT_TRUE(handle);
    DisposeHandle(handle);
    ToolboxTrace::reset();
}

}  // namespace
}  // namespace TWQuickTime
