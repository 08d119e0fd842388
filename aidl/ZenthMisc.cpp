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

#include "zenthmisc-impl/ZenthMisc.h"

#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <cstdint>

#include <android/log.h>

#include "CalibrationStore.h"
#include "MiscLogTag.h"
#include "NodeInterface.h"
#include "ReservePartition.h"

namespace aidl::vendor::zenth::hardware::misc {

bool gIsReserveIntegrate = false;
bool gIsEmmcStorage = true;

namespace {

constexpr const char* kMotorHallNodePath = "/sys/class/motor/hall_calibration";
constexpr const char* kTriStateHallNodePath = "/proc/tristatekey/hall_data_calib";
constexpr const char* kMagneticCoverNodePath = "/proc/magnetic_cover/magcvr_data_handle";

// The drivers take no more than this of each stored file.
constexpr int kTriStateRestoreLength = 128;
constexpr int kMagneticCoverRestoreLength = 8;
constexpr size_t kMotorHallTextSize = 128;

void restoreMotorHallCalibration() {
    int32_t v[kMotorHallRecordValues] = {};
    if (readInterface(kReservePartitionPath, motorHallRecordOffset(), v, sizeof(v)) < 1) {
        return;
    }
    __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "motor calibration data %d,%d,%d,%d,%d,%d",
                        v[0], v[1], v[2], v[3], v[4], v[5]);
    // An all-zero record is what an erased partition holds: nothing was ever calibrated.
    if (std::all_of(std::begin(v), std::end(v), [](int32_t x) { return x == 0; })) {
        __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "invalid motor hall cali data");
        return;
    }
    char text[kMotorHallTextSize] = {};
    snprintf(text, sizeof(text), "%d,%d,%d,%d,%d,%d", v[0], v[1], v[2], v[3], v[4], v[5]);
    int count = writeInterface(kMotorHallNodePath, 0, text, static_cast<int>(strlen(text)));
    __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "motor calbration data write count = %d",
                        count);
}

void restoreTriStateHallCalibration() {
    // The read takes its length from the buffer, which keeps a byte for a terminator.
    char data[kTriStateRestoreLength + 1] = {};
    int count = readInterface(kTriStateHallDataPath, 0, data, static_cast<int>(sizeof(data)) - 1);
    if (count < 1) {
        return;
    }
    // The store keeps the separators the client sent; the driver parses commas.
    std::replace(data, data + count, ';', ',');
    writeInterface(kTriStateHallNodePath, 0, data, count);
}

void restoreMagneticCoverCalibration() {
    char data[kMagneticCoverRestoreLength + 1] = {};
    int count = readInterface(kMagneticCoverDataPath, 0, data, static_cast<int>(sizeof(data)) - 1);
    if (count < 1) {
        __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "no file %s", kMagneticCoverNodePath);
        return;
    }
    writeInterface(kMagneticCoverNodePath, 0, data, count);
}

}  // namespace

// Runs before any other thread exists, so the storage flags need no lock.
ZenthMisc::ZenthMisc() {
    if (reservePartitionExists()) {
        gIsReserveIntegrate = true;
    }
    gIsEmmcStorage = storageIsEmmc();
    __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "gIsReserveIntegrate=%d, gIsEmmcStorage=%d",
                        gIsReserveIntegrate ? 1 : 0, gIsEmmcStorage ? 1 : 0);
    if (gIsReserveIntegrate) {
        restoreMotorHallCalibration();
    }
    restoreTriStateHallCalibration();
    restoreMagneticCoverCalibration();
}

ndk::ScopedAStatus ZenthMisc::initialize(ZenthMiscStatus* /*_aidl_return*/) {
    __android_log_print(ANDROID_LOG_ERROR, kMiscLogTag, "zenth misc initialize enter");
    return ndk::ScopedAStatus::ok();
}

}  // namespace aidl::vendor::zenth::hardware::misc
