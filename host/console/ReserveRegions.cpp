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

#include "ReserveRegions.h"

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include <zenth_host/DeviceTree.h>
#include <zenth_host/EmulatedDevice.h>

#include "ConsoleText.h"
#include "ReservePartition.h"

namespace zenth_console {

namespace {

namespace misc = aidl::vendor::zenth::hardware::misc;

// Past the image's end a record reads as zeros.
std::string read(const zenth_host::DeviceTree& partition, int offset, int length) {
    std::string bytes = partition.readPartition(offset, static_cast<size_t>(length));
    bytes.resize(static_cast<size_t>(length), '\0');
    return bytes;
}

// A text field: up to its first NUL, escaped.
std::string text(const std::string& bytes) {
    return escapeText(bytes.substr(0, bytes.find('\0')));
}

int32_t int32At(const std::string& bytes, size_t offset) {
    uint32_t value = 0;
    for (int i = 3; i >= 0; --i) value = (value << 8) | static_cast<uint8_t>(bytes[offset + i]);
    return static_cast<int32_t>(value);
}

std::string motorRecord(const std::string& bytes) {
    std::string values;
    for (int index = 0; index < misc::kMotorHallRecordValues; ++index) {
        if (index > 0) values += ',';
        values += std::to_string(int32At(bytes, index * sizeof(int32_t)));
    }
    return values;
}

// "ec:" carries the last fault code as raw big-endian bytes, not as text.
std::string faultCodeField(const std::string& bytes) {
    size_t colon = bytes.find(':');
    const size_t codeSize = misc::kFaultCodeSize;
    if (colon == std::string::npos || colon + codeSize >= bytes.size()) return text(bytes);
    uint64_t code = 0;
    for (size_t i = 1; i <= codeSize; ++i)
        code = (code << 8) | static_cast<uint8_t>(bytes[colon + i]);
    char hex[24];
    std::snprintf(hex, sizeof(hex), "0x%" PRIx64, code);
    return text(bytes.substr(0, colon + 1)) + hex;
}

void printFields(std::ostream& out, const zenth_host::DeviceTree& partition, const char* area,
                 int base, int count) {
    for (int index = 0; index < count; ++index) {
        std::string bytes =
                read(partition, base + index * misc::kCounterFieldSize, misc::kCounterFieldSize);
        bool code = base == misc::kFpgaOpInfoOffset && index == misc::kFpgaFaultCodeField;
        out << area << '.' << index << ' ' << (code ? faultCodeField(bytes) : text(bytes)) << '\n';
    }
}

}  // namespace

bool printReserveRegions(std::ostream& out, std::string* error) {
    const zenth_host::DeviceTree partition(emulated::root());
    if (!partition.exists(misc::kReservePartitionPath)) {
        *error = "the device has no reserve partition";
        return false;
    }
    const bool emmc = !partition.exists(misc::kUfsBlockDevicePath);
    const int motor = misc::kMotorHallRecord.offset(emmc);
    const int fan = misc::kFanIdentityRegion.offset(emmc);
    out << "storage " << (emmc ? "emmc" : "ufs") << '\n';
    out << "motor " << motorRecord(read(partition, motor, misc::kMotorHallRecord.length)) << '\n';
    out << "fan.id " << text(read(partition, fan, misc::kFanHardwareIdLength)) << '\n';
    out << "fan.rpm_table "
        << text(read(partition, fan + misc::kFanRpmTableOffset, misc::kFanRpmTableLength)) << '\n';
    printFields(out, partition, "fpga", misc::kFpgaOpInfoOffset, misc::kFpgaOpInfoFieldCount);
    printFields(out, partition, "fpga_enable", misc::kFpgaEnableInfoOffset,
                misc::kFpgaEnableInfoFieldCount);
    printFields(out, partition, "exgpio", misc::kExgpioCounterArea.offset(emmc),
                misc::kExgpioFieldCount);
    return true;
}

}  // namespace zenth_console
