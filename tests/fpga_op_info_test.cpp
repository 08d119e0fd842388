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

// The FPGA records of the reserve partition: fault counts and code, the node-288 view and
// the enable-info area of node 289.

#include <string>
#include <vector>

#include <android/log.h>

#include "ZenthFpgaInternal.h"
#include "support/DeviceTest.h"
#include "support/FileSizeLimit.h"

namespace misc = aidl::vendor::zenth::hardware::misc;
using misc::counterField;

namespace {

constexpr off_t kI2cField = 0x514030;
constexpr off_t kSrField = 0x514040;
constexpr off_t kHrField = 0x514050;
constexpr off_t kEcField = 0x514060;
constexpr off_t kFaultCode = 0x514063;
constexpr off_t kView = 0x514010;
constexpr size_t kViewSize = 120;
constexpr off_t kEnableHeader = 0x514320;
constexpr off_t kEnableSr = 0x514330;
constexpr off_t kEnableHr = 0x514340;
const std::string kWidestCode("\x7F\xFF\xFF\xFF\xFF\xFF\xFF");
const std::string kHeader("fpga_op_info_e\0\0", 16);

std::string bytes(std::initializer_list<unsigned char> list) {
    return std::string(list.begin(), list.end());
}

class FpgaOpInfoTest : public DeviceTest {
  protected:
    void SetUp() override {
        DeviceTest::SetUp();
        createReservePartition();
    }
    bool logged(int priority, const std::string& message) const {
        return contains(priority, defaultTag(), message);
    }
};

TEST_F(FpgaOpInfoTest, CountsParseAndSaturateWithinTheirField) {
    struct Case {
        unsigned long value;
        off_t field;
        std::string before;
        std::string after;
    };
    const Case cases[] = {
            {1, kI2cField, "i2c:41", "i2c:42"},
            {2, kSrField, "sr:41", "sr:42"},
            {2, kSrField, "sr:4294967296", "sr:4294967297"},
            {3, kHrField, "hr:99999999999", "hr:99999999999"},
            {2, kSrField, "sr:123456789012", "sr:99999999999"},
            {1, kI2cField, "i2c:-1234",
             std::string("i2c:0\0"
                         "234",
                         9)},  // the tail stays
            {3, kHrField, "hr:x", "hr:1"},
            {2, kSrField, "sr: +41",
             std::string("sr:42\0"
                         "1",
                         7)},
            {3, kHrField, "", std::string(3, '\0') + "1"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.before);
        writePartition(c.field, counterField(c.before));
        EXPECT_EQ(misc::fpgaOpWrite(c.value), 0);
        EXPECT_EQ(readPartition(c.field, 16), counterField(c.after));
        expectPartitionUnchangedExcept({{c.field, 16}});
    }
}

TEST_F(FpgaOpInfoTest, LogsTheRecordBeforeUpdating) {
    std::string ec = "ec:" + bytes({0, 0, 0, 0, 0, 0x12, 0x34});
    writePartition(kI2cField, counterField("i2c:5") + counterField("sr:41") + counterField("hr:7") +
                                      counterField(ec));
    ASSERT_EQ(misc::fpgaOpWrite(2), 0);
    EXPECT_TRUE(logged(ANDROID_LOG_DEBUG, "fpgaOpWrite: i2c:5 sr:41 hr:7 ec:0x1234 count:64"));
}

TEST_F(FpgaOpInfoTest, TaggedValuesStoreTheirCodeBigEndianWithoutTheTag) {
    const std::pair<unsigned long, std::string> cases[] = {
            {0xAA80000000001234, bytes({0, 0, 0, 0, 0, 0x12, 0x34})},
            {0xAAFFFFFFFFFFFFFF, kWidestCode},
            {0xAA80000000000000, std::string(7, '\0')},
    };
    const std::string tail(6, '\x66');
    for (const auto& [value, code] : cases) {
        writePartition(kEcField, "ec:" + std::string(7, '\x55') + tail);
        EXPECT_EQ(misc::fpgaOpWrite(value), 0);
        EXPECT_EQ(readPartition(kEcField, 16), "ec:" + code + tail);
        expectPartitionUnchangedExcept({{kFaultCode, 7}});
    }
}

TEST_F(FpgaOpInfoTest, RejectedValuesLeaveThePartitionAlone) {
    for (unsigned long value :
         {0UL, 4UL, 5UL, 6UL, 0x8000000000000000UL, 0xAA00000000000001UL, 0xAB80000000000000UL}) {
        SCOPED_TRACE(value);
        clearLog();
        EXPECT_EQ(misc::fpgaOpWrite(value), -1);
        EXPECT_EQ(messages(defaultTag()), "E mode is not support\n");
    }
    expectPartitionUnchangedExcept();
}

TEST_F(FpgaOpInfoTest, PartitionFailures) {
    makeReadOnly(kReservePartition);
    EXPECT_EQ(misc::fpgaOpWrite(2), -1);
    EXPECT_TRUE(logged(ANDROID_LOG_ERROR, "Failed to write partition file"));
    expectPartitionUnchangedExcept();

    ASSERT_EQ(remove(hostPath(kReservePartition).c_str()), 0);
    EXPECT_EQ(misc::fpgaOpWrite(3), -1);
    EXPECT_TRUE(logged(ANDROID_LOG_ERROR, "readInterface /dev/block/by-name/zenthreserve1 error"));

    // A read that returns nothing is a short read, not a failure: the record counts from 0.
    writeFile(kReservePartition, std::string(kI2cField, '\0'));
    clearLog();
    EXPECT_EQ(misc::fpgaOpWrite(2), 0);
    EXPECT_EQ(messages(defaultTag()), "D fpgaOpWrite:    ec:0x0 count:0\nD write 64 bytes\n");
    EXPECT_EQ(readPartition(kI2cField, 64), std::string(19, '\0') + "1" + std::string(44, '\0'));
}

// ---- Node-288 view ----

TEST_F(FpgaOpInfoTest, OpInfoViewShowsTheCodeAsTextAfterTheShift) {
    const std::pair<std::string, std::string> cases[] = {
            {bytes({0, 0, 0, 0, 0, 0x12, 0x34}), "1234"},
            {std::string(7, '\0'), "0"},
            {bytes({0, 0, 0, 1, 2, 3, 4}), "1020304"},
            {kWidestCode, "7fffffffffffff"},
    };
    for (const auto& [code, text] : cases) {
        SCOPED_TRACE(text);
        std::string raw;
        for (size_t p = 0; p < kViewSize; ++p) raw += static_cast<char>(p + 1);
        raw.replace(83, 7, code);
        writePartition(kView, raw);
        clearLog();

        std::vector<char> buffer(kViewSize, 0);
        misc::ZenthFpga fpga;
        EXPECT_EQ(fpga.readFpgaOpInfoEn(kReservePartition, buffer.data(), 288), 120);

        std::string expected = raw;
        for (size_t p = 92; p < 108; ++p) expected[p] = raw[p - 2];
        expected.replace(83, text.size() + 1, text + '\0');
        EXPECT_EQ(std::string(buffer.begin(), buffer.end()), expected);
        EXPECT_TRUE(logged(ANDROID_LOG_DEBUG, "getFpgaOpEcData start:83, end:90\n"));
        EXPECT_EQ(count("getFpgaOpEcData is 0"), text == "0" ? 1u : 0u);
        expectPartitionUnchangedExcept();
    }
}

// ---- Enable-info writes ----

TEST_F(FpgaOpInfoTest, EnableInfoGoesToTheFieldItsFirstSixteenCharactersName) {
    struct Case {
        std::string info;
        off_t target;  // 0: nothing may be written
        std::string stored;
    };
    const Case cases[] = {
            {"sr:3", kEnableSr, "sr:3"},
            {"hr:7", kEnableHr, "hr:7"},
            {"hr:1 sr:2", kEnableSr, "hr:1 sr:2"},  // "sr" is searched first
            {"hr:1234567890abcdsr!", kEnableHr, "hr:1234567890abc"},
            {"abcdefghijklmnopsr:1", 0, ""},
            {"xyz", 0, ""},
    };
    misc::ZenthFpga fpga;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.info);
        writePartition(kEnableHeader, std::string(48, '\0'));
        clearLog();
        const int result = fpga.writeFpgaOpInfoEn(kReservePartition, c.info);
        if (c.target == 0) {
            EXPECT_EQ(result, -1);
            EXPECT_TRUE(logged(ANDROID_LOG_ERROR, "writeFpgaOpInfo info = " + c.info.substr(0, 16) +
                                                          " has neither sr nor hr"));
            expectPartitionUnchangedExcept();
            continue;
        }
        EXPECT_EQ(result, static_cast<int>(c.stored.size()));
        EXPECT_EQ(readPartition(kEnableHeader, 16), kHeader);
        EXPECT_EQ(readPartition(c.target, 16), counterField(c.stored));
        EXPECT_TRUE(logged(ANDROID_LOG_DEBUG, "writeFpgaOpInfo first Info = " + c.stored));
        expectPartitionUnchangedExcept({{kEnableHeader, 16}, {c.target, c.stored.size()}});
    }
}

TEST_F(FpgaOpInfoTest, HeaderWrittenOnceAndKeptAfterwards) {
    writePartition(kEnableSr, counterField("sr:12345"));
    misc::ZenthFpga fpga;
    EXPECT_EQ(fpga.writeFpgaOpInfoEn(kReservePartition, "sr:12345"), 8);
    clearLog();
    EXPECT_EQ(fpga.writeFpgaOpInfoEn(kReservePartition, "sr:5"), 4);
    EXPECT_TRUE(logged(ANDROID_LOG_DEBUG,
                       "writeFpgaOpInfo readInterface first cb_data = fpga_op_info_e"));
    EXPECT_EQ(count("write 16 bytes"), 0u);
    EXPECT_EQ(readPartition(kEnableSr, 16), counterField("sr:52345"));
}

TEST_F(FpgaOpInfoTest, EnableWriteFailures) {
    misc::ZenthFpga fpga;
    {
        // A header write that stores one byte counts as written; the info lies beyond.
        FileSizeLimit limit(kEnableHeader + 1);
        EXPECT_EQ(fpga.writeFpgaOpInfoEn(kReservePartition, "sr:1"), -1);
    }
    EXPECT_TRUE(logged(ANDROID_LOG_DEBUG, "writeFpgaOpInfo first Info = sr:1"));
    EXPECT_TRUE(logged(ANDROID_LOG_DEBUG, "writeFpgaOpInfo count = -1"));

    writePartition(kEnableHeader, std::string(16, '\0'));
    makeReadOnly(kReservePartition);
    clearLog();
    EXPECT_EQ(fpga.writeFpgaOpInfoEn(kReservePartition, "sr:1"), -1);
    EXPECT_TRUE(logged(ANDROID_LOG_ERROR, "writeFpgaOpInfo first writeInterface failed"));
    expectPartitionUnchangedExcept();

    writePartition(kEnableHeader, kHeader);
    clearLog();
    EXPECT_EQ(fpga.writeFpgaOpInfoEn(kReservePartition, "sr:1"), -1);
    EXPECT_TRUE(logged(ANDROID_LOG_DEBUG, "writeFpgaOpInfo count = -1"));
    EXPECT_EQ(count("writeFpgaOpInfo first writeInterface failed"), 0u);
    expectPartitionUnchangedExcept();
}

}  // namespace
