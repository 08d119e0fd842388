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

#include "zenthmisc-impl/ZenthExgpio.h"

#include <stdio.h>

#include <android/log.h>

#include "DetachedThread.h"
#include "NodeInterface.h"
#include "ReservePartition.h"
#include "StatsClient.h"
#include "StatsDeclaredFlags.h"

namespace aidl::vendor::zenth::hardware::misc {

using ::aidl::android::frameworks::stats::IStats;

namespace {

constexpr const char* kExgpioProbePath = "/sys/class/ex_gpio/chipid";

using namespace exgpio;

constexpr int32_t kExgpioAtomId = 100272;

struct ExgpioWorkingCopy {
    CounterFieldText fields[kExgpioFieldCount];
    int32_t counters[kExgpioFieldCount];
};

void parseExgpioFields(const char* area, ExgpioWorkingCopy& copy) {
    constexpr struct {
        exgpio::Field field;
        const char* key;
    } kParsed[] = {{kI2c, "i2c"}, {kRs, "rs"}, {kPw, "pw"}, {kPrevI2c, "pi2c"}, {kPrevRs, "prs"}};

    for (exgpio::Field field : {kLeading, kI2c, kRs, kPw, kPrevI2c, kPrevRs}) {
        copyCounterField(copy.fields[field], area + field * kCounterFieldSize);
    }
    __android_log_print(ANDROID_LOG_ERROR, nullptr, "exgpio: %s %s %s %s %s %s\n",
                        copy.fields[kLeading], copy.fields[kI2c], copy.fields[kRs],
                        copy.fields[kPw], copy.fields[kPrevI2c], copy.fields[kPrevRs]);
    for (const auto& parsed : kParsed) {
        parseCounterField(copy.fields[parsed.field], parsed.key, &copy.counters[parsed.field]);
    }
}

// The current counts become the previous ones of the next start; the bytes after each
// new text's NUL keep what was read.
void storePreviousCounts(int base, ExgpioWorkingCopy& copy) {
    snprintf(copy.fields[kPrevI2c], kCounterFieldSize, "pi2c:%d", copy.counters[kI2c]);
    snprintf(copy.fields[kPrevRs], kCounterFieldSize, "prs:%d", copy.counters[kRs]);

    int count = writeInterface(kReservePartitionPath, base + kPrevI2c * kCounterFieldSize,
                               copy.fields[kPrevI2c], kCounterFieldSize);
    count += writeInterface(kReservePartitionPath, base + kPrevRs * kCounterFieldSize,
                            copy.fields[kPrevRs], kCounterFieldSize);
    if (count != 2 * kCounterFieldSize) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr,
                            "update prev exgpio reserve info failed, count = %d\n", count);
    }
}

void updateExgpioCounters(bool partitionExists, int base, ExgpioWorkingCopy& copy) {
    if (!partitionExists) {
        return;
    }
    char area[kExgpioCounterArea.length] = {};
    if (readInterface(kReservePartitionPath, base, area, kExgpioCounterArea.length) < 1) {
        return;
    }
    parseExgpioFields(area, copy);
    storePreviousCounts(base, copy);
}

void exgpioReportStatsFunc() {
    if (!delayAndProbe("Another thread to delay report exgpio info", kExgpioProbePath,
                       "exgpio is not support!\n")) {
        return;
    }
    std::shared_ptr<IStats> stats = getStatsService(&gExgpioStatsDeclared);

    bool partitionExists = reservePartitionExists();
    int base = kExgpioCounterArea.offset(storageIsEmmc());

    ExgpioWorkingCopy copy = {};
    updateExgpioCounters(partitionExists, base, copy);

    const int32_t* counters = copy.counters;
    if (stats == nullptr ||
        (counters[kPrevI2c] == counters[kI2c] && counters[kPrevRs] == counters[kRs])) {
        __android_log_print(
                ANDROID_LOG_ERROR, nullptr,
                "misc exgpio unable to get Stats service or error count is not changed.");
        return;
    }
    doReportEvent(stats, kExgpioAtomId, copy.fields[kLeading],
                  {counters[kI2c], counters[kRs], counters[kPw]},
                  "Unable to report exgpio info to Stats service");
}

}  // namespace

bool gExgpioStatsDeclared = false;

ZenthExgpio::ZenthExgpio() {
    __android_log_print(ANDROID_LOG_DEBUG, nullptr, "ZenthExgpio::ZenthExgpio\n");
}

ZenthExgpio::~ZenthExgpio() {
    __android_log_print(ANDROID_LOG_DEBUG, nullptr, "ZenthExgpio::~ZenthExgpio\n");
}

void ZenthExgpio::exgpioReportStats() {
    startDetachedThread(exgpioReportStatsFunc);
}

}  // namespace aidl::vendor::zenth::hardware::misc
