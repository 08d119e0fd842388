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

// A client of the registered service, as any client on the phone is. Every method is called
// with checks that hold on any phone shipping the service, and only with calls that change
// nothing on it: no node is written, no calibration stored.

#include <aidl/Gtest.h>
#include <aidl/Vintf.h>
#include <aidl/vendor/zenth/hardware/misc/IZenthMisc.h>
#include <android/binder_manager.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

using aidl::vendor::zenth::hardware::misc::IZenthMisc;
using aidl::vendor::zenth::hardware::misc::ZenthMiscStatus;

namespace {

// Node flags that no row of the node table carries.
constexpr int32_t kUnknownNodeFlags[] = {0, -1, 322, 1000, INT32_MIN, INT32_MAX};
// Device ids: the table's own node, and an instance node appended to its path.
constexpr int32_t kDeviceIds[] = {0, 1};
// The reserve partition's FPGA enable-info record: every phone shipping the service has the
// partition, and reading the record changes nothing.
constexpr int32_t kEnableInfoNode = 289;
constexpr size_t kEnableInfoLength = 32;
// The tri-state key's calibration flag, a persist file a stored tri-state calibration writes.
constexpr int32_t kTriStateCalibrationFlagNode = 123;
constexpr int32_t kTriStateCalibration = 1000104;
constexpr int32_t kMagneticCoverCalibration = 1000200;

class ZenthMiscAidl : public testing::TestWithParam<std::string> {
  protected:
    void SetUp() override {
        ndk::SpAIBinder binder(AServiceManager_waitForService(GetParam().c_str()));
        misc = IZenthMisc::fromBinder(binder);
        ASSERT_NE(misc, nullptr);
    }

    std::shared_ptr<IZenthMisc> misc;
};

TEST_P(ZenthMiscAidl, ServesTheFrozenVersionOne) {
    int32_t version = 0;
    ASSERT_TRUE(misc->getInterfaceVersion(&version).isOk());
    EXPECT_EQ(version, IZenthMisc::version);
    EXPECT_EQ(version, 1);
    std::string hash;
    ASSERT_TRUE(misc->getInterfaceHash(&hash).isOk());
    EXPECT_EQ(hash, IZenthMisc::hash);
    EXPECT_NE(hash, "notfrozen");
}

TEST_P(ZenthMiscAidl, Initializes) {
    ZenthMiscStatus status;
    EXPECT_TRUE(misc->initialize(&status).isOk());
}

TEST_P(ZenthMiscAidl, SupportsANodeOfTheTable) {
    int32_t support = 0;
    ASSERT_TRUE(misc->isMiscNodeSupport(0, kEnableInfoNode, &support).isOk());
    EXPECT_EQ(support, 1);
}

TEST_P(ZenthMiscAidl, ReadsOnlyPrintableCharactersOfAPartitionRecord) {
    std::string content;
    ASSERT_TRUE(misc->miscReadNodeFile(0, kEnableInfoNode, &content).isOk());
    EXPECT_LE(content.size(), kEnableInfoLength);
    for (char c : content) {
        EXPECT_TRUE(c > ' ' && c < 0x7F) << "byte " << static_cast<int>(c) << " in " << content;
    }
}

TEST_P(ZenthMiscAidl, RefusesNodeFlagsOutsideTheTable) {
    for (int32_t deviceId : kDeviceIds) {
        for (int32_t nodeFlag : kUnknownNodeFlags) {
            SCOPED_TRACE("device " + std::to_string(deviceId) + ", node flag " +
                         std::to_string(nodeFlag));
            int32_t support = 0;
            ASSERT_TRUE(misc->isMiscNodeSupport(deviceId, nodeFlag, &support).isOk());
            EXPECT_EQ(support, -1);
            std::string content = "stale";
            ASSERT_TRUE(misc->miscReadNodeFile(deviceId, nodeFlag, &content).isOk());
            EXPECT_EQ(content, "");
            int32_t written = 0;
            ASSERT_TRUE(misc->miscWriteNodeFile(deviceId, nodeFlag, "1", &written).isOk());
            EXPECT_EQ(written, -1);
        }
    }
}

struct Calibration {
    int32_t type;
    std::vector<uint8_t> data;
    int32_t length;
};

// Lengths that disagree with the bytes sent, and no bytes at all: refused before any file is
// opened, whatever the type.
const Calibration kWrongLengths[] = {
        {kTriStateCalibration, {'1'}, 2},      {kTriStateCalibration, {'1', '2'}, 1},
        {kTriStateCalibration, {'1'}, 0},      {kTriStateCalibration, {}, 0},
        {kMagneticCoverCalibration, {'1'}, 2}, {kMagneticCoverCalibration, {}, 0},
};

TEST_P(ZenthMiscAidl, RefusesCalibrationDataOfAWrongLengthAndStoresNothing) {
    int32_t flagBefore = 0;
    std::string flagContentBefore;
    ASSERT_TRUE(misc->isMiscNodeSupport(0, kTriStateCalibrationFlagNode, &flagBefore).isOk());
    ASSERT_TRUE(misc->miscReadNodeFile(0, kTriStateCalibrationFlagNode, &flagContentBefore).isOk());
    for (const Calibration& calibration : kWrongLengths) {
        SCOPED_TRACE("type " + std::to_string(calibration.type) + ", " +
                     std::to_string(calibration.data.size()) + " bytes, length " +
                     std::to_string(calibration.length));
        bool saved = true;
        ASSERT_TRUE(misc->saveCalibrationData(calibration.type, calibration.data,
                                              calibration.length, &saved)
                            .isOk());
        EXPECT_FALSE(saved);
    }
    int32_t flagAfter = 0;
    std::string flagContentAfter;
    ASSERT_TRUE(misc->isMiscNodeSupport(0, kTriStateCalibrationFlagNode, &flagAfter).isOk());
    ASSERT_TRUE(misc->miscReadNodeFile(0, kTriStateCalibrationFlagNode, &flagContentAfter).isOk());
    EXPECT_EQ(flagAfter, flagBefore);
    EXPECT_EQ(flagContentAfter, flagContentBefore);
}

}  // namespace

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(ZenthMiscAidl);
INSTANTIATE_TEST_SUITE_P(PerInstance, ZenthMiscAidl,
                         testing::ValuesIn(android::getAidlHalInstanceNames(IZenthMisc::descriptor)),
                         android::PrintInstanceNameToString);
