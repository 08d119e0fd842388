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

// The text parsers: counter fields, and fault values through both of their consumers called
// synchronously, over arbitrary operation records.

#include <fuzzer/FuzzedDataProvider.h>
#include <zenth_host/EmulatedDevice.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

#include "FuzzSupport.h"
#include "ReservePartition.h"
#include "StatsClient.h"
#include "ZenthFpgaInternal.h"

namespace {

namespace misc = aidl::vendor::zenth::hardware::misc;

constexpr off_t kRecordOffset = misc::kOpRecordOffset;
constexpr size_t kRecordSize = misc::kOpRecordSize;
constexpr long kMaxCount = 99999999999L;
constexpr size_t kMaxDumps = 10;
constexpr int32_t kUntouched = 0x5eed;

void parseField(FuzzedDataProvider& input) {
    // Exactly 16 bytes on the heap: a read past the field is caught.
    auto field = std::make_unique<char[]>(misc::kCounterFieldSize);
    std::string bytes = input.ConsumeBytesAsString(misc::kCounterFieldSize);
    std::memcpy(field.get(), bytes.data(), bytes.size());
    std::string key = input.ConsumeRandomLengthString(misc::kCounterFieldSize - 1);
    int32_t value = kUntouched;
    if (misc::parseCounterField(field.get(), key.c_str(), &value)) {
        fuzz::require(!key.empty() && std::memcmp(field.get(), key.c_str(), key.size()) == 0 &&
                              field[key.size()] == ':',
                      "a parsed field starts with its key and a colon");
    } else {
        fuzz::require(value == kUntouched, "a failed parse leaves the counter alone");
    }
}

uint64_t pickValue(FuzzedDataProvider& input) {
    switch (input.ConsumeIntegralInRange(0, 2)) {
        case 0:
            return input.ConsumeIntegralInRange<uint64_t>(0, 6);
        case 1:
            return misc::kFaultTag | (input.ConsumeIntegral<uint64_t>() & ~misc::kFaultTagMask);
        default:
            return input.ConsumeIntegral<uint64_t>();
    }
}

size_t dumpsKept() {
    std::error_code error;
    auto entries = std::filesystem::directory_iterator(
            fuzz::phone().device.hostPath(misc::kFpgaLogDir), error);
    return error ? 0 : static_cast<size_t>(std::distance(entries, {}));
}

void faultValue(FuzzedDataProvider& input) {
    fuzz::phone().partition->set(kRecordOffset, input.ConsumeBytesAsString(kRecordSize));
    const uint64_t value = pickValue(input);
    const bool tagged = (value & misc::kFaultTagMask) == misc::kFaultTag;
    const bool counted = value >= 1 && value <= 3;
    fuzz::phone().partition->allow(kRecordOffset, kRecordSize);
    const int recorded = misc::fpgaOpWrite(value);
    fuzz::require(recorded == (counted || tagged ? 0 : -1),
                  "fpgaOpWrite accepts exactly 1, 2, 3 and tagged values");
    fuzz::phone().partition->check();
    if (counted) {
        std::string record = fuzz::phone().device.readPartition(kRecordOffset, kRecordSize);
        const char* count = record.c_str() + misc::kCountFields[value - 1].pos;
        char* end = nullptr;
        long number = std::strtol(count, &end, 10);
        fuzz::require(end != count && *end == '\0' && number >= 0 && number <= kMaxCount,
                      "a count is written as a decimal number up to its saturation");
    }
    const int captured = misc::LogSaveFunc(value);
    const bool kind = value == 2 || value == 3 || value == 5 || tagged;
    fuzz::require(kind || captured == -1, "LogSaveFunc rejects values without an exception kind");
    fuzz::require(dumpsKept() <= kMaxDumps, "retention keeps ten dumps");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider input(data, size);
    if (input.ConsumeBool()) {
        parseField(input);
    } else {
        faultValue(input);
    }
    emulated::reset();  // the emulation's fsync record would grow with every input
    return 0;
}
