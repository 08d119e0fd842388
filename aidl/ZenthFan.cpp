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

#include "zenthmisc-impl/ZenthFan.h"

#include <string.h>
#include <unistd.h>

#include <android/log.h>

#include "MiscLogTag.h"
#include "NodeInterface.h"
#include "ReservePartition.h"

namespace aidl::vendor::zenth::hardware::misc {

namespace {

constexpr const char* kFanDeviceIdPath = "/sys/class/leds/fan/device_id";
constexpr const char* kFanRpmTablePath = "/sys/class/leds/fan/rpm_table";

struct FanVariant {
    const char* hardwareId;
    const char* deviceId;
};

// Matched in this order; the driver knows two variants.
constexpr FanVariant kFanVariants[] = {
        {"473918000001", "0"},
        {"473918000005", "0"},
        {"473918000003", "1"},
        {"473918000004", "1"},
};

bool nodeExists(const char* path) {
    return access(path, F_OK) == 0;
}

void setFanDeviceId(int regionOffset) {
    // The read leaves the last byte as the terminator of the logged text.
    char hardwareId[kFanHardwareIdLength + 1] = {};
    if (readInterface(kReservePartitionPath, regionOffset, hardwareId,
                      static_cast<int>(sizeof(hardwareId)) - 1) < 1) {
        return;
    }
    __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "read fan hw id = %s", hardwareId);
    for (const FanVariant& variant : kFanVariants) {
        if (memcmp(hardwareId, variant.hardwareId, kFanHardwareIdLength) == 0) {
            __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "set fan device_id = %s",
                                variant.deviceId);
            writeInterface(kFanDeviceIdPath, 0, variant.deviceId, 1);
            return;
        }
    }
    __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "invalid data");
}

void loadFanRpmTable(int regionOffset) {
    char table[kFanRpmTableLength + 1] = {};
    if (readInterface(kReservePartitionPath, regionOffset + kFanRpmTableOffset, table,
                      static_cast<int>(sizeof(table)) - 1) < 1) {
        return;
    }
    __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "read fan rpm table info = %s", table);
    writeInterface(kFanRpmTablePath, 0, table, static_cast<int>(strnlen(table, kFanRpmTableLength)));
}

}  // namespace

// Makes its own storage tests: the service object's flags are not the fan's business.
ZenthFan::ZenthFan() {
    bool reserve = reservePartitionExists();
    bool emmc = storageIsEmmc();
    __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "gIsReserveIntegrate=%d, gIsEmmcStorage=%d",
                        reserve ? 1 : 0, emmc ? 1 : 0);
    int regionOffset = kFanIdentityRegion.offset(emmc);

    bool deviceIdSupported = nodeExists(kFanDeviceIdPath);
    __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "fan device_id support = %d",
                        deviceIdSupported ? 1 : 0);
    if (deviceIdSupported && reserve) {
        setFanDeviceId(regionOffset);
    }

    bool rpmTableSupported = nodeExists(kFanRpmTablePath);
    __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "fan rpm_table support = %d",
                        rpmTableSupported ? 1 : 0);
    if (rpmTableSupported && reserve) {
        loadFanRpmTable(regionOffset);
    }
}

ZenthFan::~ZenthFan() {
    __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "ZenthFan::~ZenthFan\n");
}

}  // namespace aidl::vendor::zenth::hardware::misc
