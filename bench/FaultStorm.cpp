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

// Fault storm: values injected into the fault node of the started daemon as fast as the watcher
// reads them, each recorded and offered to the log capture by threads of its own. The daemon runs
// in a child process, so that the threads and memory measured are its alone. The storm is over
// when the partition holds every count and the process is back to its idle threads.

#include <unistd.h>
#include <zenth_host/EmulatedDevice.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include <zenth_host/DeviceTree.h>
#include <zenth_host/host_log.h>
#include "ChildProcess.h"
#include "Figures.h"
#include "ReservePartition.h"
#include "ServiceEntry.h"

namespace bench {

namespace {

using Clock = std::chrono::steady_clock;
namespace misc = aidl::vendor::zenth::hardware::misc;

constexpr int kEvents = 10000;
constexpr uint64_t kSoftReset = 2;  // counted in the "sr" field
constexpr auto kGiveUp = std::chrono::seconds(120);
constexpr auto kSampling = std::chrono::microseconds(100);
constexpr int kInjectionsPerSample = 100;
constexpr double kTarget = 1.5;

// What one storm measured, sent from the child process to the parent.
struct StormRun {
    bool watching;         // the watcher was waiting on the fault node
    bool finished;         // every count in the partition and the threads back within the time
    double seconds;        // first injected value to the end of the storm
    double injectSeconds;  // first to last injected value
    double drainSeconds;   // last injected value to the last count in the partition
    long idleThreads;      // threads of the started daemon before the storm
    long peakThreads;      // the most seen during the storm, sampled every 0.1 ms
    long idleKiB;          // resident set of the started daemon before the storm
    long peakKiB;          // its peak during the storm
    double floorSeconds;   // 20,000 empty detached threads
};

// Makes VmHWM the resident set of now, so that it reports the peak from here on.
void resetResidentPeak() {
    if (FILE* refs = std::fopen("/proc/self/clear_refs", "w")) {
        std::fputs("5", refs);
        std::fclose(refs);
    }
}

long srCount(const zenth_host::DeviceTree& device) {
    const std::string field = device.readPartition(misc::fpgaOpInfoFieldOffset(misc::kFpgaSrField),
                                                   misc::kCounterFieldSize);
    const char* colon = std::strchr(field.c_str(), ':');
    return colon == nullptr ? -1 : std::strtol(colon + 1, nullptr, 10);
}

double secondsBetween(Clock::time_point from, Clock::time_point to) {
    return std::chrono::duration<double>(to - from).count();
}

double floorSeconds() {
    const auto start = Clock::now();
    for (int i = 0; i < kEvents; ++i) {
        std::thread([] {}).detach();
        std::thread([] {}).detach();
    }
    return secondsBetween(start, Clock::now());
}

// Samples the threads until the last count is in the partition and every consumer has ended.
bool waitForTheEnd(const zenth_host::DeviceTree& device, StormRun* run,
                   Clock::time_point* lastCount) {
    const auto deadline = Clock::now() + kGiveUp;
    bool counted = false;
    for (;;) {
        const long threads = threadsNow();
        run->peakThreads = std::max(run->peakThreads, threads);
        if (!counted && srCount(device) == kEvents) {
            counted = true;
            *lastCount = Clock::now();
        }
        if (counted && threads <= run->idleThreads) return true;
        if (Clock::now() > deadline) return false;
        std::this_thread::sleep_for(kSampling);
    }
}

StormRun runStorm(const zenth_host::DeviceTree& device) {
    StormRun run = {};
    // The reporters stay in their start-up sleep: the storm is the watcher's and its consumers'.
    emulated::sleeping::setMode(emulated::sleeping::Mode::Held);
    zenth_host::useLogger(zenth_host::Logger::NoOp);
    startDaemon();
    run.watching = emulated::fault_node::waitForPollCalls(1, std::chrono::seconds(5));
    if (!run.watching) return run;
    run.idleThreads = run.peakThreads = threadsNow();
    run.idleKiB = processStatus(getpid(), "VmRSS");
    resetResidentPeak();

    const auto start = Clock::now();
    for (int i = 0; i < kEvents; ++i) {
        emulated::fault_node::injectValue(kSoftReset);
        if (i % kInjectionsPerSample == 0)
            run.peakThreads = std::max(run.peakThreads, threadsNow());
    }
    const auto lastInjected = Clock::now();
    Clock::time_point lastCount;
    run.finished = waitForTheEnd(device, &run, &lastCount);
    run.seconds = secondsBetween(start, Clock::now());
    run.injectSeconds = secondsBetween(start, lastInjected);
    run.drainSeconds = secondsBetween(lastInjected, lastCount);
    run.peakKiB = processStatus(getpid(), "VmHWM");
    run.floorSeconds = floorSeconds();
    return run;
}

}  // namespace

void measureFaultStorm(Figures& figures) {
    zenth_host::ScratchDevice device("/dev/shm");
    device.buildSamplePhone();
    device.writePartition(misc::fpgaOpInfoFieldOffset(misc::kFpgaSrField),
                          misc::counterField("sr:0"));
    StormRun run = {};
    if (!runInChild([&device] { return runStorm(device); }, &run) || !run.watching ||
        !run.finished) {
        figures.push_back({"Fault storm", "not measured: no watcher, or not over after 120 s",
                           "<= 1.5x", false});
        return;
    }
    figures.push_back({"Fault storm, 10,000 values: events per second",
                       format("%.0f/s", kEvents / run.seconds) +
                               format(", %.2fx", run.seconds / run.floorSeconds) +
                               format(" the floor (%.0f ms for 20,000 empty threads)",
                                      run.floorSeconds * 1000),
                       "<= 1.5x", run.seconds / run.floorSeconds <= kTarget});
    figures.push_back({"Fault storm: peak live threads of the daemon",
                       format("%.0f", static_cast<double>(run.peakThreads)) +
                               format(" (%.0f when idle, the reporters in their start-up sleep)",
                                      static_cast<double>(run.idleThreads)),
                       "", true});
    figures.push_back({"Fault storm: peak resident set over the idle daemon",
                       format("%+.0f KiB", static_cast<double>(run.peakKiB - run.idleKiB)) +
                               format(" (peak %.0f KiB", static_cast<double>(run.peakKiB)) +
                               format(", idle %.0f KiB)", static_cast<double>(run.idleKiB)),
                       "", true});
    figures.push_back({"Fault storm: last injected value to every count in the partition",
                       format("%.0f ms", run.drainSeconds * 1000) +
                               format(" (injecting them took %.0f ms)", run.injectSeconds * 1000),
                       "", true});
}

}  // namespace bench
