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

// The daemon's start up to its registration, and the floor it is measured against.

#include <android/binder_manager.h>
#include <android/binder_process.h>
#include <android/log.h>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>

#include "MiscLogTag.h"
#include "ReservePartition.h"
#include "Startup.h"
#include "zenthmisc-impl/ZenthExgpio.h"
#include "zenthmisc-impl/ZenthFan.h"
#include "zenthmisc-impl/ZenthFpga.h"
#include "zenthmisc-impl/ZenthMisc.h"

namespace bench {

namespace {

namespace misc = aidl::vendor::zenth::hardware::misc;
using Clock = std::chrono::steady_clock;
using misc::kMiscLogTag;

const std::string kInstance = std::string() + misc::IZenthMisc::descriptor + "/default";

double microsecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

// ---- The floor's steps: what each start-up step must do, done directly ----

int readAt(const char* path, int offset, void* buffer, size_t length) {
    int fd = open(path, O_RDONLY);
    lseek(fd, offset, SEEK_SET);
    ssize_t count = read(fd, buffer, length);
    close(fd);
    return static_cast<int>(count);
}

int writeNode(const char* path, const void* data, size_t length) {
    int fd = open(path, O_WRONLY);
    lseek(fd, 0, SEEK_SET);
    ssize_t count = write(fd, data, length);
    __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "write %d bytes", static_cast<int>(count));
    fsync(fd);
    close(fd);
    return static_cast<int>(count);
}

bool exists(const char* path) {
    return access(path, F_OK) == 0;
}

void restoreCalibration() {
    const bool reserve = exists(misc::kReservePartitionPath);
    const bool emmc = !exists(misc::kUfsBlockDevicePath);
    __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "gIsReserveIntegrate=%d, gIsEmmcStorage=%d",
                        reserve, emmc);
    int32_t v[misc::kMotorHallRecordValues] = {};
    readAt(misc::kReservePartitionPath, misc::kMotorHallRecord.offset(emmc), v, sizeof(v));
    __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "motor calibration data %d,%d,%d,%d,%d,%d",
                        v[0], v[1], v[2], v[3], v[4], v[5]);
    char text[128] = {};
    snprintf(text, sizeof(text), "%d,%d,%d,%d,%d,%d", v[0], v[1], v[2], v[3], v[4], v[5]);
    int count = writeNode("/sys/class/motor/hall_calibration", text, strlen(text));
    __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "motor calbration data write count = %d",
                        count);

    char triState[129] = {};
    count = readAt("/mnt/vendor/persist/engineermode/tri_state_hall_data", 0, triState, 128);
    writeNode("/proc/tristatekey/hall_data_calib", triState, count);
    char cover[9] = {};
    count = readAt("/mnt/vendor/persist/engineermode/magneticCoverCalibrationData", 0, cover, 8);
    writeNode("/proc/magnetic_cover/magcvr_data_handle", cover, count);
}

void watchFaultNode() {
    __android_log_print(ANDROID_LOG_DEBUG, nullptr, "fpgaWriteOpFunc come in");
    struct pollfd pfd = {open("/proc/fpga/errinfoto_op", O_RDONLY), POLLIN, 0};
    poll(&pfd, 1, -1);
}

void delayReport(const char* message) {
    __android_log_print(ANDROID_LOG_ERROR, nullptr, "%s", message);
    usleep(5000000);
}

void probeFan() {
    const bool reserve = exists(misc::kReservePartitionPath);
    const bool emmc = !exists(misc::kUfsBlockDevicePath);
    __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "gIsReserveIntegrate=%d, gIsEmmcStorage=%d",
                        reserve, emmc);
    const int region = misc::kFanIdentityRegion.offset(emmc);
    __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "fan device_id support = %d",
                        exists("/sys/class/leds/fan/device_id"));
    char id[misc::kFanHardwareIdLength + 1] = {};
    readAt(misc::kReservePartitionPath, region, id, misc::kFanHardwareIdLength);
    __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "read fan hw id = %s", id);
    __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "set fan device_id = %s", "0");
    writeNode("/sys/class/leds/fan/device_id", "0", 1);
    __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "fan rpm_table support = %d",
                        exists("/sys/class/leds/fan/rpm_table"));
    char table[misc::kFanRpmTableLength + 1] = {};
    readAt(misc::kReservePartitionPath, region + misc::kFanRpmTableOffset, table,
           misc::kFanRpmTableLength);
    __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "read fan rpm table info = %s", table);
    writeNode("/sys/class/leds/fan/rpm_table", table, strlen(table));
}

// Registering it costs what registering the service costs.
class EmptyService : public misc::BnZenthMisc {
  public:
    ndk::ScopedAStatus initialize(misc::ZenthMiscStatus*) override { return ok(); }
    ndk::ScopedAStatus isMiscNodeSupport(int32_t, int32_t, int32_t*) override { return ok(); }
    ndk::ScopedAStatus miscReadNodeFile(int32_t, int32_t, std::string*) override { return ok(); }
    ndk::ScopedAStatus miscWriteNodeFile(int32_t, int32_t, const std::string&, int32_t*) override {
        return ok();
    }
    ndk::ScopedAStatus saveCalibrationData(int32_t, const std::vector<uint8_t>&, int32_t,
                                           bool*) override {
        return ok();
    }

  private:
    static ndk::ScopedAStatus ok() { return ndk::ScopedAStatus::ok(); }
};

}  // namespace

double startDaemonUntilRegistered() {
    const auto start = Clock::now();
    __android_log_print(ANDROID_LOG_ERROR, kMiscLogTag, "service zenth misc aidl started!");
    ABinderProcess_setThreadPoolMaxThreadCount(0);
    auto service = ndk::SharedRefBase::make<misc::ZenthMisc>();
    misc::ZenthFpga fpga;
    misc::ZenthExgpio exgpio;
    fpga.startFpgaThread();
    fpga.fpgaReportStats();
    exgpio.exgpioReportStats();
    misc::ZenthFan fan;
    ndk::SpAIBinder binder = service->asBinder();
    const bool registered = AServiceManager_addService(binder.get(), kInstance.c_str()) == STATUS_OK;
    return registered ? microsecondsSince(start) : -1;
}

double startFloorUntilRegistered() {
    const auto start = Clock::now();
    __android_log_print(ANDROID_LOG_ERROR, kMiscLogTag, "service zenth misc aidl started!");
    ABinderProcess_setThreadPoolMaxThreadCount(0);
    auto service = ndk::SharedRefBase::make<EmptyService>();
    restoreCalibration();
    __android_log_print(ANDROID_LOG_DEBUG, nullptr, "ZenthFpga::ZenthFpga\n");
    __android_log_print(ANDROID_LOG_DEBUG, nullptr, "ZenthExgpio::ZenthExgpio\n");
    exists("/proc/fpga/errinfoto_op");
    __android_log_print(ANDROID_LOG_DEBUG, nullptr, "startFpgaThread come in start");
    std::thread(watchFaultNode).detach();
    __android_log_print(ANDROID_LOG_DEBUG, nullptr, "startFpgaThread come end");
    std::thread(delayReport, "Another thread to delay report fpga info").detach();
    std::thread(delayReport, "Another thread to delay report exgpio info").detach();
    probeFan();
    ndk::SpAIBinder binder = service->asBinder();
    const bool registered = AServiceManager_addService(binder.get(), kInstance.c_str()) == STATUS_OK;
    return registered ? microsecondsSince(start) : -1;
}

}  // namespace bench
