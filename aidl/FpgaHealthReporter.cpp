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

#include <stdio.h>
#include <string.h>

#include <iterator>
#include <vector>

#include <android/log.h>

#include "DetachedThread.h"
#include "NodeInterface.h"
#include "ReservePartition.h"
#include "StatsClient.h"
#include "StatsDeclaredFlags.h"
#include "zenthmisc-impl/ZenthFpga.h"

namespace aidl::vendor::zenth::hardware::misc {

using ::aidl::android::frameworks::stats::IStats;

namespace {

constexpr const char* kFpgaProbePath = "/proc/fpga/status";

// The operation-info block: the leading text, then seven counter fields.
constexpr int kFpgaCounterCount = kFpgaOpInfoFieldCount - 1;
// Counter keys of the fields after the leading text, in atom order.
constexpr const char* kFpgaCounterKeys[kFpgaCounterCount] = {"up", "rb", "i2c", "sr",
                                                             "hr", "ec", "bf"};
constexpr int kRebootCounter = kFpgaRebootField - 1;

constexpr int32_t kFpgaAtomId = 100196;

struct FpgaWorkingCopy {
    CounterFieldText fields[kFpgaOpInfoFieldCount];
    int32_t counters[kFpgaCounterCount];
};

// Reads the block into `copy`; on a failed read `copy` stays all zero.
void readFpgaCounters(FpgaWorkingCopy& copy) {
    char block[kFpgaOpInfoBlock.length] = {};
    if (readInterface(kReservePartitionPath, kFpgaOpInfoOffset, block, kFpgaOpInfoBlock.length) < 0) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "getMessage readInterface %s error",
                            kReservePartitionPath);
        return;
    }
    for (int i = 0; i < kFpgaOpInfoFieldCount; i++) {
        copyCounterField(copy.fields[i], block + i * kCounterFieldSize);
    }
    __android_log_print(ANDROID_LOG_ERROR, nullptr, "%s %s %s %s %s %s %s %s\n", copy.fields[0],
                        copy.fields[1], copy.fields[2], copy.fields[3], copy.fields[4],
                        copy.fields[5], copy.fields[6], copy.fields[7]);
    for (int i = 0; i < kFpgaCounterCount; i++) {
        parseCounterField(copy.fields[i + 1], kFpgaCounterKeys[i], &copy.counters[i]);
    }
}

// Reboots are counted once: the field is reset after every pass, a negative count aside.
void resetRebootCount(int32_t rebootCount) {
    if (rebootCount >= 1) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "reset reboot val\n");
        rebootCount = 0;
    }
    char field[kCounterFieldSize] = {};
    snprintf(field, sizeof(field), "rb:%d", rebootCount);
    writeInterface(kReservePartitionPath, fpgaOpInfoFieldOffset(kFpgaRebootField), field,
                   kCounterFieldSize);
}

void fpgaReportStatsFunc() {
    if (!delayAndProbe("Another thread to delay report fpga info", kFpgaProbePath,
                       "fpga is not support!\n")) {
        return;
    }
    std::shared_ptr<IStats> stats = getStatsService(&gFpgaStatsDeclared);

    FpgaWorkingCopy copy = {};
    readFpgaCounters(copy);

    if (stats == nullptr) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "misc fpga unable to get Stats service");
    } else {
        doReportEvent(stats, kFpgaAtomId, copy.fields[0],
                      std::vector<int32_t>(std::begin(copy.counters), std::end(copy.counters)),
                      "Unable to report fpga info to Stats service");
    }
    resetRebootCount(copy.counters[kRebootCounter]);
}

}  // namespace

bool gFpgaStatsDeclared = false;

void ZenthFpga::fpgaReportStats() {
    startDetachedThread(fpgaReportStatsFunc);
}

}  // namespace aidl::vendor::zenth::hardware::misc
