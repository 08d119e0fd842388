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
#include <filesystem>
#include <fstream>

#include <zenth_host/EmulatedDevice.h>

#include "ConsoleText.h"
#include "ReserveLayout.h"

namespace zenth_console {

namespace {

class Partition {
  public:
    explicit Partition(const std::string& hostPath) : image_(hostPath, std::ios::binary) {}
    bool isOpen() const { return image_.is_open(); }

    std::string read(off_t offset, size_t length) {
        std::string bytes(length, '\0');
        image_.clear();
        image_.seekg(offset);
        image_.read(bytes.data(), static_cast<std::streamsize>(length));
        return bytes;
    }

  private:
    std::ifstream image_;
};

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
    for (size_t offset = 0; offset < kMotorRecordSize; offset += 4) {
        if (offset > 0) values += ',';
        values += std::to_string(int32At(bytes, offset));
    }
    return values;
}

// "ec:" carries the last fault code as raw big-endian bytes, not as text.
std::string faultCodeField(const std::string& bytes) {
    size_t colon = bytes.find(':');
    if (colon == std::string::npos || colon + kFpgaEcCodeSize >= bytes.size()) return text(bytes);
    uint64_t code = 0;
    for (size_t i = 1; i <= kFpgaEcCodeSize; ++i)
        code = (code << 8) | static_cast<uint8_t>(bytes[colon + i]);
    char hex[24];
    std::snprintf(hex, sizeof(hex), "0x%" PRIx64, code);
    return text(bytes.substr(0, colon + 1)) + hex;
}

void printFields(std::ostream& out, Partition& partition, const char* area, off_t base,
                 size_t count) {
    for (size_t index = 0; index < count; ++index) {
        std::string bytes =
                partition.read(base + static_cast<off_t>(index * kFieldSize), kFieldSize);
        bool code = base == kFpgaOpInfoBlock && index == kFpgaEcField;
        out << area << '.' << index << ' ' << (code ? faultCodeField(bytes) : text(bytes)) << '\n';
    }
}

bool isUfs() {
    std::error_code error;
    return std::filesystem::exists(emulated::hostPath(kUfsMarker), error);
}

}  // namespace

bool printReserveRegions(std::ostream& out, std::string* error) {
    Partition partition(emulated::hostPath(kReservePartition));
    if (!partition.isOpen()) {
        *error = "the device has no reserve partition";
        return false;
    }
    const bool ufs = isUfs();
    const StorageOffsets& at = ufs ? kUfsOffsets : kEmmcOffsets;
    out << "storage " << (ufs ? "ufs" : "emmc") << '\n';
    out << "motor " << motorRecord(partition.read(at.motorRecord, kMotorRecordSize)) << '\n';
    out << "fan.id " << text(partition.read(at.fanRegion, kFanIdSize)) << '\n';
    out << "fan.rpm_table "
        << text(partition.read(at.fanRegion + kFanRpmTableOffset, kFanRpmTableSize)) << '\n';
    printFields(out, partition, "fpga", kFpgaOpInfoBlock, kFpgaOpInfoFieldCount);
    printFields(out, partition, "fpga_enable", kFpgaEnableInfoArea, kFpgaEnableInfoFieldCount);
    printFields(out, partition, "exgpio", at.exgpioArea, kExgpioFieldCount);
    return true;
}

}  // namespace zenth_console
