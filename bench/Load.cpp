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

// The load: client processes call the five interface methods through parcels, with valid and
// invalid arguments, while the FPGA driver raises fault values at a steady rate and both
// reporters run; the reference is one client calling the idle daemon. Each run is a child
// process that starts the daemon's entry and holds the clients and the driver as threads of
// processes of their own.

#include <android/binder_manager.h>
#include <sched.h>
#include <zenth_host/EmulatedDevice.h>
#include <zenth_host/FakeStats.h>
#include <zenth_host/binder_host.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <climits>
#include <cstdint>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <zenth_host/DeviceTree.h>
#include <zenth_host/host_log.h>
#include "ChildProcess.h"
#include "Figures.h"
#include "ServiceEntry.h"

namespace bench {

namespace {

using aidl::vendor::zenth::hardware::misc::IZenthMisc;
using aidl::vendor::zenth::hardware::misc::ZenthMiscStatus;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// One call of the mix: a method and its arguments.
struct LoadCall {
    enum Method { Initialize, Support, Read, Write, Save } method;
    int32_t deviceId;
    int32_t flagOrType;
    std::string data;
    int32_t length;  // of the calibration data; -1: its size
};

constexpr int32_t kMotor = 1000030;
constexpr int32_t kTriState = 1000104;
constexpr int32_t kCover = 1000200;

// A third valid; the rest flags outside the table, negative device ids, the reserve partition
// written as a node, texts with NULs, calibration data empty, oversize, of lengths that
// disagree, of unknown types, and a motor record of the wrong size.
const std::vector<LoadCall>& loadCalls() {
    static const std::vector<LoadCall> calls = {
            {LoadCall::Initialize, 0, 0, "", 0},
            {LoadCall::Support, 0, 185, "", 0},
            {LoadCall::Read, 0, 40, "", 0},
            {LoadCall::Read, 0, 288, "", 0},
            {LoadCall::Write, 0, 185, "1", 0},
            {LoadCall::Write, 0, 289, "sr:1", 0},
            {LoadCall::Save, 0, kMotor, std::string(24, '\1'), -1},
            {LoadCall::Save, 0, kTriState, "12;34;56;78", -1},
            {LoadCall::Support, 0, 0, "", 0},
            {LoadCall::Support, -3, 400, "", 0},
            {LoadCall::Read, 0, 1000, "", 0},
            {LoadCall::Read, -7, 289, "", 0},
            {LoadCall::Write, 0, INT_MAX, "sr:1", 0},
            {LoadCall::Write, -2, 185, "1", 0},
            {LoadCall::Write, 0, 288, "1", 0},
            {LoadCall::Write, 0, 289, "xx:1", 0},
            {LoadCall::Write, 0, 185, std::string("1\0zz", 4), 0},
            {LoadCall::Save, 0, kTriState, "", -1},
            {LoadCall::Save, 0, kCover, "123", 4},
            {LoadCall::Save, 0, kCover, std::string(4097, '7'), -1},
            {LoadCall::Save, 0, 0, "abcdefgh", -1},
            {LoadCall::Save, 0, kMotor, std::string(23, '\1'), -1},
    };
    return calls;
}

void make(IZenthMisc& service, const LoadCall& call) {
    int32_t number = 0;
    std::string text;
    bool saved = false;
    ZenthMiscStatus status;
    switch (call.method) {
        case LoadCall::Initialize:
            service.initialize(&status);
            break;
        case LoadCall::Support:
            service.isMiscNodeSupport(call.deviceId, call.flagOrType, &number);
            break;
        case LoadCall::Read:
            service.miscReadNodeFile(call.deviceId, call.flagOrType, &text);
            break;
        case LoadCall::Write:
            service.miscWriteNodeFile(call.deviceId, call.flagOrType, call.data, &number);
            break;
        case LoadCall::Save: {
            const std::vector<uint8_t> bytes(call.data.begin(), call.data.end());
            const auto length = call.length < 0 ? static_cast<int32_t>(bytes.size()) : call.length;
            service.saveCalibrationData(call.flagOrType, bytes, length, &saved);
            break;
        }
    }
}

// The values the FPGA driver raises in turn: counted ones, a fault code, captured and refused
// ones.
constexpr uint64_t kFaultValues[] = {2, 1, 3, 0xAA80000000001234, 5, 0, 4};

// What a run holds: the daemon's clients, its faults and its reporters.
struct LoadSetup {
    int clients;
    int faultIntervalUs;  // 0: no faults
    bool reporters;       // false: they stay in their start-up sleep
    bool oneCpu;
    milliseconds duration;
};

// What a run measured, sent from the child process to the parent.
struct LoadRun {
    long calls;
    double seconds;
    double p50Us;
    double p99Us;
};

// A client process of its own, cycling through the mix from its own starting point and timing
// each call.
void runClient(size_t first, std::vector<uint32_t>* latencies, const std::atomic<bool>* running) {
    zenth_host::OutsideProcess process("client");
    ndk::SpAIBinder binder(AServiceManager_waitForService(serviceInstance().c_str()));
    std::shared_ptr<IZenthMisc> service = IZenthMisc::fromBinder(binder);
    const auto& calls = loadCalls();
    for (size_t next = first % calls.size(); *running; next = (next + 1) % calls.size()) {
        const auto start = Clock::now();
        make(*service, calls[next]);
        latencies->push_back(static_cast<uint32_t>(
                std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now() - start).count()));
    }
}

void raiseFaults(std::chrono::microseconds interval, const std::atomic<bool>* running) {
    zenth_host::OutsideProcess driver("fpga-driver");
    auto next = Clock::now();
    for (size_t n = 0; *running; ++n) {
        emulated::fault_node::injectValue(kFaultValues[n % std::size(kFaultValues)]);
        next += interval;
        std::this_thread::sleep_until(next);
    }
}

// The platform's statistics service, in a process of its own, for the reporters' atoms.
bool startStatsService() {
    zenth_host::OutsideProcess process("stats");
    const std::string instance = zenth_host::FakeStats::instanceName();
    zenth_host::declareInstance(instance);
    auto stats = ndk::SharedRefBase::make<zenth_host::FakeStats>();
    return AServiceManager_addService(stats->asBinder().get(), instance.c_str()) == EX_NONE;
}

double quantileUs(std::vector<uint32_t>& latencies, double q) {
    if (latencies.empty()) return 0;
    const auto rank = latencies.begin() + static_cast<long>(q * (latencies.size() - 1));
    std::nth_element(latencies.begin(), rank, latencies.end());
    return *rank / 1000.0;
}

LoadRun runLoad(const LoadSetup& setup) {
    if (setup.oneCpu) {
        cpu_set_t first;
        CPU_ZERO(&first);
        CPU_SET(0, &first);
        sched_setaffinity(0, sizeof(first), &first);
    }
    emulated::sleeping::setMode(emulated::sleeping::Mode::Held);
    zenth_host::useLogger(zenth_host::Logger::NoOp);
    if (!startStatsService()) return {};
    startDaemon();

    std::atomic<bool> running{true};
    std::vector<std::vector<uint32_t>> latencies(setup.clients);
    std::vector<std::thread> threads;
    const auto start = Clock::now();
    if (setup.reporters) emulated::sleeping::setMode(emulated::sleeping::Mode::Instant);
    for (int i = 0; i < setup.clients; ++i) {
        latencies[i].reserve(setup.duration.count() * 100);
        threads.emplace_back(runClient, i * loadCalls().size() / setup.clients, &latencies[i],
                             &running);
    }
    if (setup.faultIntervalUs > 0) {
        threads.emplace_back(raiseFaults, std::chrono::microseconds(setup.faultIntervalUs),
                             &running);
    }
    std::this_thread::sleep_for(setup.duration);
    running = false;
    for (auto& thread : threads) thread.join();
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();

    std::vector<uint32_t> all;
    for (const auto& client : latencies) all.insert(all.end(), client.begin(), client.end());
    return {static_cast<long>(all.size()), seconds, quantileUs(all, 0.5), quantileUs(all, 0.99)};
}

// Runs the load on the seeded device in a child process; false when it reported nothing.
bool measure(const LoadSetup& setup, LoadRun* run) {
    zenth_host::ScratchDevice device("/dev/shm");
    device.buildSamplePhone();
    return runInChild([&setup] { return runLoad(setup); }, run) && run->calls > 0;
}

// The idle daemon serves one client, with no faults and the reporters asleep, on one CPU:
// across two, each call's hand-over between the client's thread and the daemon's waits for the
// other CPU to wake, which takes 13 to 40 us from run to run.
constexpr LoadSetup kIdle = {1, 0, false, true, milliseconds(1500)};
constexpr LoadSetup kLoaded = {4, 5000, true, false, milliseconds(6000)};

}  // namespace

void measureLoad(Figures& figures) {
    LoadRun idle = {};
    LoadRun loaded = {};
    if (!measure(kIdle, &idle) || !measure(kLoaded, &loaded)) {
        figures.push_back({"Load", "not measured: a run served no call", "completes", false});
        return;
    }
    figures.push_back({"Load: calls served",
                       format("%.0f/s", loaded.calls / loaded.seconds) +
                               format(" (%.0f calls", static_cast<double>(loaded.calls)) +
                               format(" in %.1f s) from", loaded.seconds) +
                               format(" %.0f client processes, with", kLoaded.clients) +
                               format(" %.0f fault values/s and both reporters' passes",
                                      1e6 / kLoaded.faultIntervalUs),
                       "", true});
    const std::pair<const char*, double LoadRun::*> quantiles[] = {{"p50", &LoadRun::p50Us},
                                                                   {"p99", &LoadRun::p99Us}};
    for (const auto& [name, field] : quantiles) {
        figures.push_back({std::string("Load: ") + name + " call latency against an idle daemon",
                           format("%.2fx", loaded.*field / idle.*field) +
                                   format(" (%.1f us", loaded.*field) +
                                   format(", idle %.1f us;", idle.*field) +
                                   format(" idle: one client on one CPU, %.0f calls)",
                                          static_cast<double>(idle.calls)),
                           "", true});
    }
}

}  // namespace bench
