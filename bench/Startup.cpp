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

// The daemon's start-up to its registration against a floor that makes the same system calls,
// and its resident set over that of an empty program linked the same way.

#include <android/binder_manager.h>
#include <android/binder_process.h>
#include <android/log.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zenth_host/EmulatedDevice.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <zenth_host/DeviceTree.h>
#include <zenth_host/host_log.h>
#include "ChildProcess.h"
#include "Figures.h"
#include "MiscLogTag.h"
#include "ReservePartition.h"
#include "ServiceEntry.h"
#include "zenthmisc-impl/ZenthMisc.h"

namespace bench {

using zenth_host::Logger;

using zenth_host::useLogger;

namespace {

namespace misc = aidl::vendor::zenth::hardware::misc;
using Clock = std::chrono::steady_clock;
using misc::kMiscLogTag;

constexpr int kStartupRuns = 21;
constexpr double kStartupTargetUs = 2000;
constexpr long kOverheadTargetKiB = 1024;
constexpr auto kSettled = std::chrono::milliseconds(500);
constexpr auto kSettleTimeout = std::chrono::seconds(10);

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

// The floor's entry: the same steps, then the registration of an interface with nothing
// behind it, and serving for good.
int runFloorEntry() {
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
    if (AServiceManager_addService(binder.get(), serviceInstance().c_str()) != STATUS_OK) abort();
    ABinderProcess_joinThreadPool();
    return 1;
}

// Microseconds from an entry's first step to its registration, seen by a client waiting for
// the service; -1 when it never registered. In a child process, so that its threads end with it.
double timeToRegistration(int (*entry)()) {
    double us = -1;
    const bool registered = runInChild(
            [entry] {
                std::atomic<Clock::rep> start{0};
                std::thread([entry, &start] {
                    start = Clock::now().time_since_epoch().count();
                    entry();
                }).detach();
                waitForService();
                return microsecondsSince(Clock::time_point(Clock::duration(start)));
            },
            &us);
    return registered ? us : -1;
}

double median(std::vector<double>& runs) {
    std::sort(runs.begin(), runs.end());
    return runs[runs.size() / 2];
}

// Runs a program on the device; its resident set once neither that nor its number of threads
// has changed for half a second, -1 when it never settles.
long settledResidentKiB(const zenth_host::DeviceTree& device, const char* program) {
    const pid_t child = startProgram(program,
                                     {{emulated::kRootEnvironment, device.root()},
                                      {emulated::sleeping::kFastSleepEnvironment, "1"}},
                                     "/dev/null", "/dev/null");
    const auto deadline = Clock::now() + kSettleTimeout;
    long kib = -1;
    long last[2] = {-1, -1};
    auto since = Clock::now();
    while (Clock::now() < deadline) {
        const long now[2] = {residentKiB(child), processStatus(child, "Threads")};
        if (now[0] != last[0] || now[1] != last[1]) {
            std::copy(now, now + 2, last);
            since = Clock::now();
        } else if (Clock::now() - since >= kSettled) {
            kib = now[0];
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    return kib;
}

}  // namespace

void measureStartup(Figures& figures) {
    zenth_host::ScratchDevice device("/dev/shm");
    device.buildSamplePhone();
    useLogger(Logger::Stderr);
    std::vector<double> starts;
    std::vector<double> floors;
    for (int i = 0; i < kStartupRuns; ++i) {
        starts.push_back(timeToRegistration(runServiceEntry));
        floors.push_back(timeToRegistration(runFloorEntry));
    }
    useLogger(Logger::NoOp);
    const double start = median(starts);
    const double floor = median(floors);
    figures.push_back(
            {"Start-up: entry to registration (seeded device)",
             format("%.2fx the floor", start / floor) + format(" (%.0f us median", start) +
                     format(", floor %.0f us;", floor) + format(" %.0f us max", starts.back()) +
                     format(" of %.0f starts)", kStartupRuns),
             "<= 2 ms", start <= kStartupTargetUs && starts.front() > 0 && floors.front() > 0});
}

void measureResidentSet(Figures& figures) {
    zenth_host::ScratchDevice device("/dev/shm");
    device.buildSamplePhone();
    const long daemon = settledResidentKiB(device, ZENTH_SERVICE_BINARY);
    const long idle = settledResidentKiB(device, ZENTH_IDLE_BINARY);
    figures.push_back({"Daemon resident set over an empty program, same libraries",
                       format("%.0f KiB", static_cast<double>(daemon - idle)) +
                               format(" (daemon %.0f KiB", static_cast<double>(daemon)) +
                               format(", empty %.0f KiB)", static_cast<double>(idle)),
                       "<= 1024 KiB",
                       daemon > 0 && idle > 0 && daemon - idle <= kOverheadTargetKiB});
}

}  // namespace bench
