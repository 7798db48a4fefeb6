#include "AtomContainers.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "Handles.h"

namespace TWQuickTime {
namespace {

class AtomContainers : public testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(QTNewAtomContainer(&container_), noErr); }
    void TearDown() override { EXPECT_EQ(QTDisposeAtomContainer(container_), noErr); }

    std::vector<std::uint8_t> bytes() const {
        const auto* begin = reinterpret_cast<const std::uint8_t*>(*container_);
        return {begin, begin + GetHandleSize(container_)};
    }
    QTAtom insert(QTAtom parent, const char* type, QTAtomID id, const std::string& data = "",
                  std::int16_t index = 0) {
        QTAtom atom = 0;
        EXPECT_EQ(QTInsertChild(container_, parent, fourCC(type), id, index,
                                static_cast<std::int32_t>(data.size()), data.data(), &atom),
                  noErr);
        return atom;
    }
    std::string data(QTAtom atom) {
        std::int32_t size = -1;
        Ptr place = nullptr;
        EXPECT_EQ(QTGetAtomDataPtr(container_, atom, &size, &place), noErr);
        return {place, static_cast<std::size_t>(size)};
    }
    void setBytes(const std::string& content) {
        SetHandleSize(container_, static_cast<Size>(content.size()));
        std::memcpy(*container_, content.data(), content.size());
    }

    QTAtomContainer container_ = nullptr;
};

TEST_F(AtomContainers, ANewContainerIsThirtyTwoBytesWithAnEmptyRoot) {
    const std::vector<std::uint8_t> expected = {
        0, 0, 0, 0,    0,   0,   0,   0,   0, 0, 0, 0,                          // header
        0, 0, 0, 0x14, 's', 'e', 'a', 'n', 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0,  // root
    };
    EXPECT_EQ(bytes(), expected);
}

TEST_F(AtomContainers, ATweenSampleHasExactlyTheBytesOfTheFileForm) {
    QTAtom tween = insert(kParentAtomIsContainer, "twen", 1);
    EXPECT_EQ(tween, 32);
    insert(tween, "twnt", 1, std::string("\0\0\0\1", 4));
    insert(tween, "data", 1, std::string("\0\0\0\xFF", 4));
    const std::vector<std::uint8_t> expected = {
        0, 0, 0, 0,    0,   0,   0,   0,   0, 0, 0, 0,                                      //
        0, 0, 0, 0x58, 's', 'e', 'a', 'n', 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0,              //
        0, 0, 0, 0x44, 't', 'w', 'e', 'n', 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 0,              //
        0, 0, 0, 0x18, 't', 'w', 'n', 't', 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1,  //
        0, 0, 0, 0x18, 'd', 'a', 't', 'a', 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF,
    };
    EXPECT_EQ(bytes(), expected);
    EXPECT_EQ(bytes().size(), 100u);
}

TEST_F(AtomContainers, ChildrenAreEnumeratedInStoredOrder) {
    insert(0, "aaaa", 1, "1");
    insert(0, "bbbb", 1, "2");
    insert(0, "aaaa", 2, "3");
    std::string order;
    QTAtom child = 0;
    while (QTNextChildAnyType(container_, 0, child, &child) == noErr && child != 0)
        order += data(child);
    EXPECT_EQ(order, "123");
    EXPECT_EQ(GetMoviesError(), noErr);
}

TEST_F(AtomContainers, AnIndexPlacesAnAtomAmongItsType) {
    insert(0, "aaaa", 1, "1");
    insert(0, "bbbb", 1, "x");
    insert(0, "aaaa", 2, "2");
    insert(0, "aaaa", 9, "9", 2);
    EXPECT_EQ(data(QTFindChildByIndex(container_, 0, fourCC("aaaa"), 2, nullptr)), "9");
    EXPECT_EQ(data(QTFindChildByIndex(container_, 0, fourCC("aaaa"), 3, nullptr)), "2");
    insert(0, "aaaa", 10, "end", 4);
    EXPECT_EQ(data(QTFindChildByIndex(container_, 0, fourCC("aaaa"), 4, nullptr)), "end");
    EXPECT_EQ(QTInsertChild(container_, 0, fourCC("aaaa"), 11, 6, 0, nullptr, nullptr),
              atomIndexInvalidErr);
    EXPECT_EQ(QTInsertChild(container_, 0, fourCC("aaaa"), 11, -1, 0, nullptr, nullptr),
              atomIndexInvalidErr);
}

TEST_F(AtomContainers, AnIdOfZeroAsksForAnUnusedOne) {
    insert(0, "aaaa", 7);
    QTAtom atom = insert(0, "aaaa", 0);
    QTAtomID id = 0;
    EXPECT_EQ(QTGetAtomTypeAndID(container_, atom, nullptr, &id), noErr);
    EXPECT_EQ(id, 8);
    insert(0, "aaaa", INT32_MAX);
    atom = insert(0, "aaaa", 0);
    EXPECT_EQ(QTGetAtomTypeAndID(container_, atom, nullptr, &id), noErr);
    EXPECT_EQ(id, 1);
}

TEST_F(AtomContainers, TypeAndIdAreUniqueAmongSiblings) {
    insert(0, "aaaa", 1, "1");
    const auto before = bytes();
    EXPECT_EQ(QTInsertChild(container_, 0, fourCC("aaaa"), 1, 0, 0, nullptr, nullptr),
              duplicateAtomTypeAndIDErr);
    EXPECT_EQ(bytes(), before);
    EXPECT_NE(insert(0, "bbbb", 1), 0);
}

TEST_F(AtomContainers, AnAtomWithDataTakesNoChildrenButAnEmptyOneDoes) {
    const QTAtom full = insert(0, "aaaa", 1, "x");
    EXPECT_EQ(QTInsertChild(container_, full, fourCC("bbbb"), 1, 0, 0, nullptr, nullptr),
              notALeafAtomErr);
    const QTAtom empty = insert(0, "aaaa", 2);
    EXPECT_NE(insert(empty, "bbbb", 1), 0);
}

TEST_F(AtomContainers, FindingGivesIndexAndIdAndTellsWhatIsMissing) {
    insert(0, "aaaa", 5);
    const QTAtom second = insert(0, "aaaa", 3);
    std::int16_t index = 0;
    QTAtomID id = 0;
    EXPECT_EQ(QTFindChildByID(container_, 0, fourCC("aaaa"), 3, &index), second);
    EXPECT_EQ(index, 2);
    EXPECT_EQ(QTFindChildByIndex(container_, 0, fourCC("aaaa"), 2, &id), second);
    EXPECT_EQ(id, 3);
    EXPECT_EQ(QTFindChildByID(container_, 0, fourCC("aaaa"), 4, nullptr), 0);
    EXPECT_EQ(GetMoviesError(), cannotFindAtomErr);
    EXPECT_EQ(QTFindChildByIndex(container_, 0, fourCC("aaaa"), 3, nullptr), 0);
    EXPECT_EQ(GetMoviesError(), cannotFindAtomErr);
    EXPECT_EQ(QTFindChildByIndex(container_, 0, fourCC("aaaa"), 0, nullptr), 0);
    EXPECT_EQ(GetMoviesError(), atomIndexInvalidErr);
}

TEST_F(AtomContainers, CountsOneTypeOrAll) {
    insert(0, "aaaa", 1);
    insert(0, "bbbb", 1);
    insert(0, "aaaa", 2);
    EXPECT_EQ(QTCountChildrenOfType(container_, 0, fourCC("aaaa")), 2);
    EXPECT_EQ(QTCountChildrenOfType(container_, 0, 0), 3);
    EXPECT_EQ(QTCountChildrenOfType(container_, 0, fourCC("cccc")), 0);
    EXPECT_EQ(QTCountChildrenOfType(container_, 5, 0), 0);
    EXPECT_EQ(GetMoviesError(), invalidAtomErr);
}

TEST_F(AtomContainers, ChildTypesAreListedOnceEach) {
    insert(0, "aaaa", 1);
    insert(0, "bbbb", 1);
    insert(0, "aaaa", 2);
    insert(0, "cccc", 1);
    QTAtomType type = 0;
    std::vector<QTAtomType> types;
    while (QTGetNextChildType(container_, 0, type, &type) == noErr && type != 0)
        types.push_back(type);
    EXPECT_EQ(types, (std::vector<QTAtomType>{fourCC("aaaa"), fourCC("bbbb"), fourCC("cccc")}));
    EXPECT_EQ(QTGetNextChildType(container_, 0, fourCC("zzzz"), &type), cannotFindAtomErr);
}

TEST_F(AtomContainers, TheParentOfAnAtomIsFoundAtAnyDepth) {
    const QTAtom outer = insert(0, "aaaa", 1);
    const QTAtom inner = insert(outer, "bbbb", 1);
    const QTAtom leaf = insert(inner, "cccc", 1, "x");
    EXPECT_EQ(QTGetAtomParent(container_, leaf), inner);
    EXPECT_EQ(QTGetAtomParent(container_, inner), outer);
    EXPECT_EQ(QTGetAtomParent(container_, outer), 0);
    EXPECT_EQ(GetMoviesError(), noErr);
    EXPECT_EQ(QTGetAtomParent(container_, leaf + 4), 0);
    EXPECT_EQ(GetMoviesError(), invalidAtomErr);
}

TEST_F(AtomContainers, SettingDataResizesTheAtomAndAllItsAncestors) {
    const QTAtom outer = insert(0, "aaaa", 1);
    const QTAtom leaf = insert(outer, "bbbb", 1, "short");
    insert(0, "cccc", 1, "last");
    EXPECT_EQ(QTSetAtomData(container_, leaf, 11, "much longer"), noErr);
    EXPECT_EQ(data(leaf), "much longer");
    EXPECT_EQ(data(QTFindChildByID(container_, 0, fourCC("cccc"), 1, nullptr)), "last");
    EXPECT_EQ(QTSetAtomData(container_, leaf, 0, nullptr), noErr);
    EXPECT_EQ(data(leaf), "");
    EXPECT_EQ(data(QTFindChildByID(container_, 0, fourCC("cccc"), 1, nullptr)), "last");
    EXPECT_EQ(QTSetAtomData(container_, outer, 1, "x"), notLeafAtomErr);
    EXPECT_EQ(QTSetAtomData(container_, 0, 1, "x"), notLeafAtomErr);
}

TEST_F(AtomContainers, DataMayComeFromTheContainerItself) {
    const QTAtom leaf = insert(0, "aaaa", 1, "some bytes that move when the handle grows");
    std::int32_t size = 0;
    Ptr place = nullptr;
    ASSERT_EQ(QTGetAtomDataPtr(container_, leaf, &size, &place), noErr);
    QTAtom copy = 0;
    ASSERT_EQ(QTInsertChild(container_, 0, fourCC("aaaa"), 2, 1, size, place, &copy), noErr);
    EXPECT_EQ(data(copy), "some bytes that move when the handle grows");
    const QTAtom group = insert(0, "grup", 1);
    EXPECT_EQ(QTInsertChildren(container_, group, container_), noErr);
    EXPECT_EQ(QTCountChildrenOfType(container_, group, 0), 3);
}

TEST_F(AtomContainers, CopyingDataOutHonoursTheSizeOfThePlace) {
    const QTAtom leaf = insert(0, "aaaa", 1, "12345");
    char place[8] = {};
    std::int32_t actual = -1;
    EXPECT_EQ(QTCopyAtomDataToPtr(container_, leaf, false, 5, place, &actual), noErr);
    EXPECT_EQ(actual, 5);
    EXPECT_STREQ(place, "12345");
    EXPECT_EQ(QTCopyAtomDataToPtr(container_, leaf, false, 8, place, &actual), paramErr);
    EXPECT_EQ(QTCopyAtomDataToPtr(container_, leaf, true, 8, place, &actual), noErr);
    EXPECT_EQ(QTCopyAtomDataToPtr(container_, leaf, true, 4, place, &actual), paramErr);
    Handle target = NewHandle(1);
    EXPECT_EQ(QTCopyAtomDataToHandle(container_, leaf, target), noErr);
    EXPECT_EQ(GetHandleSize(target), 5);
    DisposeHandle(target);
}

TEST_F(AtomContainers, RemovingAnAtomClosesTheGap) {
    const auto before = bytes();
    const QTAtom first = insert(0, "aaaa", 1, "x");
    const QTAtom group = insert(0, "grup", 1);
    insert(group, "bbbb", 1, "y");
    EXPECT_EQ(QTRemoveAtom(container_, first), noErr);
    EXPECT_EQ(QTCountChildrenOfType(container_, 0, 0), 1);
    const QTAtom moved = QTFindChildByID(container_, 0, fourCC("grup"), 1, nullptr);
    EXPECT_EQ(moved, 32);
    EXPECT_EQ(QTRemoveChildren(container_, moved), noErr);
    EXPECT_EQ(QTCountChildrenOfType(container_, moved, 0), 0);
    EXPECT_EQ(QTRemoveAtom(container_, 0), noErr);
    EXPECT_EQ(bytes(), before);
}

TEST_F(AtomContainers, InsertingChildrenTakesOverAWholeContainer) {
    QTAtomContainer other = nullptr;
    ASSERT_EQ(QTNewAtomContainer(&other), noErr);
    ASSERT_EQ(QTInsertChild(other, 0, fourCC("aaaa"), 1, 0, 1, "1", nullptr), noErr);
    ASSERT_EQ(QTInsertChild(other, 0, fourCC("aaaa"), 2, 0, 1, "2", nullptr), noErr);
    const QTAtom group = insert(0, "grup", 1);
    EXPECT_EQ(QTInsertChildren(container_, group, other), noErr);
    EXPECT_EQ(QTCountChildrenOfType(container_, group, fourCC("aaaa")), 2);
    EXPECT_EQ(QTInsertChildren(container_, group, other), duplicateAtomTypeAndIDErr);
    EXPECT_EQ(QTCountChildrenOfType(container_, group, fourCC("aaaa")), 2);
    SetHandleSize(other, 0);
    EXPECT_EQ(QTInsertChildren(container_, group, other), noErr);
    DisposeHandle(other);
}

TEST_F(AtomContainers, ACopiedAtomStandsAloneInANewContainer) {
    const QTAtom group = insert(0, "grup", 4);
    insert(group, "aaaa", 1, "x");
    QTAtomContainer copy = nullptr;
    ASSERT_EQ(QTCopyAtom(container_, group, &copy), noErr);
    EXPECT_EQ(GetHandleSize(copy), 32 + 20 + 21);
    const QTAtom copied = QTFindChildByID(copy, 0, fourCC("grup"), 4, nullptr);
    EXPECT_NE(copied, 0);
    EXPECT_EQ(QTCountChildrenOfType(copy, copied, 0), 1);
    QTDisposeAtomContainer(copy);
    QTLockContainer(container_);
    ASSERT_EQ(QTCopyAtom(container_, 0, &copy), noErr);
    QTUnlockContainer(container_);
    EXPECT_EQ(std::string(*copy, static_cast<std::size_t>(GetHandleSize(copy))),
              std::string(*container_, static_cast<std::size_t>(GetHandleSize(container_))));
    QTDisposeAtomContainer(copy);
}

TEST_F(AtomContainers, SwappedAtomsExchangeContentsAndKeepIdsAndPlaces) {
    const QTAtom group = insert(0, "grup", 1);
    insert(group, "leaf", 1, "short");
    insert(group, "else", 1, "between");
    const QTAtom other = insert(0, "leaf", 2, "a longer text");
    EXPECT_EQ(QTSwapAtoms(container_, other,
                          QTFindChildByID(container_, group, fourCC("leaf"), 1, nullptr)),
              noErr);
    EXPECT_EQ(data(QTFindChildByID(container_, group, fourCC("leaf"), 1, nullptr)),
              "a longer text");
    EXPECT_EQ(data(QTFindChildByID(container_, group, fourCC("else"), 1, nullptr)), "between");
    EXPECT_EQ(data(QTFindChildByID(container_, 0, fourCC("leaf"), 2, nullptr)), "short");
    EXPECT_EQ(
        QTSwapAtoms(container_, group, QTFindChildByID(container_, 0, fourCC("leaf"), 2, nullptr)),
        atomsNotOfSameTypeErr);
}

TEST_F(AtomContainers, AnAtomCannotBeSwappedWithItsOwnDescendant) {
    const QTAtom outer = insert(0, "grup", 1);
    const QTAtom inner = insert(outer, "grup", 2);
    EXPECT_EQ(QTSwapAtoms(container_, outer, inner), invalidAtomErr);
}

TEST_F(AtomContainers, AReplacedAtomKeepsItsId) {
    insert(0, "leaf", 7, "old");
    QTAtomContainer other = nullptr;
    ASSERT_EQ(QTNewAtomContainer(&other), noErr);
    ASSERT_EQ(QTInsertChild(other, 0, fourCC("leaf"), 1, 0, 8, "brandnew", nullptr), noErr);
    EXPECT_EQ(QTReplaceAtom(container_, 32, other, 32), noErr);
    EXPECT_EQ(data(QTFindChildByID(container_, 0, fourCC("leaf"), 7, nullptr)), "brandnew");
    QTDisposeAtomContainer(other);
}

TEST_F(AtomContainers, AnIdCanBeChangedButNotToASiblings) {
    insert(0, "leaf", 1);
    const QTAtom second = insert(0, "leaf", 2);
    EXPECT_EQ(QTSetAtomID(container_, second, 1), duplicateAtomTypeAndIDErr);
    EXPECT_EQ(QTSetAtomID(container_, second, 0), paramErr);
    EXPECT_EQ(QTSetAtomID(container_, second, 9), noErr);
    EXPECT_EQ(QTFindChildByID(container_, 0, fourCC("leaf"), 9, nullptr), second);
}

TEST_F(AtomContainers, LocksAreCountedInTheHeaderAndKeepTheBytesInPlace) {
    EXPECT_EQ(QTUnlockContainer(container_), paramErr);
    EXPECT_EQ(QTLockContainer(container_), noErr);
    EXPECT_EQ(QTLockContainer(container_), noErr);
    EXPECT_EQ(bytes()[11], 2);
    EXPECT_EQ(QTInsertChild(container_, 0, fourCC("aaaa"), 1, 0, 100000, nullptr, nullptr),
              memFullErr);
    EXPECT_EQ(QTUnlockContainer(container_), noErr);
    EXPECT_EQ(QTUnlockContainer(container_), noErr);
    EXPECT_EQ(bytes()[11], 0);
    EXPECT_EQ(QTInsertChild(container_, 0, fourCC("aaaa"), 1, 0, 100000, nullptr, nullptr), noErr);
}

TEST_F(AtomContainers, AHandleOfNoBytesIsAContainerWithoutChildren) {
    SetHandleSize(container_, 0);
    QTAtom child = 99;
    EXPECT_EQ(QTNextChildAnyType(container_, 0, 0, &child), noErr);
    EXPECT_EQ(child, 0);
    EXPECT_EQ(QTCountChildrenOfType(container_, 0, 0), 0);
    EXPECT_EQ(GetMoviesError(), noErr);
    EXPECT_EQ(QTInsertChild(container_, 0, fourCC("aaaa"), 1, 0, 0, nullptr, nullptr),
              invalidAtomContainerErr);
}

TEST_F(AtomContainers, BytesThatAreNoContainerGiveAStatus) {
    QTAtom child = 99;
    for (const std::string& content : {std::string("x"), std::string(31, '\0'),
                                       std::string(32, '\0'), std::string(100, '\xFF')}) {
        setBytes(content);
        EXPECT_EQ(QTNextChildAnyType(container_, 0, 0, &child), invalidAtomContainerErr);
        EXPECT_EQ(child, 0);
        EXPECT_EQ(QTLockContainer(container_), invalidAtomContainerErr);
        EXPECT_EQ(QTFindChildByID(container_, 0, 1, 1, nullptr), 0);
        EXPECT_EQ(QTInsertChild(container_, 0, 1, 1, 0, 0, nullptr, nullptr),
                  invalidAtomContainerErr);
    }
}

TEST_F(AtomContainers, AChildThatLeavesItsParentIsInvalid) {
    const QTAtom group = insert(0, "grup", 1);
    const QTAtom leaf = insert(group, "leaf", 1, "data");
    insert(0, "last", 1);
    (*container_)[leaf + 3] = 60;  // its size, beyond the group but inside the container
    QTAtom child = 99;
    EXPECT_EQ(QTNextChildAnyType(container_, group, 0, &child), invalidAtomErr);
    EXPECT_EQ(child, 0);
    (*container_)[leaf + 3] = 0;
    EXPECT_EQ(QTNextChildAnyType(container_, group, 0, &child), invalidAtomErr);
    EXPECT_EQ(QTSetAtomData(container_, leaf, 1, "x"), invalidAtomErr);
}

TEST_F(AtomContainers, ReferencesOutsideTheContainerAreInvalid) {
    insert(0, "leaf", 1, "data");
    for (const QTAtom reference : {-1, 1, 12, 31, 57, 1000, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(QTGetAtomTypeAndID(container_, reference, nullptr, nullptr), invalidAtomErr);
        EXPECT_EQ(QTRemoveAtom(container_, reference), invalidAtomErr);
        QTAtom child = 99;
        EXPECT_EQ(QTNextChildAnyType(container_, 0, reference, &child), invalidAtomErr);
    }
}

TEST(AtomContainerCalls, NullAndForeignHandlesGiveAStatus) {
    char* bytes = nullptr;
    QTAtom child = 0;
    std::int32_t size = 0;
    Ptr place = nullptr;
    for (QTAtomContainer container : {QTAtomContainer{nullptr}, QTAtomContainer{&bytes}}) {
        EXPECT_EQ(QTDisposeAtomContainer(container), invalidAtomContainerErr);
        EXPECT_EQ(QTLockContainer(container), invalidAtomContainerErr);
        EXPECT_EQ(QTUnlockContainer(container), invalidAtomContainerErr);
        EXPECT_EQ(QTNextChildAnyType(container, 0, 0, &child), invalidAtomContainerErr);
        EXPECT_EQ(QTGetAtomDataPtr(container, 32, &size, &place), invalidAtomContainerErr);
        EXPECT_EQ(QTInsertChild(container, 0, 1, 1, 0, 0, nullptr, nullptr),
                  invalidAtomContainerErr);
        EXPECT_EQ(QTRemoveAtom(container, 32), invalidAtomContainerErr);
    }
    EXPECT_EQ(QTNewAtomContainer(nullptr), paramErr);
}

TEST_F(AtomContainers, ReferencesPassSixtyFourKilobytes) {
    const std::string large(70000, 'x');
    insert(0, "leaf", 1, large);
    const QTAtom second = insert(0, "leaf", 2, "y");
    EXPECT_GT(second, 65535);
    EXPECT_EQ(data(second), "y");
}

}  // namespace
}  // namespace TWQuickTime
