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

// A client of the registered service, as any client on the phone is. It makes only calls that
// change nothing on the device: no node is written, no calibration stored. Checks that would
// write the reserve partition or the persist files if the service had regressed run on the
// host only (HostRunner.cpp).

#include <aidl/Gtest.h>
#include <aidl/Vintf.h>
#include <aidl/vendor/zenth/hardware/misc/IZenthMisc.h>
#include <android/binder_manager.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

using aidl::vendor::zenth::hardware::misc::IZenthMisc;
using aidl::vendor::zenth::hardware::misc::ZenthMiscStatus;

namespace {

// Node flags that no row of the node table carries.
constexpr int32_t kUnknownNodeFlags[] = {0, -1, 322, 1000};

class ZenthMiscAidl : public testing::TestWithParam<std::string> {
  protected:
    void SetUp() override {
        ndk::SpAIBinder binder(AServiceManager_waitForService(GetParam().c_str()));
        misc = IZenthMisc::fromBinder(binder);
        ASSERT_NE(misc, nullptr);
    }

    std::shared_ptr<IZenthMisc> misc;
};

TEST_P(ZenthMiscAidl, ServesTheFrozenInterface) {
    int32_t version = 0;
    ASSERT_TRUE(misc->getInterfaceVersion(&version).isOk());
    EXPECT_EQ(version, IZenthMisc::version);
    std::string hash;
    ASSERT_TRUE(misc->getInterfaceHash(&hash).isOk());
    EXPECT_EQ(hash, IZenthMisc::hash);
    ZenthMiscStatus status;
    EXPECT_TRUE(misc->initialize(&status).isOk());
}

TEST_P(ZenthMiscAidl, RefusesUnknownNodeFlags) {
    for (int32_t nodeFlag : kUnknownNodeFlags) {
        SCOPED_TRACE(nodeFlag);
        int32_t support = 0;
        ASSERT_TRUE(misc->isMiscNodeSupport(0, nodeFlag, &support).isOk());
        EXPECT_EQ(support, -1);
        std::string content = "stale";
        ASSERT_TRUE(misc->miscReadNodeFile(0, nodeFlag, &content).isOk());
        EXPECT_EQ(content, "");
        int32_t written = 0;
        ASSERT_TRUE(misc->miscWriteNodeFile(0, nodeFlag, "1", &written).isOk());
        EXPECT_EQ(written, -1);
    }
}

}  // namespace

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(ZenthMiscAidl);
INSTANTIATE_TEST_SUITE_P(PerInstance, ZenthMiscAidl,
                         testing::ValuesIn(android::getAidlHalInstanceNames(IZenthMisc::descriptor)),
                         android::PrintInstanceNameToString);
