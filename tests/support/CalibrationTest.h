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

#pragma once

// Shared by the calibration restore, store and fan probe suites: a fresh service object
// started the way the daemon starts it, and the service-tag log lines of a test.

#include <android/log.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ZenthMisc.h"
#include "support/DeviceTest.h"

namespace zenth_test {

inline constexpr const char* kPersistDir = "/mnt/vendor/persist/engineermode";
inline constexpr const char* kTriStateData = "/mnt/vendor/persist/engineermode/tri_state_hall_data";
inline constexpr const char* kTriStateFlag =
        "/mnt/vendor/persist/engineermode/tri_state_hall_calib_flag";
inline constexpr const char* kMagneticData =
        "/mnt/vendor/persist/engineermode/magneticCoverCalibrationData";
inline constexpr const char* kMagneticFlag =
        "/mnt/vendor/persist/engineermode/magneticCoverCalibrationFlag";
inline constexpr const char* kMotorNode = "/sys/class/motor/hall_calibration";
inline constexpr const char* kTriStateNode = "/proc/tristatekey/hall_data_calib";
inline constexpr const char* kMagneticNode = "/proc/magnetic_cover/magcvr_data_handle";

inline constexpr off_t kMotorRecordEmmc = 4303872;
inline constexpr off_t kMotorRecordUfs = 4407296;

using Motor = std::array<int32_t, 6>;

// The record as it lies in the partition: six little-endian 32-bit values.
inline std::string motorRecord(const Motor& values) {
    std::string bytes(sizeof(values), '\0');
    std::memcpy(bytes.data(), values.data(), sizeof(values));
    return bytes;
}

// A logged line as the tests compare it: priority and message.
using Message = std::pair<int, std::string>;

inline Message debug(std::string text) {
    return {ANDROID_LOG_DEBUG, std::move(text)};
}

inline Message error(std::string text) {
    return {ANDROID_LOG_ERROR, std::move(text)};
}

// Names an instantiated test after its table row.
struct CaseName {
    template <typename Row>
    std::string operator()(const ::testing::TestParamInfo<Row>& info) const {
        return info.param.name;
    }
};

inline std::string openFailure(const std::string& path, int error) {
    return "open " + path + " failed! err:" + std::strerror(error);
}

}  // namespace zenth_test

class CalibrationTest : public DeviceTest {
  protected:
    void TearDown() override {
        resetStorageFlags();
        DeviceTest::TearDown();
    }

    // The storage flags outlive a service object (a set reserve flag is never cleared), so
    // each start begins from the values of a fresh process.
    static void resetStorageFlags() {
        aidl::vendor::zenth::hardware::misc::gIsReserveIntegrate = false;
        aidl::vendor::zenth::hardware::misc::gIsEmmcStorage = true;
    }

    std::shared_ptr<aidl::vendor::zenth::hardware::misc::ZenthMisc> startService() {
        resetStorageFlags();
        return ndk::SharedRefBase::make<aidl::vendor::zenth::hardware::misc::ZenthMisc>();
    }

    // Every line logged so far; all of them must carry the service tag.
    std::vector<zenth_test::Message> serviceLog() const {
        std::vector<zenth_test::Message> messages;
        for (const LogLine& line : lines()) {
            EXPECT_EQ(line.tag, aidl::vendor::zenth::hardware::misc::kMiscLogTag) << line.message;
            messages.emplace_back(line.priority, line.message);
        }
        return messages;
    }

    void createMotorRecord(off_t offset, const zenth_test::Motor& values) {
        writePartition(offset, zenth_test::motorRecord(values));
    }
};
