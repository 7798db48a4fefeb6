#include "Engines/capture/DeviceManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>

#include <fstream>

namespace TWQuickTime::capture {
namespace {

using testing::Contains;
using testing::Field;
using testing::IsEmpty;

constexpr int kPatienceInMilliseconds = 5000;

/// Lets the kernel tell of a device once more, as the device manager does for those that were there
/// before it. @return false where this process may not
bool announceAgain(const char* device) {
    std::ofstream event(std::string("/sys/class/") + device + "/uevent");
    event << "change" << std::flush;
    return event.good();
}

bool isReadable(const DeviceWatch& watch, int patienceInMilliseconds) {
    pollfd waiting{watch.descriptor(), POLLIN, 0};
    return poll(&waiting, 1, patienceInMilliseconds) == 1;
}

// Cameras are rare where tests run; every machine has these.
TEST(DeviceManagerTest, ListsTheNodesOfAClass) {
    const auto nodes = deviceNodes("mem");
    EXPECT_THAT(nodes, Contains(Field(&DeviceNode::path, "/dev/null")));
    EXPECT_THAT(nodes, Contains(Field(&DeviceNode::path, "/dev/urandom")));
}

TEST(DeviceManagerTest, ListsShorterNamesFirstSoThatNumbersAreInOrder) {
    const auto nodes = deviceNodes("mem");
    for (std::size_t i = 1; i < nodes.size(); ++i)
        EXPECT_LE(nodes[i - 1].path.size(), nodes[i].path.size());
}

TEST(DeviceManagerTest, AClassThatThereIsNotHasNoNodes) {
    EXPECT_THAT(deviceNodes("no such class"), IsEmpty());
}

// One test, because every watch on the machine is told of these events.
TEST(DeviceManagerTest, TellsOnceThatADeviceOfItsClassesChangedAndNothingOfOthers) {
    const auto watch = DeviceWatch::start({"mem", "video4linux"});
    const auto others = DeviceWatch::start({"video4linux", "sound"});
    ASSERT_TRUE(watch && others);
    EXPECT_FALSE((*watch)->takeChanges());
    if (!announceAgain("mem/null"))
        GTEST_SKIP() << "this process may not ask the kernel for device events";
    ASSERT_TRUE(isReadable(**watch, kPatienceInMilliseconds));
    EXPECT_TRUE((*watch)->takeChanges());
    EXPECT_FALSE((*watch)->takeChanges());
    EXPECT_FALSE(isReadable(**watch, 0));
    EXPECT_FALSE((*others)->takeChanges());
}

}  // namespace
}  // namespace TWQuickTime::capture
