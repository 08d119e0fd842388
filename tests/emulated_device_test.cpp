// The emulated device itself, where a fault would make product tests pass or fail wrongly.

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/klog.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <future>
#include <string>
#include <thread>

#include "support/DeviceTest.h"
#include "zenth_host/EmulatedDevice.h"

namespace {

using emulated::fault_node::kPath;

class EmulatedDeviceTest : public DeviceTest {};

// ---- Path mapping ----

struct MappingCase {
    const char* path;
    bool mapped;
};

const MappingCase kMappingCases[] = {
    {"/dev/block/by-name/zenthreserve1", true},
    {"dev/block/sda", true},
    {"/proc/fpga/status", true},
    {"/sys/class/leds/fan/device_id", true},
    {"/mnt/vendor/persist/engineermode/tri_state_hall_data", true},
    {"/dev/null", false},
    {"/procfs", false},
    {"/mnt/other", false},
    {"/tmp/file", false},
    {"", false},
};

TEST_F(EmulatedDeviceTest, MapsDevicePathsOnly) {
    for (const MappingCase& c : kMappingCases) {
        std::string expected = c.path;
        if (c.mapped) expected = rootFolder() + (c.path[0] == '/' ? "" : "/") + c.path;
        EXPECT_EQ(emulated::hostPath(c.path), expected) << c.path;
    }
}

TEST_F(EmulatedDeviceTest, RelativePathResolvesAgainstTheRootNotTheWorkingDirectory) {
    EXPECT_NE(access(kUfsMarker, F_OK), 0);
    makeUfsStorage();
    EXPECT_EQ(access(kUfsMarker, F_OK), 0);

    emulated::setRoot("");
    EXPECT_NE(access(kUfsMarker, F_OK), 0) << "without a root nothing is mapped";
}

// ---- Owner permissions, enforced even for a privileged host process ----

TEST_F(EmulatedDeviceTest, ReadOnlyFolderRefusesNewEntries) {
    makeDir("/mnt/vendor/persist/engineermode");
    writeFile("/mnt/vendor/persist/engineermode/old", "x");
    makeReadOnly("/mnt/vendor/persist/engineermode");

    errno = 0;
    EXPECT_EQ(open("/mnt/vendor/persist/engineermode/new", O_WRONLY | O_CREAT | O_TRUNC, 0664), -1);
    EXPECT_EQ(errno, EACCES);
    errno = 0;
    EXPECT_EQ(mkdir("/mnt/vendor/persist/engineermode/dir", 0766), -1);
    EXPECT_EQ(errno, EACCES);
    errno = 0;
    EXPECT_EQ(remove("/mnt/vendor/persist/engineermode/old"), -1);
    EXPECT_EQ(errno, EACCES);
    EXPECT_TRUE(exists("/mnt/vendor/persist/engineermode/old"));
}

TEST_F(EmulatedDeviceTest, CreatedFileGetsTheModeAsked) {
    makeDir("/mnt/vendor/persist");
    int fd = open("/mnt/vendor/persist/flag", O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ASSERT_GE(fd, 0);
    close(fd);
    EXPECT_EQ(modeOf("/mnt/vendor/persist/flag"), 0600u);
}

// ---- Fault node ----

class FaultNodeTest : public DeviceTest {
  protected:
    void SetUp() override {
        DeviceTest::SetUp();
        createFaultNode();
        fd_ = open(kPath, O_RDONLY);
        ASSERT_GE(fd_, 0);
    }

    void TearDown() override {
        if (fd_ >= 0) close(fd_);
        DeviceTest::TearDown();
    }

    struct Poll {
        int result;
        int error;
        short revents;
    };

    Poll pollNode(int timeout = -1) {
        struct pollfd entry = {fd_, POLLIN, 0};
        errno = 0;
        int result = poll(&entry, 1, timeout);
        return {result, result < 0 ? errno : 0, entry.revents};
    }

    int fd_ = -1;
};

TEST_F(FaultNodeTest, DeliversInjectedEventsInOrder) {
    emulated::fault_node::injectPollInterrupted();
    emulated::fault_node::injectPollTimeout();
    emulated::fault_node::injectPollWithoutPollin(POLLERR);
    emulated::fault_node::injectValue(0x1122334455667788, 3);
    emulated::fault_node::injectLseekError(ESPIPE);
    emulated::fault_node::injectReadError(EINTR);
    emulated::fault_node::injectValue(2);
    emulated::fault_node::injectPollError(EINVAL);

    Poll interrupted = pollNode();
    EXPECT_EQ(interrupted.result, -1);
    EXPECT_EQ(interrupted.error, EINTR);
    EXPECT_EQ(pollNode().result, 0);
    Poll withoutPollin = pollNode();
    EXPECT_EQ(withoutPollin.result, 1);
    EXPECT_EQ(withoutPollin.revents, POLLERR);

    uint64_t value = 0;
    EXPECT_EQ(pollNode().revents, POLLIN);
    EXPECT_EQ(lseek(fd_, 0, SEEK_SET), 0);
    EXPECT_EQ(read(fd_, &value, sizeof(value)), 3);
    EXPECT_EQ(value, 0x667788u) << "a short read fills the low-order bytes only";

    EXPECT_EQ(pollNode().revents, POLLIN);
    errno = 0;
    EXPECT_EQ(lseek(fd_, 0, SEEK_SET), -1);
    EXPECT_EQ(errno, ESPIPE);

    EXPECT_EQ(pollNode().revents, POLLIN);
    EXPECT_EQ(lseek(fd_, 0, SEEK_SET), 0);
    errno = 0;
    EXPECT_EQ(read(fd_, &value, sizeof(value)), -1);
    EXPECT_EQ(errno, EINTR);

    value = 0;
    EXPECT_EQ(pollNode().revents, POLLIN);
    EXPECT_EQ(read(fd_, &value, sizeof(value)), 8);
    EXPECT_EQ(value, 2u);

    Poll failed = pollNode();
    EXPECT_EQ(failed.result, -1);
    EXPECT_EQ(failed.error, EINVAL);
    EXPECT_EQ(emulated::fault_node::pendingEvents(), 0u);
    EXPECT_EQ(emulated::fault_node::pollCalls(), 8u);
}

TEST_F(FaultNodeTest, PollBlocksUntilAnEventIsInjected) {
    auto waiter = std::async(std::launch::async, [this] { return pollNode(); });
    ASSERT_TRUE(emulated::fault_node::waitUntilIdle(kWait));
    EXPECT_EQ(waiter.wait_for(std::chrono::milliseconds(0)), std::future_status::timeout);

    emulated::fault_node::injectValue(5);
    EXPECT_EQ(waiter.get().revents, POLLIN);
    uint64_t value = 0;
    EXPECT_EQ(read(fd_, &value, sizeof(value)), 8);
    EXPECT_EQ(value, 5u);
}

TEST_F(FaultNodeTest, OtherDescriptorsKeepTheirOwnBehaviour) {
    int pipeEnds[2];
    ASSERT_EQ(pipe(pipeEnds), 0);
    emulated::fault_node::injectValue(7);
    ASSERT_EQ(write(pipeEnds[1], "ab", 2), 2);

    struct pollfd entry = {pipeEnds[0], POLLIN, 0};
    EXPECT_EQ(poll(&entry, 1, 0), 1);
    char bytes[4] = {};
    EXPECT_EQ(read(pipeEnds[0], bytes, sizeof(bytes)), 2);
    EXPECT_STREQ(bytes, "ab");
    EXPECT_EQ(emulated::fault_node::pendingEvents(), 1u) << "the node's event stays queued";
    close(pipeEnds[0]);
    close(pipeEnds[1]);
}

TEST_F(FaultNodeTest, TracksItsDescriptors) {
    EXPECT_EQ(emulated::fault_node::openDescriptors(), 1);
    close(fd_);
    fd_ = -1;
    EXPECT_TRUE(emulated::fault_node::waitUntilClosed(kWait));
    EXPECT_EQ(emulated::fault_node::openDescriptors(), 0);
}

TEST_F(EmulatedDeviceTest, MissingFaultNodeCannotBeOpened) {
    EXPECT_EQ(open(kPath, O_RDONLY), -1);
    EXPECT_EQ(emulated::fault_node::openDescriptors(), 0);
}

// ---- Kernel log ----

TEST_F(EmulatedDeviceTest, KernelLogReportsSizeContentAndInjectedFailures) {
    emulated::kernel_log::setContent("0123456789");
    emulated::kernel_log::setBufferSize(4096);
    EXPECT_EQ(klogctl(10, nullptr, 0), 4096);
    char buffer[16] = {};
    EXPECT_EQ(klogctl(3, buffer, 4), 4);
    EXPECT_EQ(std::string(buffer, 4), "6789") << "a short buffer gets the newest bytes";

    emulated::kernel_log::failSizeQuery(EPERM);
    emulated::kernel_log::failRead(0, ENOMEM);
    errno = 0;
    EXPECT_EQ(klogctl(10, nullptr, 0), -1);
    EXPECT_EQ(errno, EPERM);
    errno = 0;
    EXPECT_EQ(klogctl(3, buffer, sizeof(buffer)), 0);
    EXPECT_EQ(errno, ENOMEM);

    auto calls = emulated::kernel_log::calls();
    ASSERT_EQ(calls.size(), 4u);
    EXPECT_EQ(calls[1].action, 3);
    EXPECT_EQ(calls[1].length, 4);
}

// ---- usleep ----

TEST_F(EmulatedDeviceTest, HeldSleepReturnsOnlyWhenReleased) {
    emulated::sleeping::setMode(emulated::sleeping::Mode::Held);
    auto sleeper = std::async(std::launch::async, [] { return usleep(5000000); });
    ASSERT_TRUE(emulated::sleeping::waitForCalls(1, kWait));
    EXPECT_EQ(sleeper.wait_for(std::chrono::milliseconds(0)), std::future_status::timeout);

    emulated::sleeping::release();
    EXPECT_EQ(sleeper.get(), 0);
    EXPECT_EQ(emulated::sleeping::calls(), std::vector<unsigned>{5000000});
}

}  // namespace
