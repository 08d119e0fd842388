/*
 * Copyright (C) 2026 Zenth
 *
 * Licensed under the Apache License, Version 2.0 (the "License");
 * you may not use this file except in compliance with the License.
 * You may obtain a copy of the License at
 *
 *      http://www.apache.org/licenses/LICENSE-2.0
 *
 * Unless required by applicable law or agreed to in writing, software
 * distributed under the License is distributed on an "AS IS" BASIS,
 * WITHOUT WARRANTIES OR CONDITIONS OF ANY KIND, either express or implied.
 * See the License for the specific language governing permissions and
 * limitations under the License.
 */

// Node access: the positioned read and write that every node and partition access goes
// through, the node table's lookup, and the interface's support query, read and write.

#include <android/log.h>

#include <climits>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "MiscLogTag.h"
#include "MiscNodeTable.h"
#include "NodeInterface.h"
#include "support/DeviceTest.h"
#include "zenth_host/EmulatedDevice.h"
#include "zenthmisc-impl/ZenthMisc.h"

namespace aidl::vendor::zenth::hardware::misc {
namespace {

constexpr const char* kNode = "/proc/zenth_test/node";
const std::string kBrightness = "/sys/class/leds/red/brightness";
constexpr off_t kEnableArea = 0x514320;

class NodeAccessTest : public DeviceTest {
  protected:
    void SetUp() override {
        DeviceTest::SetUp();
        service_ = ndk::SharedRefBase::make<ZenthMisc>();
        clearLog();
    }
    int32_t supported(int32_t deviceId, int32_t flag) {
        int32_t answer = 0;
        EXPECT_TRUE(service_->isMiscNodeSupport(deviceId, flag, &answer).isOk());
        return answer;
    }
    std::string read(int32_t deviceId, int32_t flag) {
        std::string result = "stale";
        EXPECT_TRUE(service_->miscReadNodeFile(deviceId, flag, &result).isOk());
        return result;
    }
    int32_t write(int32_t deviceId, int32_t flag, const std::string& data) {
        int32_t result = 12345;
        EXPECT_TRUE(service_->miscWriteNodeFile(deviceId, flag, data, &result).isOk());
        return result;
    }

    std::shared_ptr<ZenthMisc> service_;
};

// ---- The primitives ----

enum class Node { File, Directory, Missing, FullDevice };

class PrimitiveTest : public NodeAccessTest {
  protected:
    // kNode as the case needs it; a file holds `content`.
    void makeNode(Node kind, const std::string& content) {
        if (kind == Node::File) writeFile(kNode, content);
        if (kind == Node::Directory) makeDir(kNode);
        if (kind == Node::FullDevice) {  // opens and seeks, fails every write with ENOSPC
            makeDir("/proc/zenth_test");
            std::filesystem::create_symlink("/dev/full", hostPath(kNode));
        }
    }
};

TEST_F(PrimitiveTest, ReadInterfaceReadsOnceAndAppendsNothing) {
    struct Case {
        Node node;
        int offset;
        int length;
        int result;
        std::string buffer;  // a 16-byte buffer of '#' afterwards
        std::string log;
    };
    const std::string untouched(16, '#');
    const Case cases[] = {
            {Node::File, 0, 16, 10, "0123456789######", ""},
            {Node::File, 4, 3, 3, "456#############", ""},
            {Node::File, 100, 8, 0, untouched, ""},
            {Node::File, -1, 8, -1, untouched, "D read failed! size:-1\n"},
            {Node::Directory, 0, 8, -1, untouched, "D read no content! size:-1\n"},
            {Node::Missing, 0, 8, -1, untouched, openFailure(kNode, ENOENT)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.buffer + c.log);
        std::filesystem::remove_all(hostPath(kNode));
        makeNode(c.node, "0123456789");
        clearLog();
        std::string buffer = untouched;
        EXPECT_EQ(readInterface(kNode, c.offset, buffer.data(), c.length), c.result);
        EXPECT_EQ(buffer, c.buffer);
        EXPECT_EQ(messages(kMiscLogTag), c.log);
    }
}

TEST_F(PrimitiveTest, WriteInterfaceWritesOnceAndSyncsWhatItWrote) {
    struct Case {
        Node node;
        int offset;
        std::string data;
        int result;
        std::string after;  // the file's content; a missing node must stay missing
        std::string log;
    };
    const Case cases[] = {
            {Node::File, 1, std::string("L\0O", 3), 3, std::string("hL\0Oo", 5),
             "D write 3 bytes\n"},
            {Node::File, 0, "", 0, "hello", "D write 0 bytes\n"},
            {Node::File, -1, "1", -1, "hello", "D lseek failed! size:-1\n"},
            {Node::Missing, 0, "1", -1, "", openFailure(kNode, ENOENT)},
            {Node::FullDevice, 0, "1", -1, "", "D write failed! size:-1\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.log);
        std::filesystem::remove_all(hostPath(kNode));
        makeNode(c.node, "hello");
        clearLog();
        const size_t synced = emulated::syncedFiles().size();
        EXPECT_EQ(writeInterface(kNode, c.offset, c.data.data(), static_cast<int>(c.data.size())),
                  c.result);
        if (c.node == Node::File) {
            EXPECT_EQ(readFile(kNode), c.after);
        }
        EXPECT_EQ(exists(kNode), c.node != Node::Missing);
        const std::vector<std::string> all = emulated::syncedFiles();
        ASSERT_EQ(all.size(), synced + (c.result >= 0 ? 1 : 0));
        if (c.result >= 0) {
            EXPECT_EQ(all.back(), std::filesystem::canonical(hostPath(kNode)).string());
        }
        EXPECT_EQ(messages(kMiscLogTag), c.log);
    }
}

// ---- The node table and the support query ----

TEST(NodeTableTest, FlagsAreUniqueAndResolveToTheirPathAndLength) {
    std::set<int32_t> flags;
    for (const MiscNodeEntry& row : gMiscNodeTable) {
        EXPECT_TRUE(flags.insert(row.nodeFlag).second) << row.nodeFlag;
    }
    struct Case {
        int32_t deviceId;
        int32_t flag;
        const char* path;
        int32_t maxLen;
    };
    const Case cases[] = {
            {0, 82, "/proc/devinfo", 256},
            {0, 146, "/proc/cs_press/health_info", 20480},
            {0, 288, "/dev/block/by-name/zenthreserve1", 120},
            {0, 132, "/proc/pogopin/health_monitor", 256},
            {1, 40, "/proc/colorctrl/color_ctrl1", 256},
            {-3, 400, "/sys/class/leds/fan/speed-3", 256},
            {INT_MIN, 123, "/mnt/vendor/persist/engineermode/tri_state_hall_calib_flag-2147483648",
             256},
            {7, 289, "/dev/block/by-name/zenthreserve17", 32},
    };
    for (const Case& c : cases) {
        MiscNodeEntry node;
        ASSERT_EQ(resolveMiscNode(c.deviceId, c.flag, &node), 0) << c.flag;
        EXPECT_STREQ(node.path, c.path);
        EXPECT_EQ(node.maxLen, c.maxLen) << c.flag;
    }
}

TEST_F(NodeAccessTest, SupportQueryTestsOnlyTheExistenceOfTheResolvedPath) {
    writeFile("/proc/colorctrl/color_ctrl1", "x");
    writeFile("/sys/class/leds/fan/speed-3", "x");
    writeFile("/proc/devinfo/lcd", "x");
    writeFile("/proc/fpga/status", "", 0);  // exists, but cannot be opened
    createReservePartition();
    struct Case {
        int32_t deviceId;
        int32_t flag;
        int32_t answer;
    };
    const Case cases[] = {
            {0, 40, -1},  // only the instance node exists
            {1, 40, 1},  {2, 40, -1}, {-3, 400, 1}, {3, 400, -1}, {0, 82, 1}, {0, 123, -1},
            {0, 288, 1}, {0, 289, 1}, {0, 280, 1},  {0, 322, -1}, {1, 0, -1}, {-1, 1000, -1},
    };
    for (const Case& c : cases) {
        clearLog();
        EXPECT_EQ(supported(c.deviceId, c.flag), c.answer) << c.deviceId << "/" << c.flag;
        const bool unknown = c.flag == 322 || c.flag == 0 || c.flag == 1000;
        EXPECT_EQ(messages(kMiscLogTag),
                  "D isMiscNodeSupport in_deviceId = " + std::to_string(c.deviceId) +
                          ",in_nodeFlag = " + std::to_string(c.flag) + "\n" +
                          (unknown ? "E nodeFlag is not support\n" : ""));
    }
}

TEST_F(NodeAccessTest, InitializeOnlyLogs) {
    ZenthMiscStatus status;
    status.status = 0x5a5a;
    EXPECT_TRUE(service_->initialize(&status).isOk());
    EXPECT_EQ(status.status, 0x5a5a);
    EXPECT_EQ(messages(kMiscLogTag), "E zenth misc initialize enter\n");
}

// ---- Interface reads and writes ----

std::string entryLine(int32_t deviceId, int32_t flag) {
    return "D in_deviceId = " + std::to_string(deviceId) + ",in_nodeFlag = " + std::to_string(flag);
}

TEST_F(NodeAccessTest, ReadReturnsTheTextUpToNulWithinTheRowsLength) {
    struct Case {
        int32_t deviceId;
        int32_t flag;
        std::string path;  // created holding `content`
        std::string content;
        std::string expected;
        std::string log;  // after the entry line; "-": not compared
    };
    const Case cases[] = {
            {0, 185, kBrightness, "1\n", "1\n", "D cb_data = 1\n\n"},
            {0, 40, "/proc/colorctrl/color_ctrl", std::string("ab\0cd", 5), "ab",
             "D cb_data = ab\n"},
            {7, 400, "/sys/class/leds/fan/speed7", "3000", "3000", "D cb_data = 3000\n"},
            {5, 185, kBrightness, "1", "",
             openFailure(kBrightness + "5", ENOENT) + "D cb_data = \n"},
            {0, 82, "/proc/devinfo/lcd", "x", "", "D read no content! size:-1\nD cb_data = \n"},
            {0, 322, kBrightness, "1", "", "E nodeFlag is not support\n"},
            // The row's own length bounds the text; the log cuts such a line short.
            {0, 146, "/proc/cs_press/health_info", std::string(20490, 'h'), std::string(20480, 'h'),
             "-"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path);
        writeFile(c.path, c.content);
        clearLog();
        EXPECT_EQ(read(c.deviceId, c.flag), c.expected);
        if (c.log != "-") {
            EXPECT_EQ(messages(kMiscLogTag), entryLine(c.deviceId, c.flag) + "\n" + c.log);
        }
    }
}

TEST_F(NodeAccessTest, ReservePartitionRowsShowThePrintableBytesOfTheirRecords) {
    EXPECT_EQ(read(0, 289), "");
    EXPECT_EQ(read(0, 288), "0");  // the code text is placed even when the read fails
    createReservePartition();
    writePartition(0x514330, std::string(40, 'Q'));
    EXPECT_EQ(read(0, 289), std::string(32, 'Q'));  // a full buffer ends at its end
    writePartition(0x514330, std::string("a b\n!c\xff"
                                         "d\x7f\x01~e",
                                         12));
    clearLog();
    EXPECT_EQ(read(0, 289), "ab!cd~e" + std::string(20, 'Q'));
    // The service object's lines carry the same tag; the bytes as read are logged last.
    EXPECT_EQ(messages(defaultTag()),
              "D in_deviceId = 0,in_nodeFlag = 289\nD ZenthFpga::ZenthFpga\n\n"
              "D FPGA_OP_INFO_EN_NODE\nD count = 32\nD ZenthFpga::~ZenthFpga\n\n"
              "D cb_data = ab!cd~eQQQQQQQQQQQQQQQQQQQQ\n");
    const std::string code("\0\0\0\0\0\x12\x34", 7);
    writePartition(0x514010, counterField("up:3") + counterField("rb:2") + counterField("i2c:1") +
                                     counterField("sr:4") + counterField("hr:5") +
                                     counterField("ec:" + code) + counterField("bf:9"));
    // The last raw code byte, 0x34, is printable and stays behind the text.
    EXPECT_EQ(read(0, 288), "up:3rb:2i2c:1sr:4hr:5ec:12344bf:9");
    expectPartitionUnchangedExcept();
}

TEST_F(NodeAccessTest, WriteWritesTheTextUpToNulWithoutTruncating) {
    struct Case {
        int32_t deviceId;
        int32_t flag;
        std::string data;
        int32_t result;
        std::string path;  // created holding `before` with `mode`
        std::string before;
        std::string after;
        std::string log;  // after the entry line
        mode_t mode = 0644;
    };
    const std::string kFlagFile = "/mnt/vendor/persist/engineermode/tri_state_hall_calib_flag";
    const Case cases[] = {
            {0, 185, std::string("ab\0cd", 5), 2, kBrightness, "", "ab", "D write 2 bytes\n"},
            {0, 185, std::string(1, '\0'), 0, kBrightness, "old", "old", "D write 0 bytes\n"},
            {0, 123, "0", 1, kFlagFile, "11", "01", "D write 1 bytes\n"},
            {0, 185, std::string(300, '7'), 300, kBrightness, "", std::string(300, '7'),
             "D write 300 bytes\n"},
            {4, 240, "2", 1, "/proc/zenth_misc/misc_feedback4", "", "2", "D write 1 bytes\n"},
            {9, 185, "1", -1, kBrightness, "0", "0", openFailure(kBrightness + "9", ENOENT)},
            {0, 185, "1", -1, kBrightness, "0", "0", openFailure(kBrightness, EACCES), 0444},
            {0, 82, "1", -1, "/proc/devinfo/lcd", "x", "x", openFailure("/proc/devinfo", EISDIR)},
            {0, 322, "1", -1, kBrightness, "0", "0", "E nodeFlag is not support\n"},
            {0, 185, "", -1, kBrightness, "0", "0", ""},  // empty data logs nothing
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.log);
        writeFile(c.path, c.before, c.mode);
        clearLog();
        EXPECT_EQ(write(c.deviceId, c.flag, c.data), c.result);
        EXPECT_EQ(readFile(c.path), c.after);
        const std::string text = c.data.c_str();
        const std::string entry = entryLine(c.deviceId, c.flag) + ",data = " + text +
                                  ",len = " + std::to_string(text.size()) + "\n";
        EXPECT_EQ(messages(kMiscLogTag), (c.data.empty() ? "" : entry) + c.log);
    }
}

TEST_F(NodeAccessTest, ReservePartitionRowsWriteOnlyTheEnableInfo) {
    createReservePartition();
    EXPECT_EQ(write(0, 288, "sr:1"), -1);
    EXPECT_TRUE(contains(ANDROID_LOG_ERROR, kMiscLogTag, "nodeFlag 288 is read only"));
    EXPECT_EQ(write(0, 289, "zz:1"), -1);
    expectPartitionUnchangedExcept();
    EXPECT_EQ(write(0, 289, "sr:3"), 4);
    EXPECT_EQ(readPartition(kEnableArea, 20), std::string("fpga_op_info_e\0\0sr:3", 20));
    expectPartitionUnchangedExcept({{kEnableArea, 20}});
}

}  // namespace
}  // namespace aidl::vendor::zenth::hardware::misc
