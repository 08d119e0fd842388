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

// The node table, its lookup and the support query.

#include <set>
#include <string>

#include <android/log.h>
#include <gtest/gtest.h>

#include "MiscNodeTable.h"
#include "ZenthMisc.h"
#include "support/DeviceTest.h"

namespace aidl::vendor::zenth::hardware::misc {
namespace {

constexpr const char* kServiceTag = "vendor.zenth.hardware.ZenthMisc-V1-service";

TEST(NodeTableTest, FlagsAreUniqueAndPathsFitTheirField) {
    std::set<int32_t> flags;
    for (const MiscNodeEntry& row : gMiscNodeTable) {
        EXPECT_TRUE(flags.insert(row.nodeFlag).second) << row.nodeFlag;
        EXPECT_LE(std::string(row.path).size(), 58u) << row.nodeFlag;
        EXPECT_EQ(row.path[0], '/') << row.nodeFlag;
    }
    EXPECT_EQ(flags.size(), 102u);
}

TEST(NodeTableTest, RowsThatDifferFromTheirFamilyKeepTheirPlace) {
    struct Row {
        int index;
        int32_t flag;
        const char* path;
        int32_t maxLen;
    };
    const Row rows[] = {
            {0, 40, "/proc/colorctrl/color_ctrl", 256},
            {7, 82, "/proc/devinfo", 256},
            {15, 123, "/mnt/vendor/persist/engineermode/tri_state_hall_calib_flag", 256},
            {17, 130, "/proc/tristatekey/dump_register", 4096},
            {55, 240, "/proc/zenth_misc/misc_feedback", 256},
            {67, 146, "/proc/cs_press/health_info", 20480},
            {74, 287, "/proc/fpga/dump_info", 4096},
            {78, 288, "/dev/block/by-name/zenthreserve1", 120},
            {79, 289, "/dev/block/by-name/zenthreserve1", 32},
            {89, 132, "/proc/pogopin/health_monitor", 256},
            {95, 404, "/sys/class/leds/fan/device_id", 256},
            {101, 444, "/sys/class/ex_gpio/r_reg", 256},
    };
    for (const Row& row : rows) {
        const MiscNodeEntry& entry = gMiscNodeTable[row.index];
        EXPECT_EQ(entry.nodeFlag, row.flag) << row.index;
        EXPECT_STREQ(entry.path, row.path) << row.index;
        EXPECT_EQ(entry.maxLen, row.maxLen) << row.index;
    }
}

TEST(NodeTableTest, InstancePathsAppendTheDeviceIdAndKeepTheRowLength) {
    struct Case {
        int32_t deviceId;
        int32_t flag;
        const char* path;
        int32_t maxLen;
    };
    const Case cases[] = {
            {0, 146, "/proc/cs_press/health_info", 20480},
            {1, 40, "/proc/colorctrl/color_ctrl1", 256},
            {-3, 400, "/sys/class/leds/fan/speed-3", 256},
            {INT32_MIN, 123,
             "/mnt/vendor/persist/engineermode/tri_state_hall_calib_flag-2147483648", 256},
            {7, 289, "/dev/block/by-name/zenthreserve17", 32},
    };
    for (const Case& c : cases) {
        MiscNodeEntry node;
        ASSERT_EQ(resolveMiscNode(c.deviceId, c.flag, &node), 0);
        EXPECT_STREQ(node.path, c.path);
        EXPECT_EQ(node.maxLen, c.maxLen);
    }
}

class SupportQueryTest : public DeviceTest {
  protected:
    int32_t query(int32_t deviceId, int32_t flag) {
        int32_t answer = 0;
        EXPECT_TRUE(service_->isMiscNodeSupport(deviceId, flag, &answer).isOk());
        return answer;
    }
    std::shared_ptr<ZenthMisc> service_ = ndk::SharedRefBase::make<ZenthMisc>();
};

TEST_F(SupportQueryTest, AnswersFromTheResolvedPathsExistence) {
    writeFile("/proc/colorctrl/color_ctrl1", "x");
    writeFile("/sys/class/leds/fan/speed-3", "x");
    makeDir("/proc/devinfo");
    createReservePartition();
    writeFile("/proc/fpga/status", "");
    makeReadOnly("/proc/fpga/status");
    struct Case {
        int32_t deviceId;
        int32_t flag;
        int32_t answer;
    };
    const Case cases[] = {
            {0, 40, -1},  // only the instance node exists
            {1, 40, 1},   {2, 40, -1}, {-3, 400, 1},
            {3, 400, -1}, {0, 82, 1},                // a directory counts
            {0, 123, -1},                            // no calibration saved yet
            {0, 288, 1},  {0, 289, 1}, {0, 280, 1},  // existence only, whatever the permissions
    };
    for (const Case& c : cases) {
        clearLog();
        EXPECT_EQ(query(c.deviceId, c.flag), c.answer) << c.deviceId << "/" << c.flag;
        EXPECT_EQ(lines().size(), 1u) << "a missing node is not logged";
        EXPECT_TRUE(contains(ANDROID_LOG_DEBUG, kServiceTag,
                             "isMiscNodeSupport in_deviceId = " + std::to_string(c.deviceId) +
                                     ",in_nodeFlag = " + std::to_string(c.flag)));
    }
}

TEST_F(SupportQueryTest, UnknownFlagsAreRefusedWithAnErrorLine) {
    for (int32_t flag : {0, 322, 1000, -40, 45}) {
        for (int32_t deviceId : {0, 1, -1}) {
            clearLog();
            EXPECT_EQ(query(deviceId, flag), -1);
            EXPECT_EQ(count(ANDROID_LOG_ERROR, kServiceTag, "nodeFlag is not support"), 1u);
        }
    }
}

TEST_F(SupportQueryTest, InitializeLeavesItsResultUntouched) {
    for (int i = 0; i < 3; ++i) {
        ZenthMiscStatus status;
        status.status = 0x5a5a;
        EXPECT_TRUE(service_->initialize(&status).isOk());
        EXPECT_EQ(status.status, 0x5a5a);
    }
    EXPECT_EQ(count(ANDROID_LOG_ERROR, kServiceTag, "zenth misc initialize enter"), 3u);
}

}  // namespace
}  // namespace aidl::vendor::zenth::hardware::misc
