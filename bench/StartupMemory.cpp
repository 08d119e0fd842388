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

// Start-up time to registration against its floor, and the daemon's memory: its growth over many
// calls and its resident set over that of an empty program linked the same way.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zenth_host/EmulatedDevice.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <zenth_host/DeviceTree.h>
#include <zenth_host/host_log.h>
#include "ChildProcess.h"
#include "Figures.h"
#include "Startup.h"
#include "zenthmisc-impl/ZenthMisc.h"

namespace bench {

using zenth_host::Logger;
using zenth_host::useLogger;

namespace {

namespace misc = aidl::vendor::zenth::hardware::misc;
using Clock = std::chrono::steady_clock;

constexpr int kStartupRuns = 21;
constexpr double kStartupTargetUs = 2000;
constexpr long kGrowthTargetKiB = 64;
constexpr long kOverheadTargetKiB = 1024;

// One start in a child process, so that the threads it starts end with it.
double startInChild(double (*start)()) {
    double us = -1;
    return runInChild(start, &us) ? us : -1;
}

double median(std::vector<double>& runs) {
    std::sort(runs.begin(), runs.end());
    return runs[runs.size() / 2];
}

void mixedCall(misc::ZenthMisc& service, int i) {
    static constexpr int32_t kFlags[] = {185, 40, 123, 288, 289, 404, 146, 82, 1000};
    const int32_t flag = kFlags[i % (sizeof(kFlags) / sizeof(kFlags[0]))];
    int32_t number = 0;
    std::string text;
    bool saved = false;
    misc::ZenthMiscStatus status;
    ndk::ScopedAStatus called;
    switch (i % 5) {
        case 0:
            called = service.isMiscNodeSupport(i % 3, flag, &number);
            break;
        case 1:
            called = service.miscReadNodeFile(0, flag, &text);
            break;
        case 2:
            called = service.miscWriteNodeFile(0, flag == 289 ? 289 : 185, "sr:1", &number);
            break;
        case 3:
            called = service.saveCalibrationData(1000104, {'1', ';', '2'}, 3, &saved);
            break;
        default:
            called = service.initialize(&status);
            break;
    }
}

// Waits until the file has held the marker and stopped growing for a while.
void waitUntilQuiet(const std::string& file, const std::string& marker) {
    const auto deadline = Clock::now() + std::chrono::seconds(10);
    std::string last;
    auto quietSince = Clock::now();
    while (Clock::now() < deadline) {
        std::stringstream content;
        content << std::ifstream(file).rdbuf();
        if (content.str() != last) {
            last = content.str();
            quietSince = Clock::now();
        } else if (last.find(marker) != std::string::npos &&
                   Clock::now() - quietSince > std::chrono::milliseconds(500)) {
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

// Runs a program on the device with its stderr in a file; its resident set once settled.
long settledResidentKiB(const zenth_host::DeviceTree& device, const char* program,
                        const std::string& marker) {
    const std::string log = device.hostPath("/stderr.log");
    const pid_t child = startProgram(program,
                                     {{emulated::kRootEnvironment, device.root()},
                                      {emulated::sleeping::kFastSleepEnvironment, "1"}},
                                     nullptr, log.c_str());
    waitUntilQuiet(log, marker);
    long kib = residentKiB(child);
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
        starts.push_back(startInChild(startDaemonUntilRegistered));
        floors.push_back(startInChild(startFloorUntilRegistered));
    }
    useLogger(Logger::NoOp);
    const double start = median(starts);
    const double floor = median(floors);
    figures.push_back(
            {"Start-up: first log line to registration (seeded device)",
             format("%.2fx the floor", start / floor) + format(" (%.0f us median", start) +
                     format(", floor %.0f us;", floor) + format(" %.0f us max", starts.back()) +
                     format(" of %.0f starts)", kStartupRuns),
             "<= 2 ms", start <= kStartupTargetUs && starts.front() > 0 && floors.front() > 0});
}

void measureMemory(Figures& figures) {
    zenth_host::ScratchDevice device("/dev/shm");
    device.buildSamplePhone();
    useLogger(Logger::NoOp);
    {
        auto service = ndk::SharedRefBase::make<misc::ZenthMisc>();
        long after1k = 0;
        for (int i = 0; i < 100000; ++i) {
            mixedCall(*service, i);
            // The emulation records every fsync for tests; that record is not the daemon's.
            if (i % 1000 == 999) emulated::reset();
            if (i == 999) after1k = residentKiB(getpid());
        }
        const long growth = residentKiB(getpid()) - after1k;
        figures.push_back({"Resident set growth, 1,000 -> 100,000 mixed calls",
                           format("%+.0f KiB", static_cast<double>(growth)), "<= 64 KiB",
                           growth <= kGrowthTargetKiB});
    }
    const long daemon = settledResidentKiB(device, ZENTH_SERVICE_BINARY, "fan rpm_table support");
    const long idle = settledResidentKiB(device, ZENTH_IDLE_BINARY, "idle");
    figures.push_back({"Daemon resident set over an empty program, same libraries",
                       format("%.0f KiB", static_cast<double>(daemon - idle)) +
                               format(" (daemon %.0f KiB", static_cast<double>(daemon)) +
                               format(", empty %.0f KiB)", static_cast<double>(idle)),
                       "<= 1024 KiB",
                       daemon > 0 && idle > 0 && daemon - idle <= kOverheadTargetKiB});
}

}  // namespace bench
