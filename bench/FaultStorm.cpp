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

// Fault storm: values injected into the fault node of a started daemon as fast as the watcher
// reads them, each recorded and offered to the log capture by threads of its own. The daemon runs
// in a child process, so that the threads and memory measured are its alone.

#include <unistd.h>
#include <zenth_host/EmulatedDevice.h>
#include <zenth_host/host_log.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <zenth_host/DeviceTree.h>
#include "ChildProcess.h"
#include "Figures.h"
#include "ReservePartition.h"
#include "Startup.h"
#include "ZenthFpgaInternal.h"

namespace bench {

using zenth_host::Logger;
using zenth_host::useLogger;

namespace {

using Clock = std::chrono::steady_clock;
namespace misc = aidl::vendor::zenth::hardware::misc;

constexpr int kEvents = 10000;
constexpr uint64_t kSoftReset = 2;  // counted under "sr" and captured as one kind
// The "sr" count's text, after its key.
constexpr off_t kSrCount = misc::fpgaOpInfoFieldOffset(misc::kFpgaSrField) + 3;
constexpr auto kWindow = std::chrono::milliseconds(3000);
constexpr auto kGiveUp = std::chrono::seconds(120);
constexpr auto kSampling = std::chrono::microseconds(100);
constexpr int kInjectionsPerSample = 100;
constexpr double kTarget = 1.5;

// What one storm measured, sent from the child process to the parent.
struct StormRun {
    bool watching;            // the watcher was waiting on the fault node
    bool finished;            // every count written back and every capture decided within the time
    long counted;             // the partition's "sr" count afterwards
    int saved;                // dumps written
    bool withinWindow;        // at most two of them in any 3000 ms
    long kept;                // dumps in the directory afterwards
    double seconds;           // first injected value to the end of the consumers
    double injectSeconds;     // first to last injected value
    double drainSeconds;      // last injected value to the last count written back
    long idleThreads;         // threads of the started daemon before the storm
    long peakThreads;         // the most seen during the storm, sampled every 0.1 ms
    long idleKiB;             // resident set of the started daemon before the storm
    long peakKiB;             // its peak during the storm
    double floorSeconds;      // 20,000 empty detached threads
    double consumersSeconds;  // the consumers' work, one event after another
};

// What the consumers' log lines tell about their progress.
struct Progress {
    std::atomic<int> recorded{0};          // fpgaOpWrite read the record (it writes it back next)
    std::atomic<int> decided{0};           // the capture's time window decided
    std::atomic<Clock::rep> lastWrite{0};  // a record written back
    std::mutex mutex;
    std::vector<Clock::time_point> saved;  // dumps written
} gProgress;

bool startsWith(const char* text, const char* prefix) {
    return std::strncmp(text, prefix, std::strlen(prefix)) == 0;
}

void countLine(const struct __android_log_message* log_message) {
    const char* message = log_message->message;
    if (startsWith(message, "fpgaOpWrite:")) {
        ++gProgress.recorded;
    } else if (startsWith(message, "write ")) {
        // Only the recording threads write through the partition primitive during the storm.
        gProgress.lastWrite = Clock::now().time_since_epoch().count();
    } else if (startsWith(message, "Elapsed time for exception_id")) {
        ++gProgress.decided;
    } else if (startsWith(message, "dmesg log saved to")) {
        std::lock_guard<std::mutex> lock(gProgress.mutex);
        gProgress.saved.push_back(Clock::now());
    }
}

long threadsNow() {
    return processStatus(getpid(), "Threads");
}

// Makes VmHWM the resident set of now, so that it reports the peak from here on.
void resetResidentPeak() {
    if (FILE* refs = std::fopen("/proc/self/clear_refs", "w")) {
        std::fputs("5", refs);
        std::fclose(refs);
    }
}

bool waitForConsumers(long* peakThreads) {
    const auto deadline = Clock::now() + kGiveUp;
    while (gProgress.recorded < kEvents || gProgress.decided < kEvents) {
        if (Clock::now() > deadline) return false;
        *peakThreads = std::max(*peakThreads, threadsNow());
        std::this_thread::sleep_for(kSampling);
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

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

double floorSeconds() {
    const auto start = Clock::now();
    for (int i = 0; i < kEvents; ++i) {
        std::thread([] {}).detach();
        std::thread([] {}).detach();
    }
    return secondsSince(start);
}

// What the consumers must do per event, without the threads: explains the storm's ratio.
double consumersOneByOneSeconds() {
    const auto start = Clock::now();
    for (int i = 0; i < kEvents; ++i) {
        misc::fpgaOpWrite(kSoftReset);
        misc::LogSaveFunc(kSoftReset);
    }
    return secondsSince(start);
}

long dumpsKept(const zenth_host::DeviceTree& device) {
    std::error_code error;
    auto entries = std::filesystem::directory_iterator(device.hostPath(misc::kFpgaLogDir), error);
    return error ? 0 : static_cast<long>(std::distance(entries, {}));
}

// The daemon started as its entry starts it, its reporters done at once: only the main thread and
// the watcher waiting in poll are left.
bool startIdleDaemon() {
    emulated::reset();
    emulated::sleeping::setMode(emulated::sleeping::Mode::Instant);
    useLogger(Logger::NoOp);
    if (startDaemonUntilRegistered() < 0) return false;
    const auto deadline = Clock::now() + std::chrono::seconds(5);
    while (threadsNow() > 2) {
        if (Clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return emulated::fault_node::waitForPollCalls(1, std::chrono::seconds(5));
}

StormRun runStorm(const zenth_host::DeviceTree& device) {
    StormRun run = {};
    run.watching = startIdleDaemon();
    if (!run.watching) return run;
    run.idleThreads = run.peakThreads = threadsNow();
    run.idleKiB = processStatus(getpid(), "VmRSS");
    resetResidentPeak();
    __android_log_set_logger(countLine);

    const auto start = Clock::now();
    for (int i = 0; i < kEvents; ++i) {
        emulated::fault_node::injectValue(kSoftReset);
        if (i % kInjectionsPerSample == 0)
            run.peakThreads = std::max(run.peakThreads, threadsNow());
    }
    const auto lastInjected = Clock::now();
    run.injectSeconds = std::chrono::duration<double>(lastInjected - start).count();
    run.finished = waitForConsumers(&run.peakThreads);
    run.seconds = secondsSince(start);
    run.drainSeconds =
            std::chrono::duration<double>(Clock::time_point(Clock::duration(gProgress.lastWrite)) -
                                          lastInjected)
                    .count();
    run.peakKiB = processStatus(getpid(), "VmHWM");
    emulated::fault_node::injectPollError();
    emulated::fault_node::waitUntilClosed(std::chrono::seconds(5));

    run.counted = std::strtol(device.readPartition(kSrCount, 13).c_str(), nullptr, 10);
    run.kept = dumpsKept(device);
    {
        std::lock_guard<std::mutex> lock(gProgress.mutex);
        run.saved = static_cast<int>(gProgress.saved.size());
        run.withinWindow = withinWindowRule(gProgress.saved);
    }
    run.floorSeconds = floorSeconds();
    useLogger(Logger::NoOp);
    run.consumersSeconds = consumersOneByOneSeconds();
    return run;
}

}  // namespace

void measureFaultStorm(Figures& figures) {
    zenth_host::ScratchDevice device("/dev/shm");
    device.buildSamplePhone();
    // The storm counts from 0.
    device.writePartition(misc::fpgaOpInfoFieldOffset(misc::kFpgaSrField),
                          misc::counterField("sr:0"));
    StormRun run = {};
    if (!runInChild([&device] { return runStorm(device); }, &run) || !run.watching) {
        figures.push_back(
                {"Fault storm", "not measured: no watcher on the fault node", "<= 1.5x", false});
        return;
    }
    const double counted = static_cast<double>(run.counted);
    figures.push_back({"Fault storm, 10,000 values: lost counts",
                       format("%.0f", kEvents - counted) +
                               format(" (partition count %.0f)", counted) +
                               (run.finished ? "" : ", consumers unfinished after 120 s"),
                       "0", run.finished && run.counted == kEvents});
    figures.push_back({"Fault storm: dumps",
                       format("%.0f saved", run.saved) +
                               format(", %.0f kept", static_cast<double>(run.kept)) +
                               format(" in %.2f s", run.seconds),
                       "<= 2 per kind per 3 s", run.saved > 0 && run.withinWindow});
    figures.push_back({"Fault storm: events per second",
                       format("%.0f/s", kEvents / run.seconds) +
                               format(", %.2fx", run.seconds / run.floorSeconds) +
                               format(" the floor (%.0f ms for 20,000 empty threads;",
                                      run.floorSeconds * 1000) +
                               format(" the consumers' work one event after another: %.0f ms)",
                                      run.consumersSeconds * 1000),
                       "<= 1.5x", run.seconds / run.floorSeconds <= kTarget});
    figures.push_back({"Fault storm: peak live threads of the daemon",
                       format("%.0f", static_cast<double>(run.peakThreads)) +
                               format(" (%.0f when idle)", static_cast<double>(run.idleThreads)),
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
