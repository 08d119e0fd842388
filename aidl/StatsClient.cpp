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

#include "StatsClient.h"

#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <string>

#include <aidl/android/frameworks/stats/VendorAtom.h>
#include <aidl/android/frameworks/stats/VendorAtomValue.h>
#include <android-base/unique_fd.h>
#include <android/binder_manager.h>
#include <android/log.h>

namespace aidl::vendor::zenth::hardware::misc {

using ::aidl::android::frameworks::stats::IStats;
using ::aidl::android::frameworks::stats::VendorAtom;
using ::aidl::android::frameworks::stats::VendorAtomValue;

namespace {

// The vendor's reverse domain, as the atom's own documentation asks.
constexpr const char* kReverseDomainName = "com.zenth";

// "%[^:]:%d" with the key conversion bounded by the 16-byte key buffer.
constexpr const char* kCounterFieldFormat = "%15[^:]:%d";

}  // namespace

void copyCounterField(CounterFieldText& text, const char* field) {
    memcpy(text, field, kCounterFieldSize);
    text[kCounterFieldSize] = '\0';
}

bool delayAndProbe(const char* startMessage, const char* probePath, const char* unsupportedMessage) {
    __android_log_print(ANDROID_LOG_ERROR, nullptr, "%s", startMessage);
    usleep(kReportDelayUs);

    ::android::base::unique_fd probe(open(probePath, O_RDONLY));
    if (!probe.ok()) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "%s", unsupportedMessage);
        return false;
    }
    return true;
}

std::shared_ptr<IStats> getStatsService(bool* declared) {
    const std::string instance = std::string() + IStats::descriptor + "/default";
    if (!*declared) {
        *declared = AServiceManager_isDeclared(instance.c_str());
        if (!*declared) {
            __android_log_print(ANDROID_LOG_ERROR, nullptr, "Stats service is not registered.");
            return nullptr;
        }
    }
    // checkService, not waitForService: the reporter must not stall when the service is
    // declared but not up yet. The holder adopts the reference the service manager handed
    // out and gives it back (AIBinder_decStrong) once fromBinder holds its own.
    ndk::SpAIBinder binder(AServiceManager_checkService(instance.c_str()));
    return IStats::fromBinder(binder);
}

bool parseCounterField(const char* field, const char* key, int32_t* value) {
    CounterFieldText text;
    copyCounterField(text, field);

    // The format's width keeps the key and its terminator within the buffer.
    char parsedKey[kCounterFieldSize] = {};
    int number = 0;
    if (sscanf(text, kCounterFieldFormat, parsedKey, &number) != 2) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "parse value failed\n");
        return false;
    }
    if (strcmp(parsedKey, key) != 0) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "parse %s value failed\n", key);
        return false;
    }
    *value = number;
    return true;
}

void doReportEvent(const std::shared_ptr<IStats>& stats, int32_t atomId, const char* leadingText,
                   const std::vector<int32_t>& counters, const char* failureMessage) {
    __android_log_print(ANDROID_LOG_DEBUG, nullptr, "doReportEvent\n");

    std::vector<VendorAtomValue> values;
    values.push_back(VendorAtomValue::make<VendorAtomValue::stringValue>(
            std::string(leadingText, strnlen(leadingText, kCounterFieldSize))));
    for (int32_t counter : counters) {
        values.push_back(VendorAtomValue::make<VendorAtomValue::intValue>(counter));
    }

    VendorAtom atom;
    atom.reverseDomainName = kReverseDomainName;
    atom.atomId = atomId;
    atom.values = std::move(values);

    // Not OK either when the service returned no status object.
    ndk::ScopedAStatus status = stats->reportVendorAtom(atom);
    if (!status.isOk()) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "%s", failureMessage);
    }
}

}  // namespace aidl::vendor::zenth::hardware::misc
