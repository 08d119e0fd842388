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

// The fault counts of the FPGA operation record, read back as the recording parses them.

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "ReservePartition.h"

namespace bench {

namespace misc = aidl::vendor::zenth::hardware::misc;

// The record the fault recording rewrites: the i2c, sr, hr and fault code fields.
inline constexpr int kFaultRecordOffset = misc::kOpRecordOffset;
inline constexpr int kFaultRecordSize = misc::kOpRecordSize;

// The i2c, sr and hr counts; each text follows its key and colon.
using FaultCounts = std::array<long, 3>;

inline FaultCounts countsInRecord(const char* record) {
    FaultCounts counts = {};
    for (size_t i = 0; i < counts.size(); ++i) {
        char text[misc::kCounterFieldSize + 1] = {};
        std::memcpy(text, record + misc::kCountFields[i].pos, misc::kCountFields[i].size);
        counts[i] = std::strtol(text, nullptr, 10);
    }
    return counts;
}

// The last fault code recorded: seven bytes after the field's key, big-endian.
inline uint64_t faultCodeInRecord(const char* record) {
    const int start = misc::kFaultCodePos;
    uint64_t code = 0;
    for (int i = 0; i < misc::kFaultCodeSize; ++i) {
        code = code << 8 | static_cast<unsigned char>(record[start + i]);
    }
    return code;
}

}  // namespace bench
