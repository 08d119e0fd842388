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

// Each interface call against its floor: the system calls and log lines the call must make, made
// directly through the same emulated device and the same logger.

#include <android/log.h>
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>
#include <zenth_host/EmulatedDevice.h>

#include <functional>
#include <map>
#include <memory>
#include <string>

#include <zenth_host/DeviceTree.h>
#include <zenth_host/host_log.h>
#include "Figures.h"
#include "MiscLogTag.h"
#include "zenthmisc-impl/ZenthMisc.h"

namespace bench {

using zenth_host::Logger;
using zenth_host::loggerName;
using zenth_host::useLogger;

namespace {

using aidl::vendor::zenth::hardware::misc::kMiscLogTag;
using aidl::vendor::zenth::hardware::misc::ZenthMisc;

constexpr int32_t kFlag = 185;
constexpr const char* kNode = "/sys/class/leds/red/brightness";
constexpr int kNodeSize = 256;
const std::string kData = "1";
constexpr double kTarget = 1.10;

std::shared_ptr<ZenthMisc> gMisc;

void readCall(benchmark::State& state) {
    std::string out;
    for (auto _ : state) {
        benchmark::DoNotOptimize(gMisc->miscReadNodeFile(0, kFlag, &out).isOk());
        benchmark::DoNotOptimize(out.data());
    }
}

void readFloor(benchmark::State& state) {
    char buffer[kNodeSize + 1] = {};
    for (auto _ : state) {
        __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "in_deviceId = %d,in_nodeFlag = %d", 0,
                            kFlag);
        int fd = open(kNode, O_RDONLY);
        lseek(fd, 0, SEEK_SET);
        benchmark::DoNotOptimize(read(fd, buffer, kNodeSize));
        close(fd);
        __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "cb_data = %s", buffer);
    }
}

void supportCall(benchmark::State& state) {
    int32_t result = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(gMisc->isMiscNodeSupport(0, kFlag, &result).isOk());
        benchmark::DoNotOptimize(result);
    }
}

void supportFloor(benchmark::State& state) {
    for (auto _ : state) {
        __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag,
                            "isMiscNodeSupport in_deviceId = %d,in_nodeFlag = %d", 0, kFlag);
        benchmark::DoNotOptimize(access(kNode, F_OK));
    }
}

void writeCall(benchmark::State& state) {
    int32_t result = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(gMisc->miscWriteNodeFile(0, kFlag, kData, &result).isOk());
        benchmark::DoNotOptimize(result);
    }
}

void writeFloor(benchmark::State& state) {
    for (auto _ : state) {
        __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag,
                            "in_deviceId = %d,in_nodeFlag = %d,data = %s,len = %d", 0, kFlag,
                            kData.c_str(), static_cast<int>(kData.size()));
        int fd = open(kNode, O_WRONLY);
        lseek(fd, 0, SEEK_SET);
        ssize_t count = write(fd, kData.data(), kData.size());
        __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "write %d bytes",
                            static_cast<int>(count));
        fsync(fd);
        close(fd);
    }
}

struct Pair {
    const char* name;
    const char* what;
    void (*call)(benchmark::State&);
    void (*floor)(benchmark::State&);
};

constexpr Pair kPairs[] = {
        {"read", "miscReadNodeFile, 256-byte node", readCall, readFloor},
        {"support", "isMiscNodeSupport", supportCall, supportFloor},
        {"write", "miscWriteNodeFile, 1 byte", writeCall, writeFloor},
};

void registerRun(const std::string& name, Logger logger, void (*body)(benchmark::State&)) {
    benchmark::RegisterBenchmark(name.c_str(), [logger, body](benchmark::State& state) {
        useLogger(logger);
        emulated::reset();  // the emulation's fsync record, kept for tests,
                            // stays small
        body(state);
    });
}

// Keeps the median CPU time of each benchmark; prints nothing.
class MedianCollector : public benchmark::BenchmarkReporter {
  public:
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median") {
                medians[run.run_name.function_name] = run.GetAdjustedCPUTime();
            }
        }
    }
    std::map<std::string, double> medians;
};

std::string name(const Pair& pair, const char* side, Logger logger) {
    return std::string(pair.name) + "/" + side + "/" + (logger == Logger::NoOp ? "noop" : "stderr");
}

}  // namespace

void measureCalls(Figures& figures, int argc, char** argv) {
    zenth_host::ScratchDevice device("/dev/shm");
    device.buildSamplePhone();
    device.writeFile(kNode, std::string(kNodeSize, '7'));
    useLogger(Logger::NoOp);
    gMisc = ndk::SharedRefBase::make<ZenthMisc>();

    const Logger loggers[] = {Logger::NoOp, Logger::Stderr};
    for (const Pair& pair : kPairs) {
        for (Logger logger : loggers) {
            registerRun(name(pair, "call", logger), logger, pair.call);
            registerRun(name(pair, "floor", logger), logger, pair.floor);
        }
    }
    benchmark::Initialize(&argc, argv);
    MedianCollector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);
    benchmark::ClearRegisteredBenchmarks();
    useLogger(Logger::NoOp);
    gMisc.reset();

    for (const Pair& pair : kPairs) {
        for (Logger logger : loggers) {
            double call = collector.medians[name(pair, "call", logger)];
            double floor = collector.medians[name(pair, "floor", logger)];
            if (call <= 0 || floor <= 0) continue;
            double ratio = call / floor;
            figures.push_back({std::string(pair.what) + " (" + loggerName(logger) + ")",
                               format("%.2fx", ratio) + format(" (call %.0f ns", call) +
                                       format(", floor %.0f ns)", floor),
                               "<= 1.10x", ratio <= kTarget});
        }
    }
}

}  // namespace bench
