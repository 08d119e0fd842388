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

// Interface reads and writes of nodes: ordinary rows through the node primitives, the
// reserve-partition rows 288 and 289 through the FPGA records.

#include <memory>
#include <string>
#include <vector>

#include <android/binder_interface_utils.h>
#include <android/log.h>

#include "ZenthMisc.h"
#include "support/DeviceTest.h"

namespace misc = aidl::vendor::zenth::hardware::misc;

namespace {

const std::string kTag = misc::kMiscLogTag;
const std::string kBrightness = "/sys/class/leds/red/brightness";
const std::string kFanSpeed = "/sys/class/leds/fan/speed";

const auto byName = [](const auto& info) { return std::string(info.param.name); };

class NodeReadWriteTest : public DeviceTest {
  protected:
    void SetUp() override {
        DeviceTest::SetUp();
        service_ = ndk::SharedRefBase::make<misc::ZenthMisc>();
        clearLog();
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
    // Index of the first line with this message, or the number of lines.
    size_t indexOf(const std::string& message) const {
        std::vector<LogLine> all = lines();
        size_t i = 0;
        while (i < all.size() && all[i].message != message) ++i;
        return i;
    }

    std::shared_ptr<misc::ZenthMisc> service_;
};

struct ReadCase {
    const char* name;
    int32_t deviceId;
    int32_t flag;
    std::string path;  // created with `content`
    std::string content;
    std::string expected;
};

class NodeReadTest : public NodeReadWriteTest, public ::testing::WithParamInterface<ReadCase> {};

TEST_P(NodeReadTest, ReturnsTextUpToNulAndWithinTheBuffer) {
    const ReadCase& c = GetParam();
    writeFile(c.path, c.content);
    EXPECT_EQ(read(c.deviceId, c.flag), c.expected);
    EXPECT_TRUE(contains(ANDROID_LOG_DEBUG, kTag,
                         "in_deviceId = " + std::to_string(c.deviceId) +
                                 ",in_nodeFlag = " + std::to_string(c.flag)));
    // The platform log cuts very long lines short.
    if (c.expected.size() <= 256) {
        EXPECT_TRUE(contains(ANDROID_LOG_DEBUG, kTag, "cb_data = " + c.expected));
    }
}

INSTANTIATE_TEST_SUITE_P(
        Rows, NodeReadTest,
        ::testing::Values(ReadCase{"NewlineKept", 0, 185, kBrightness, "1\n", "1\n"},
                          ReadCase{"StopsAtNul", 0, 40, "/proc/colorctrl/color_ctrl",
                                   std::string("ab\0cd", 5), "ab"},
                          ReadCase{"Instance", 7, 400, kFanSpeed + "7", "3000", "3000"},
                          ReadCase{"InstanceMissing", 5, 185, kBrightness, "1", ""},
                          ReadCase{"FullBuffer", 0, 185, kBrightness, std::string(300, 'x'),
                                   std::string(256, 'x')},
                          ReadCase{"FullLargeBuffer", 0, 146, "/proc/cs_press/health_info",
                                   std::string(20490, 'h'), std::string(20480, 'h')}),
        byName);

TEST_F(NodeReadWriteTest, FailedReadsGiveEmptyText) {
    makeDir("/proc/devinfo");
    EXPECT_EQ(read(0, 82), "");
    EXPECT_TRUE(contains(ANDROID_LOG_DEBUG, kTag, "read no content! size:-1"));
    EXPECT_EQ(read(0, 322), "");
    EXPECT_TRUE(contains(ANDROID_LOG_ERROR, kTag, "nodeFlag is not support"));
    EXPECT_EQ(read(0, 185), "");
    EXPECT_TRUE(contains(ANDROID_LOG_DEBUG, kTag,
                         "open " + kBrightness + " failed! err:No such file or directory"));
}

struct RecordCase {
    const char* name;
    std::string record;  // at the node-289 view
    std::string expected;
};

class EnableInfoReadTest : public NodeReadWriteTest,
                           public ::testing::WithParamInterface<RecordCase> {};

TEST_P(EnableInfoReadTest, KeepsOnlyPrintableCharacters) {
    createReservePartition();
    writePartition(0x514330, GetParam().record);
    EXPECT_EQ(read(0, 289), GetParam().expected);
    // The FPGA object lives exactly around the record read.
    size_t ctor = indexOf("ZenthFpga::ZenthFpga\n");
    EXPECT_LT(ctor, indexOf("FPGA_OP_INFO_EN_NODE"));
    EXPECT_LT(indexOf("FPGA_OP_INFO_EN_NODE"), indexOf("ZenthFpga::~ZenthFpga\n"));
    EXPECT_LT(indexOf("ZenthFpga::~ZenthFpga\n"), indexOf("cb_data = " + GetParam().expected));
    EXPECT_TRUE(isDefaultTag(lines().at(ctor).tag));
}

INSTANTIATE_TEST_SUITE_P(Records, EnableInfoReadTest,
                         ::testing::Values(RecordCase{"Letters", std::string("ab\0\0", 4), "ab"},
                                           RecordCase{"Filtered",
                                                      "a b\nc\xff"
                                                      "d\x7f\x01"
                                                      "e",
                                                      "abcde"},
                                           RecordCase{"FullBuffer", std::string(40, 'Q'),
                                                      std::string(32, 'Q')}),
                         byName);

TEST_F(NodeReadWriteTest, OpInfoViewShowsCodeAsText) {
    createReservePartition();
    auto field = [](const std::string& text) { return text + std::string(16 - text.size(), '\0'); };
    std::string code("\0\0\0\0\0\x12\x34", 7);
    writePartition(0x514010, field("up:3") + field("rb:2") + field("i2c:1") + field("sr:4") +
                                     field("hr:5") + field("ec:" + code) + field("bf:9"));
    // The last raw code byte, 0x34, is printable and stays behind the text.
    EXPECT_EQ(read(0, 288), "up:3rb:2i2c:1sr:4hr:5ec:12344bf:9");
    writePartition(0x514063, std::string(7, '\0'));
    EXPECT_EQ(read(0, 288), "up:3rb:2i2c:1sr:4hr:5ec:0bf:9");
    expectPartitionUnchangedExcept();
}

TEST_F(NodeReadWriteTest, UnreadableRecords) {
    EXPECT_EQ(read(0, 289), "");
    EXPECT_EQ(read(0, 288), "0");
}

struct WriteCase {
    const char* name;
    int32_t deviceId;
    int32_t flag;
    std::string path;  // created with `before`
    std::string before;
    std::string data;
    int32_t result;
    std::string after;
};

class NodeWriteTest : public NodeReadWriteTest, public ::testing::WithParamInterface<WriteCase> {};

TEST_P(NodeWriteTest, WritesTextUpToNulWithoutTruncating) {
    const WriteCase& c = GetParam();
    writeFile(c.path, c.before);
    EXPECT_EQ(write(c.deviceId, c.flag, c.data), c.result);
    EXPECT_EQ(readFile(c.path), c.after);
    EXPECT_TRUE(contains(ANDROID_LOG_DEBUG, kTag,
                         "in_deviceId = " + std::to_string(c.deviceId) + ",in_nodeFlag = " +
                                 std::to_string(c.flag) + ",data = " + c.data.c_str() +
                                 ",len = " + std::to_string(c.result)));
}

INSTANTIATE_TEST_SUITE_P(
        Rows, NodeWriteTest,
        ::testing::Values(WriteCase{"NulInMiddle", 0, 185, kBrightness, "",
                                    std::string("ab\0cd", 5), 2, "ab"},
                          WriteCase{"OnlyNul", 0, 185, kBrightness, "old", std::string(1, '\0'), 0,
                                    "old"},
                          WriteCase{"NoTruncate", 0, 123,
                                    "/mnt/vendor/persist/engineermode/tri_state_hall_calib_flag",
                                    "11", "0", 1, "01"},
                          WriteCase{"BeyondMaxLen", 0, 185, kBrightness, "", std::string(300, '7'),
                                    300, std::string(300, '7')},
                          WriteCase{"Instance", 4, 400, kFanSpeed + "4", "", "2", 1, "2"}),
        byName);

TEST_F(NodeReadWriteTest, FailedWritesGiveMinusOne) {
    EXPECT_EQ(write(0, 185, ""), -1);
    EXPECT_TRUE(lines().empty());

    writeFile(kBrightness, "0");
    EXPECT_EQ(write(9, 185, "1"), -1);
    EXPECT_FALSE(exists(kBrightness + "9"));

    makeReadOnly(kBrightness);
    EXPECT_EQ(write(0, 185, "1"), -1);
    EXPECT_TRUE(contains(ANDROID_LOG_DEBUG, kTag,
                         "open " + kBrightness + " failed! err:Permission denied"));
    EXPECT_EQ(readFile(kBrightness), "0");

    makeDir("/proc/devinfo");
    EXPECT_EQ(write(0, 82, "1"), -1);
    EXPECT_EQ(write(0, 322, "1"), -1);
    EXPECT_TRUE(contains(ANDROID_LOG_ERROR, kTag, "nodeFlag is not support"));
}

TEST_F(NodeReadWriteTest, ReservePartitionRows) {
    createReservePartition();
    EXPECT_EQ(write(0, 288, "sr:1"), -1);
    EXPECT_TRUE(contains(ANDROID_LOG_ERROR, kTag, "nodeFlag 288 is read only"));
    expectPartitionUnchangedExcept();

    EXPECT_EQ(write(0, 289, "zz:1"), -1);
    expectPartitionUnchangedExcept();

    clearLog();
    EXPECT_EQ(write(0, 289, "sr:3"), 4);
    EXPECT_EQ(readPartition(0x514320, 20), std::string("fpga_op_info_e\0\0sr:3", 20));
    expectPartitionUnchangedExcept({{0x514320, 20}});
}

}  // namespace
