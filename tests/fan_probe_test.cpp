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

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "MiscLogTag.h"
#include "ReservePartition.h"
#include "support/DeviceTest.h"
#include "zenthmisc-impl/ZenthFan.h"
#include "zenthmisc-impl/ZenthMisc.h"

namespace aidl::vendor::zenth::hardware::misc {
namespace {

constexpr const char* kDeviceIdNode = "/sys/class/leds/fan/device_id";
constexpr const char* kRpmTableNode = "/sys/class/leds/fan/rpm_table";
constexpr off_t kFanRegionEmmc = 5107712;
constexpr off_t kFanRegionUfs = 5369856;
constexpr off_t kRpmTable = 64;
const std::string kReserveEmmc = "D gIsReserveIntegrate=1, gIsEmmcStorage=1\n";

class FanProbeTest : public DeviceTest {
  protected:
    // Runs the probe and returns its service-tag lines, less the destructor's last one.
    std::string probe() {
        clearLog();
        { ZenthFan fan; }
        std::string log = messages(kMiscLogTag);
        const std::string last = "D ZenthFan::~ZenthFan\n\n";
        EXPECT_EQ(log.substr(log.size() - last.size()), last);
        return log.substr(0, log.size() - last.size());
    }
};

TEST_F(FanProbeTest, HardwareIdSelectsTheDeviceId) {
    const std::pair<std::string, const char*> cases[] = {
            {"473918000001", "0"}, {"473918000005", "0"}, {"473918000003", "1"},
            {"473918000004", "1"}, {"473918000002", "x"}, {"573918000001", "x"},
            {"47391800", "x"},  // the node holds "x" before the probe
    };
    createReservePartition();
    for (const auto& [hardwareId, deviceId] : cases) {
        writePartition(kFanRegionEmmc, hardwareId + std::string(12 - hardwareId.size(), '\0'));
        writeFile(kDeviceIdNode, "x");
        const std::string outcome = deviceId[0] == 'x' ? "D invalid data\n"
                                                       : std::string("D set fan device_id = ") +
                                                                 deviceId + "\nD write 1 bytes\n";
        EXPECT_EQ(probe(), kReserveEmmc + "D fan device_id support = 1\nD read fan hw id = " +
                                   hardwareId + "\n" + outcome + "D fan rpm_table support = 0\n");
        EXPECT_EQ(readFile(kDeviceIdNode), deviceId);
    }
}

// A different variant and table in the other storage kind's region show which one is read;
// the service object's flag claims the opposite storage, and the probe must not use it.
TEST_F(FanProbeTest, ReadsTheRegionOfItsStorageKindAndWritesNoPartitionByte) {
    createReservePartition();
    for (bool ufs : {false, true}) {
        const off_t region = ufs ? kFanRegionUfs : kFanRegionEmmc;
        const off_t other = ufs ? kFanRegionEmmc : kFanRegionUfs;
        writePartition(region, "473918000003");
        writePartition(region + kRpmTable, std::string("1000,2000\0", 10));
        writePartition(other, "473918000001");
        writePartition(other + kRpmTable, std::string("9999\0", 5));
        if (ufs) makeUfsStorage();
        writeFile(kDeviceIdNode, "");
        writeFile(kRpmTableNode, "");
        gIsEmmcStorage = ufs;

        const std::string log = probe();
        gIsEmmcStorage = true;

        EXPECT_EQ(log.rfind(std::string("D gIsReserveIntegrate=1, gIsEmmcStorage=") +
                                    (ufs ? "0" : "1") + "\n",
                            0),
                  0u);
        EXPECT_EQ(readFile(kDeviceIdNode), "1");
        EXPECT_EQ(readFile(kRpmTableNode), "1000,2000");
        expectPartitionUnchangedExcept();
    }
}

TEST_F(FanProbeTest, RpmTableIsWrittenAsTextUpToItsEnd) {
    struct Case {
        std::string region;  // bytes at region offset 64 onwards
        std::string shown;   // the text in the log line and the bytes written
    };
    const Case cases[] = {
            {std::string("3000,4000\0garbage", 17), "3000,4000"},
            {std::string(128, 'r') + "OVER", std::string(128, 'r')},  // the 129th byte is not read
            {std::string("\0rest", 5), ""},
    };
    createReservePartition();
    for (const Case& c : cases) {
        writePartition(kFanRegionEmmc + kRpmTable, c.region);
        writeFile(kRpmTableNode, "");
        EXPECT_EQ(probe(), kReserveEmmc +
                                   "D fan device_id support = 0\nD fan rpm_table support = 1\n"
                                   "D read fan rpm table info = " +
                                   c.shown + "\nD write " + std::to_string(c.shown.size()) +
                                   " bytes\n");
        EXPECT_EQ(readFile(kRpmTableNode), c.shown);
    }
}

// A partition that ends inside the region: whatever a read returns, down to one byte, is
// used; a read that returns nothing ends the step.
TEST_F(FanProbeTest, ShortReadsOfTheRegionAreUsed) {
    writeFile(kDeviceIdNode, "x");
    writeFile(kRpmTableNode, "keep");
    writeFile(kReservePartition, std::string(kFanRegionEmmc, '\0') + "4");
    EXPECT_EQ(probe(), kReserveEmmc +
                               "D fan device_id support = 1\nD read fan hw id = 4\nD invalid data\n"
                               "D fan rpm_table support = 1\n");
    writeFile(kReservePartition,
              std::string(kFanRegionEmmc, '\0') + "473918000001" + std::string(52, '\0') + "7");
    EXPECT_EQ(probe(), kReserveEmmc +
                               "D fan device_id support = 1\nD read fan hw id = 473918000001\n"
                               "D set fan device_id = 0\nD write 1 bytes\n"
                               "D fan rpm_table support = 1\nD read fan rpm table info = 7\n"
                               "D write 1 bytes\n");
    EXPECT_EQ(readFile(kDeviceIdNode), "0");
    EXPECT_EQ(readFile(kRpmTableNode), "7eep");
}

// Each step runs only with its node and the reserve partition.
TEST_F(FanProbeTest, StepsWithoutTheirNodeOrTheReserveOnlyLog) {
    writeFile(kDeviceIdNode, "");
    writeFile(kRpmTableNode, "");
    EXPECT_EQ(probe(),
              "D gIsReserveIntegrate=0, gIsEmmcStorage=1\nD fan device_id support = 1\n"
              "D fan rpm_table support = 1\n");
    EXPECT_EQ(readFile(kDeviceIdNode), "");
    EXPECT_EQ(readFile(kRpmTableNode), "");
    std::filesystem::remove_all(hostPath("/sys/class/leds"));
    createReservePartition();
    writePartition(kFanRegionEmmc, "473918000004");
    writePartition(kFanRegionEmmc + kRpmTable, "10,20");
    EXPECT_EQ(probe(), kReserveEmmc + "D fan device_id support = 0\nD fan rpm_table support = 0\n");
    EXPECT_FALSE(exists(kDeviceIdNode));
}

}  // namespace
}  // namespace aidl::vendor::zenth::hardware::misc
