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

// Fault storm: values injected into the fault node as fast as the watcher reads them, each recorded
// and offered to the log capture by threads of its own.

#include <android/log.h>
#include <zenth_host/EmulatedDevice.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <zenth_host/SeededDevice.h>
#include "Figures.h"
#include "ZenthFpgaInternal.h"

namespace bench {

using zenth_host::Logger;
using zenth_host::useLogger;

namespace {

using Clock = std::chrono::steady_clock;
namespace misc = aidl::vendor::zenth::hardware::misc;

constexpr int kEvents = 10000;
// The "sr" count's text, after its key.
constexpr off_t kSrCount = misc::fpgaOpInfoFieldOffset(misc::kFpgaSrField) + 3;
constexpr uint64_t kSoftReset = 2;  // counted under "sr" and captured as one kind
constexpr auto kWindow = std::chrono::milliseconds(3000);
constexpr auto kGiveUp = std::chrono::seconds(120);
constexpr double kTarget = 1.5;

// What the consumers' log lines tell about their progress.
struct Progress {
    std::atomic<int> recorded{0};  // fpgaOpWrite read the record (it writes it back next)
    std::atomic<int> decided{0};   // the capture's time window decided
    std::mutex mutex;
    std::vector<Clock::time_point> saved;  // dumps written
} gProgress;

bool startsWith(const char* text, const char* prefix) {
    return std::strncmp(text, prefix, std::strlen(prefix)) == 0;
}

void countLine(const struct __android_logger_data*, const char* message) {
    if (startsWith(message, "fpgaOpWrite:")) {
        ++gProgress.recorded;
    } else if (startsWith(message, "Elapsed time for exception_id")) {
        ++gProgress.decided;
    } else if (startsWith(message, "dmesg log saved to")) {
        std::lock_guard<std::mutex> lock(gProgress.mutex);
        gProgress.saved.push_back(Clock::now());
    }
}

bool waitForConsumers() {
    const auto deadline = Clock::now() + kGiveUp;
    while (gProgress.recorded < kEvents || gProgress.decided < kEvents) {
        if (Clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    // Every consumer logs under its lock before it finishes: once both locks are free, the last
    // record is written back and the last capture with its retention is over.
    std::lock_guard<std::mutex> record(misc::gFpgaOpInfoMutex);
    std::lock_guard<std::mutex> capture(misc::gFpgaLogMutex);
    return true;
}

// At most two dumps of one kind in any window of 3000 ms.
bool withinWindowRule(std::vector<Clock::time_point> saved) {
    std::sort(saved.begin(), saved.end());
    for (size_t i = 2; i < saved.size(); ++i) {
        if (saved[i] - saved[i - 2] <= kWindow) return false;
    }
    return true;
}

double floorSeconds() {
    const auto start = Clock::now();
    for (int i = 0; i < kEvents; ++i) {
        std::thread([] {}).detach();
        std::thread([] {}).detach();
    }
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// What the consumers must do per event, without the threads: explains the storm's ratio.
double consumersOneByOneSeconds() {
    const auto start = Clock::now();
    for (int i = 0; i < kEvents; ++i) {
        misc::fpgaOpWrite(kSoftReset);
        misc::LogSaveFunc(kSoftReset);
    }
    return std::chrono::duration<double>(Clock::now() - start).count();
}

size_t dumpsKept(const zenth_host::SeededDevice& device) {
    std::error_code error;
    auto entries = std::filesystem::directory_iterator(
            device.hostPath("/mnt/vendor/zenthreserve/fpga_save_log"), error);
    return error ? 0 : static_cast<size_t>(std::distance(entries, {}));
}

}  // namespace

void measureFaultStorm(Figures& figures) {
    zenth_host::SeededDevice device;
    device.seedSample();
    emulated::reset();
    __android_log_set_logger(countLine);

    misc::ZenthFpga fpga;
    fpga.startFpgaThread();
    if (!emulated::fault_node::waitForPollCalls(1, std::chrono::seconds(5))) {
        figures.push_back({"Fault storm", "not measured: no watcher on the fault node", "", false});
        useLogger(Logger::NoOp);
        return;
    }
    const auto start = Clock::now();
    for (int i = 0; i < kEvents; ++i) emulated::fault_node::injectValue(kSoftReset);
    const bool finished = waitForConsumers();
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    emulated::fault_node::injectPollError();
    emulated::fault_node::waitUntilClosed(std::chrono::seconds(5));

    const long counted = std::strtol(device.readPartition(kSrCount, 13).c_str(), nullptr, 10);
    const size_t kept = dumpsKept(device);
    const double floor = floorSeconds();
    useLogger(Logger::NoOp);
    const double consumers = consumersOneByOneSeconds();

    std::vector<Clock::time_point> saved;
    {
        std::lock_guard<std::mutex> lock(gProgress.mutex);
        saved = gProgress.saved;
    }
    figures.push_back({"Fault storm, 10,000 values: lost counts",
                       format("%.0f", static_cast<double>(kEvents - counted)) +
                               format(" (partition count %.0f)", static_cast<double>(counted)) +
                               (finished ? "" : ", consumers unfinished after 120 s"),
                       "0", finished && counted == kEvents});
    figures.push_back({"Fault storm: dumps",
                       format("%.0f saved", static_cast<double>(saved.size())) +
                               format(", %.0f kept", static_cast<double>(kept)) +
                               format(" in %.2f s", seconds),
                       "<= 2 per kind per 3 s", !saved.empty() && withinWindowRule(saved)});
    figures.push_back({"Fault storm: events per second",
                       format("%.0f/s", kEvents / seconds) + format(", %.2fx", seconds / floor) +
                               format(" the floor (%.0f ms for 20,000 empty threads;", floor * 1000) +
                               format(" the consumers' work one event after another: %.0f ms)",
                                      consumers * 1000),
                       "<= 1.5x", seconds / floor <= kTarget});
}

}  // namespace bench
