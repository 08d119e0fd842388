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

// The daemon under load: its own entry runs unchanged as main. Before main this file maps the
// board the benchmark shares and starts the load's harness, which waits for the registration
// and then, on the benchmark's commands, runs client processes that call IZenthMisc through
// parcels and the FPGA driver raising faults at a steady rate, or pauses them until every
// fault raised is handled. The benchmark ends the process with SIGKILL.

#include <android/binder_manager.h>
#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>
#include <zenth_host/EmulatedDevice.h>
#include <zenth_host/binder_host.h>
#include <zenth_host/host_log.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <iterator>
#include <mutex>
#include <string>
#include <thread>

#include <aidl/vendor/zenth/hardware/misc/IZenthMisc.h>

#include "FaultRecord.h"
#include "LoadBoard.h"
#include "LoadCalls.h"
#include "ZenthFpgaInternal.h"
#include "zenth_host/DaemonThreads.h"

namespace bench::load {

namespace {

using aidl::vendor::zenth::hardware::misc::IZenthMisc;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kParkInterval{1};
constexpr std::chrono::seconds kSettleTimeout{20};

const std::string kInstance = std::string(IZenthMisc::descriptor) + "/default";

Board* gBoard = nullptr;
Life* gLife = nullptr;
std::atomic<bool> gRunning{false};
std::atomic<int> gParked{0};
int gLoadThreads = 0;

int64_t nowNs() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch())
            .count();
}

bool waitUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout) {
    const auto deadline = Clock::now() + timeout;
    while (!done()) {
        if (Clock::now() > deadline) return false;
        std::this_thread::sleep_for(kParkInterval);
    }
    return true;
}

// ---- What the daemon's threads did, read from their log lines ----

// What the logging thread was started for, as its first telling line shows.
enum class Role { None, Recording, Capture, FpgaReporter, ExgpioReporter };
thread_local Role tRole = Role::None;
thread_local int64_t tCaptureDecidedNs = 0;

bool startsWith(const char* text, const char* prefix) {
    return std::strncmp(text, prefix, std::strlen(prefix)) == 0;
}

struct RecordState {
    FaultCounts counts;
    uint64_t faultCode;
};
// The record as the last recording wrote it; only touched under the record lock.
RecordState gLastRecord = {};

RecordState recordInPartition() {
    char record[kFaultRecordSize] = {};
    int fd = open(misc::kReservePartitionPath, O_RDONLY);
    if (fd >= 0) {
        ssize_t ignored = pread(fd, record, sizeof(record), kFaultRecordOffset);
        (void)ignored;
        close(fd);
    }
    return {countsInRecord(record), faultCodeInRecord(record)};
}

// On a recording thread, under the record lock, once its write has returned: a count value
// raised its one count by one, a fault code changed the code alone. Anything else, such as a
// count that stayed where it was, is a recording gone wrong.
void noteRecording() {
    const RecordState now = recordInPartition();
    int raisedCount = -1;
    bool garbled = false;
    for (int i = 0; i < static_cast<int>(now.counts.size()); ++i) {
        if (now.counts[i] == gLastRecord.counts[i]) continue;
        garbled |= now.counts[i] != gLastRecord.counts[i] + 1 || raisedCount >= 0;
        raisedCount = i;
    }
    const bool codeChanged = now.faultCode != gLastRecord.faultCode;
    gLastRecord = now;
    if (garbled || codeChanged == (raisedCount >= 0)) {
        ++gLife->misrecorded;
    } else {
        ++gLife->recorded[codeChanged ? kFaultCode : raisedCount];
    }
}

void noteDump(const char* message) {
    const char* mode = std::strstr(message, "_exception_");
    const int slot = gLife->dumpCount.fetch_add(1);
    if (mode == nullptr || slot >= Life::kMaxDumps) return;
    gLife->dumps[slot] = {tCaptureDecidedNs, std::atoi(mode + std::strlen("_exception_"))};
}

// The reporters said what they were before this logger was in place: each is known by the
// first line of its pass after the start-up sleep, and done after its last step.
bool endsReporter(const char* message) {
    if (startsWith(message, "exgpio: ")) {
        tRole = Role::ExgpioReporter;
        return false;
    }
    const bool sent = startsWith(message, "doReportEvent");
    if (tRole == Role::ExgpioReporter) {
        return sent || startsWith(message, "misc exgpio unable");
    }
    if (sent || startsWith(message, "misc fpga unable")) {
        tRole = Role::FpgaReporter;
        return false;
    }
    // The reboot count written back is the FPGA reporter's last step.
    return tRole == Role::FpgaReporter && startsWith(message, "write ");
}

void noteLine(const struct __android_log_message* log_message) {
    const char* message = log_message->message;
    if (startsWith(message, "fpgaOpWrite:")) {
        tRole = Role::Recording;
    } else if (tRole == Role::Recording && startsWith(message, "write ")) {
        noteRecording();
        tRole = Role::None;
    } else if (startsWith(message, "Elapsed time for exception_id")) {
        tRole = Role::Capture;
        tCaptureDecidedNs = nowNs();
        ++gLife->captureDecisions;
    } else if (startsWith(message, "dmesg log saved to")) {
        noteDump(message);
    } else if (endsReporter(message)) {
        ++gLife->reportersDone;
        tRole = Role::None;
    }
}

// ---- The load ----

void parkWhilePaused() {
    if (gRunning) return;
    ++gParked;
    while (!gRunning) std::this_thread::sleep_for(kParkInterval);
    --gParked;
}

void noteWrong(const LoadCall& call) {
    ++(call.valid ? gLife->wrongValid : gLife->wrongInvalid);
    int32_t unnamed = 0;
    if (gBoard->wrongNamed.compare_exchange_strong(unnamed, 1)) {
        std::snprintf(gBoard->firstWrongCall, sizeof(gBoard->firstWrongCall), "%s", call.name);
    }
}

// A client process of its own, cycling through the calls from its own starting point.
void runClient(int index) {
    zenth_host::OutsideProcess process("client");
    ndk::SpAIBinder binder(AServiceManager_waitForService(kInstance.c_str()));
    std::shared_ptr<IZenthMisc> service = IZenthMisc::fromBinder(binder);
    const auto& calls = loadCalls();
    for (size_t next = index * calls.size() / gLife->clients;; next = (next + 1) % calls.size()) {
        parkWhilePaused();
        const LoadCall& call = calls[next];
        const auto start = Clock::now();
        const bool right = call.call(*service);
        gLife->latency.add(static_cast<uint64_t>(
                std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now() - start).count()));
        ++gLife->served;
        if (!call.valid) ++gLife->invalid;
        if (!right) noteWrong(call);
    }
}

// The values the FPGA driver reports, in turn: every kind the daemon records or captures, and
// values both refuse.
struct FaultValue {
    uint64_t value;  // a tagged value's fault code differs from every other one of the run
    int recordedAs;  // RecordedKind, or -1 when the recording refuses it
    bool captured;
};
constexpr FaultValue kFaultCycle[] = {
        {2, kSrCount, true}, {1, kI2cCount, false},
        {3, kHrCount, true}, {misc::kFaultTag, kFaultCode, true},
        {5, -1, true},       {0, -1, false},
        {4, -1, false},
};
constexpr uint64_t kFaultCodeMask = ~misc::kFaultTagMask;

void raiseFaults() {
    zenth_host::OutsideProcess driver("fpga-driver");
    const std::chrono::microseconds interval(gLife->faultIntervalUs);
    auto next = Clock::now();
    for (uint64_t n = 0;; ++n) {
        if (!gRunning) {
            parkWhilePaused();
            next = Clock::now();
        }
        const FaultValue& fault = kFaultCycle[n % std::size(kFaultCycle)];
        const uint64_t code = static_cast<uint64_t>(gBoard->lifeIndex) << 32 | (n + 1);
        const uint64_t value = fault.value == misc::kFaultTag
                                       ? misc::kFaultTag | (code & kFaultCodeMask)
                                       : fault.value;
        // Counted before the node has it: a kill in between leaves it in flight.
        if (fault.recordedAs >= 0) ++gLife->raised[fault.recordedAs];
        if (fault.captured) ++gLife->raisedForCapture;
        emulated::fault_node::injectValue(value);
        next += interval;
        std::this_thread::sleep_until(next);
    }
}

int64_t total(const std::atomic<int64_t> (&counts)[kRecordedKinds]) {
    int64_t sum = 0;
    for (const auto& count : counts) sum += count;
    return sum;
}

// Every fault raised is recorded and its capture decided, and no thread but the parked ones
// is left. Returns why not, or null.
const char* pause() {
    gRunning = false;
    auto handled = [] {
        return total(gLife->recorded) + gLife->misrecorded == total(gLife->raised) &&
               gLife->captureDecisions == gLife->raisedForCapture;
    };
    if (!waitUntil([] { return gParked == gLoadThreads; }, kSettleTimeout)) {
        return "the clients did not pause";
    }
    if (!emulated::fault_node::waitUntilIdle(kSettleTimeout)) {
        return "the watcher did not take every fault value";
    }
    if (!waitUntil(handled, kSettleTimeout)) return "fault values were left unhandled";
    // Idle only once the last recording and capture threads have ended.
    if (!emulated::waitUntilIdle(kSettleTimeout)) return "threads were left working";
    // The resident set sampled now is what the process holds, not what the allocator keeps
    // at hand: the free pages it once touched, a kernel log buffer among them.
    malloc_trim(0);
    const struct mallinfo2 heap = mallinfo2();
    gLife->heapInUse = static_cast<int64_t>(heap.uordblks + heap.hblkhd);
    return nullptr;
}

const char* run() {
    static bool started = false;
    gRunning = true;
    if (started) return nullptr;
    started = true;
    // The reporters leave their start-up sleep.
    emulated::sleeping::setMode(emulated::sleeping::Mode::Instant);
    if (gLife->reportersBeforeClients &&
        !waitUntil([] { return gLife->reportersDone == 2; }, kSettleTimeout)) {
        return "the reporters did not finish";
    }
    for (int i = 0; i < gLife->clients; ++i) std::thread(runClient, i).detach();
    gLoadThreads = gLife->clients;
    if (gLife->faultIntervalUs > 0) {
        std::thread(raiseFaults).detach();
        ++gLoadThreads;
    }
    return nullptr;
}

void runHarness() {
    ndk::SpAIBinder registered(AServiceManager_waitForService(kInstance.c_str()));
    registered.set(nullptr);
    gLastRecord = recordInPartition();
    __android_log_set_logger(noteLine);
    gLife->ready = 1;
    for (uint32_t done = gBoard->reached;;) {
        const uint32_t request = gBoard->requested;
        if (request == done) {
            std::this_thread::sleep_for(kParkInterval);
            continue;
        }
        // A command that fails is never acknowledged: the benchmark names the failure.
        if (const char* failure = commandOf(request) == Command::Run ? run() : pause()) {
            std::snprintf(gBoard->harnessFailure, sizeof(gBoard->harnessFailure), "%s", failure);
            return;
        }
        gBoard->reached = done = request;
    }
}

// Runs before every other initialiser: the reporters' sleep is held from the start.
__attribute__((constructor(101))) void prepareLoad() {
    gBoard = boardFromEnvironment();
    if (gBoard == nullptr) {
        std::fputs("the daemon under load runs from the load benchmark\n", stderr);
        _exit(2);
    }
    gLife = &gBoard->lives[gBoard->lifeIndex];
    emulated::sleeping::setMode(emulated::sleeping::Mode::Held);
}

struct HarnessStarter {
    HarnessStarter() { std::thread(runHarness).detach(); }
};

const HarnessStarter gHarnessStarter;

}  // namespace

}  // namespace bench::load
