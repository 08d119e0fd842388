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

// The fan probe: the fan variant from the hardware id of the reserve partition, and the
// RPM table handed to the driver.

#include <android/log.h>

#include <string>
#include <vector>

#include "ZenthFan.h"
#include "ZenthMisc.h"
#include "support/CalibrationTest.h"

using aidl::vendor::zenth::hardware::misc::ZenthFan;
using namespace zenth_test;

namespace {

constexpr const char* kDeviceIdNode = "/sys/class/leds/fan/device_id";
constexpr const char* kRpmTableNode = "/sys/class/leds/fan/rpm_table";
constexpr off_t kFanRegionEmmc = 5107712;
constexpr off_t kFanRegionUfs = 5369856;
constexpr off_t kRpmTableOffset = 64;

class FanProbeTest : public CalibrationTest {
  protected:
    // Runs the probe; the destructor's line is dropped so that only the probe's remain.
    std::vector<Message> probe() {
        clearLog();
        { ZenthFan fan; }
        std::vector<Message> log = serviceLog();
        EXPECT_EQ(log.back(), debug("ZenthFan::~ZenthFan\n"));
        log.pop_back();
        return log;
    }
};

struct IdCase {
    const char* name;
    std::string hardwareId;  // the region's first 12 bytes
    std::vector<Message> log;
    const char* deviceId;  // the node holds "x" before the probe
};

const std::vector<Message> kSetZero = {debug("set fan device_id = 0"), debug("write 1 bytes")};
const std::vector<Message> kSetOne = {debug("set fan device_id = 1"), debug("write 1 bytes")};

std::vector<Message> readId(const std::string& shown, const std::vector<Message>& outcome) {
    std::vector<Message> log = {debug("read fan hw id = " + shown)};
    log.insert(log.end(), outcome.begin(), outcome.end());
    return log;
}

const IdCase kIdCases[] = {
        {"Variant0001", "473918000001", readId("473918000001", kSetZero), "0"},
        {"Variant0005", "473918000005", readId("473918000005", kSetZero), "0"},
        {"Variant0003", "473918000003", readId("473918000003", kSetOne), "1"},
        {"Variant0004", "473918000004", readId("473918000004", kSetOne), "1"},
        {"UnknownEnding", "473918000002", readId("473918000002", {debug("invalid data")}), "x"},
        {"OtherPrefix", "573918000001", readId("573918000001", {debug("invalid data")}), "x"},
        {"LowerBytesDiffer", "473918100001", readId("473918100001", {debug("invalid data")}), "x"},
        {"PrefixOnly", "47391800", readId("47391800", {debug("invalid data")}), "x"},
        {"Blank", "", readId("", {debug("invalid data")}), "x"},
};

class FanIdTest : public FanProbeTest, public ::testing::WithParamInterface<IdCase> {};

TEST_P(FanIdTest, SelectsTheDeviceIdFromTheHardwareId) {
    const IdCase& c = GetParam();
    createReservePartition();
    if (!c.hardwareId.empty()) writePartition(kFanRegionEmmc, c.hardwareId);
    writeFile(kDeviceIdNode, "x");

    std::vector<Message> expected = {debug("gIsReserveIntegrate=1, gIsEmmcStorage=1"),
                                     debug("fan device_id support = 1")};
    expected.insert(expected.end(), c.log.begin(), c.log.end());
    expected.push_back(debug("fan rpm_table support = 0"));
    EXPECT_EQ(probe(), expected);
    EXPECT_EQ(readFile(kDeviceIdNode), c.deviceId);
}

INSTANTIATE_TEST_SUITE_P(HardwareIds, FanIdTest, ::testing::ValuesIn(kIdCases), CaseName());

// A different variant and table in the other storage kind's region show which one is read;
// the service object's flags claim the opposite storage, and the probe must not use them.
class FanRegionTest : public FanProbeTest, public ::testing::WithParamInterface<bool> {};

TEST_P(FanRegionTest, ReadsTheRegionOfTheStorageKindAndWritesNoPartitionByte) {
    bool ufs = GetParam();
    createReservePartition();
    off_t region = ufs ? kFanRegionUfs : kFanRegionEmmc;
    off_t other = ufs ? kFanRegionEmmc : kFanRegionUfs;
    writePartition(region, "473918000003");
    writePartition(region + kRpmTableOffset, "1000,2000");
    writePartition(other, "473918000001");
    writePartition(other + kRpmTableOffset, "9999");
    if (ufs) makeUfsStorage();
    writeFile(kDeviceIdNode, "");
    writeFile(kRpmTableNode, "");
    aidl::vendor::zenth::hardware::misc::gIsEmmcStorage = ufs;

    std::vector<Message> log = probe();

    EXPECT_EQ(log.front(),
              debug(std::string("gIsReserveIntegrate=1, gIsEmmcStorage=") + (ufs ? "0" : "1")));
    EXPECT_EQ(readFile(kDeviceIdNode), "1");
    EXPECT_EQ(readFile(kRpmTableNode), "1000,2000");
    expectPartitionUnchangedExcept();
}

INSTANTIATE_TEST_SUITE_P(Storage, FanRegionTest, ::testing::Bool(),
                         [](const auto& info) { return info.param ? "Ufs" : "Emmc"; });

struct RpmCase {
    const char* name;
    std::string region;  // bytes at region offset 64 onwards
    std::string shown;   // the text in the log line
    std::string node;    // the node holds "keep" before the probe
};

const RpmCase kRpmCases[] = {
        {"EndsAtFirstZero", std::string("3000,4000\0garbage", 17), "3000,4000", "3000,4000"},
        // The byte after the 128 is not part of the table.
        {"FullLengthWithoutZero", std::string(128, 'r') + "OVER", std::string(128, 'r'),
         std::string(128, 'r')},
        {"StartsWithZero", std::string("\0rest", 5), "", "keep"},
};

class FanRpmTableTest : public FanProbeTest, public ::testing::WithParamInterface<RpmCase> {};

TEST_P(FanRpmTableTest, WritesTheTextUpToItsEnd) {
    const RpmCase& c = GetParam();
    createReservePartition();
    writePartition(kFanRegionEmmc + kRpmTableOffset, c.region);
    writeFile(kRpmTableNode, "keep");

    std::vector<Message> expected = {
            debug("gIsReserveIntegrate=1, gIsEmmcStorage=1"), debug("fan device_id support = 0"),
            debug("fan rpm_table support = 1"), debug("read fan rpm table info = " + c.shown),
            debug("write " + std::to_string(c.shown.size()) + " bytes")};
    EXPECT_EQ(probe(), expected);
    EXPECT_EQ(readFile(kRpmTableNode), c.node);
}

INSTANTIATE_TEST_SUITE_P(Tables, FanRpmTableTest, ::testing::ValuesIn(kRpmCases), CaseName());

struct PresenceCase {
    const char* name;
    bool reserve;
    bool deviceIdNode;
    bool rpmTableNode;
    std::vector<Message> log;
};

const PresenceCase kPresenceCases[] = {
        {"NodesWithoutReserve",
         false,
         true,
         true,
         {debug("gIsReserveIntegrate=0, gIsEmmcStorage=1"), debug("fan device_id support = 1"),
          debug("fan rpm_table support = 1")}},
        {"ReserveWithoutNodes",
         true,
         false,
         false,
         {debug("gIsReserveIntegrate=1, gIsEmmcStorage=1"), debug("fan device_id support = 0"),
          debug("fan rpm_table support = 0")}},
};

class FanPresenceTest : public FanProbeTest, public ::testing::WithParamInterface<PresenceCase> {};

TEST_P(FanPresenceTest, EachStepRunsOnlyWithItsNodeAndTheReserve) {
    const PresenceCase& c = GetParam();
    if (c.reserve) {
        createReservePartition();
        writePartition(kFanRegionEmmc, "473918000004");
        writePartition(kFanRegionEmmc + kRpmTableOffset, "10,20");
    }
    if (c.deviceIdNode) writeFile(kDeviceIdNode, "");
    if (c.rpmTableNode) writeFile(kRpmTableNode, "");

    EXPECT_EQ(probe(), c.log);
    if (c.deviceIdNode) {
        EXPECT_EQ(readFile(kDeviceIdNode), "");
        EXPECT_EQ(readFile(kRpmTableNode), "");
    }
}

INSTANTIATE_TEST_SUITE_P(Presence, FanPresenceTest, ::testing::ValuesIn(kPresenceCases), CaseName());

}  // namespace
