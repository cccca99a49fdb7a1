// Opening a device node, and the bounded copy of a name.
#include "array/device_node.h"

#include <fcntl.h>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/array_device.h"

namespace {

// The flags that matter, those of open(2) and of the descriptor.
struct Flags {
    int access;
    bool waits;
    bool inherited;
};

Flags flagsOf(int fd) {
    const int flags = fcntl(fd, F_GETFL);
    return {flags & O_ACCMODE, (flags & O_NONBLOCK) == 0, (fcntl(fd, F_GETFD) & FD_CLOEXEC) == 0};
}

} // namespace

TEST(DeviceNode, ANodeIsOpenedForReadingAndWritingWithoutWaiting) {
    const ArrayDevice device;
    const DeviceNode node(device.path().c_str());
    ASSERT_GE(node.fd(), 0);
    const Flags flags = flagsOf(node.fd());
    EXPECT_EQ(flags.access, O_RDWR);
    EXPECT_FALSE(flags.waits);
    EXPECT_FALSE(flags.inherited);
    EXPECT_EQ(device.openDescriptors(), 1);
}

TEST(DeviceNode, WhereThatFailsItIsOpenedForReadingOnly) {
    const ArrayDevice device;
    const DeviceNode node(device.readOnlyPath().c_str());
    ASSERT_GE(node.fd(), 0);
    const Flags flags = flagsOf(node.fd());
    EXPECT_EQ(flags.access, O_RDONLY);
    EXPECT_FALSE(flags.waits);
    EXPECT_FALSE(flags.inherited);
    EXPECT_EQ(device.openDescriptors(), 1);
}

TEST(DeviceNode, WhenBothAttemptsFailThereIsNoDescriptor) {
    DeviceNode node("/nonexistent/node");
    EXPECT_EQ(node.fd(), -1);
    EXPECT_EQ(node.close(), 0);
}

TEST(DeviceNode, ItIsClosedWhenTheObjectGoesOrEarlier) {
    const ArrayDevice device;
    {
        const DeviceNode node(device.path().c_str());
        EXPECT_EQ(device.openDescriptors(), 1);
    }
    EXPECT_EQ(device.openDescriptors(), 0);
    DeviceNode node(device.path().c_str());
    EXPECT_EQ(node.close(), 0);
    EXPECT_EQ(device.openDescriptors(), 0);
    EXPECT_EQ(node.fd(), -1);
}

// ---- the name

TEST(DeviceNodeName, ATextIsCopiedWithItsTerminatorCutToTheField) {
    EXPECT_EQ(VDISK_NAME_SIZE, 128U);
    for (const size_t length : {0U, 1U, 126U, 127U, 128U, 129U, 5000U}) {
        std::string field(VDISK_NAME_SIZE + 8, '#');
        const std::string text(length, 'n');
        copyVdiskName(field.data(), text.c_str());
        EXPECT_EQ(std::string(field.c_str()), text.substr(0, 127)) << length;
        EXPECT_EQ(field.substr(VDISK_NAME_SIZE), "########") << length;
    }
}

TEST(DeviceNodeName, AShorterTextLeavesNothingOfALongerOneToBeRead) {
    char field[VDISK_NAME_SIZE] = "a longer name";
    copyVdiskName(field, "short");
    EXPECT_STREQ(field, "short");
}
