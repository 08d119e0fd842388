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

#pragma once

#include <unistd.h>

#include <cstdint>
#include <memory>
#include <vector>

#include <aidl/android/frameworks/stats/IStats.h>

#include "ReservePartition.h"

namespace aidl::vendor::zenth::hardware::misc {

// A field as text: its 16 bytes and a NUL, for fields that fill all 16 bytes.
using CounterFieldText = char[kCounterFieldSize + 1];

// The reporters wait for the rest of the system to settle before their one pass.
inline constexpr useconds_t kReportDelayUs = 5000000;

// Copies one 16-byte field into `text`, NUL-terminated after at most 16 characters.
void copyCounterField(CounterFieldText& text, const char* field);

// Logs the start message, sleeps the report delay, then checks that `probePath` opens
// read-only. Logs `unsupportedMessage` and returns false when it does not.
bool delayAndProbe(const char* startMessage, const char* probePath, const char* unsupportedMessage);

// Looks the statistics service up without waiting. `declared` is the calling reporter's
// own declared flag: once true, the declaration is not queried again.
std::shared_ptr<::aidl::android::frameworks::stats::IStats> getStatsService(bool* declared);

// Parses "key:number" from one 16-byte field (read never beyond its 16 bytes); the key
// must equal `key` exactly. On failure logs and leaves *value untouched.
bool parseCounterField(const char* field, const char* key, int32_t* value);

// Sends one vendor atom: the leading text (at most 16 characters) as a string, then the
// counters as integers. Logs `failureMessage` when the service does not accept it.
void doReportEvent(const std::shared_ptr<::aidl::android::frameworks::stats::IStats>& stats,
                   int32_t atomId, const char* leadingText, const std::vector<int32_t>& counters,
                   const char* failureMessage);

}  // namespace aidl::vendor::zenth::hardware::misc
