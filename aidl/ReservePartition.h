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

// The reserve partition: where it is, which storage kind lays it out, and its regions.
#pragma once

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace aidl::vendor::zenth::hardware::misc {

inline constexpr const char* kReservePartitionPath = "/dev/block/by-name/zenthreserve1";
// Relative on purpose: the storage test resolves it against the working directory.
inline constexpr const char* kUfsBlockDevicePath = "dev/block/sda";

inline bool reservePartitionExists() {
    return access(kReservePartitionPath, F_OK) == 0;
}

inline bool storageIsEmmc() {
    return access(kUfsBlockDevicePath, F_OK) != 0;
}

// Set once by the service object's constructor, before any other thread exists.
extern bool gIsReserveIntegrate;
extern bool gIsEmmcStorage;

// One region: its byte offset on an eMMC and on a UFS device, and its length.
struct ReserveRegion {
    int emmcOffset;
    int ufsOffset;
    int length;

    constexpr int offset(bool isEmmc) const { return isEmmc ? emmcOffset : ufsOffset; }
};

// {offset on eMMC, offset on UFS, length}, with the offsets in decimal after each.
inline constexpr ReserveRegion kMotorHallRecord = {0x41AC00, 0x434000, 24};     // 4303872, 4407296
inline constexpr ReserveRegion kFanIdentityRegion = {0x4DF000, 0x51F000, 192};  // 5107712, 5369856
inline constexpr ReserveRegion kExgpioCounterArea = {0x4E2400, 0x526000, 112};  // 5121024, 5398528
inline constexpr ReserveRegion kFpgaOpInfoBlock = {0x514000, 0x514000, 128};    // 5324800
inline constexpr ReserveRegion kFpgaEnableInfoArea = {0x514320, 0x514320, 48};  // 5325600

inline constexpr ReserveRegion kReserveRegions[] = {kMotorHallRecord, kFanIdentityRegion,
                                                    kExgpioCounterArea, kFpgaOpInfoBlock,
                                                    kFpgaEnableInfoArea};

constexpr bool regionsApart(const ReserveRegion& a, const ReserveRegion& b, bool isEmmc) {
    return a.offset(isEmmc) + a.length <= b.offset(isEmmc) ||
           b.offset(isEmmc) + b.length <= a.offset(isEmmc);
}

// Threads meet in the partition without a lock: no two regions may share a byte.
constexpr bool reserveRegionsAreDisjoint() {
    constexpr int count = sizeof(kReserveRegions) / sizeof(kReserveRegions[0]);
    for (int i = 0; i < count; ++i) {
        for (int j = i + 1; j < count; ++j) {
            const ReserveRegion& a = kReserveRegions[i];
            const ReserveRegion& b = kReserveRegions[j];
            if (!regionsApart(a, b, true) || !regionsApart(a, b, false)) return false;
        }
    }
    return true;
}
static_assert(reserveRegionsAreDisjoint());

// The image the factory makes holds every region on both storage kinds.
inline constexpr int kReservePartitionSize = 6 * 1024 * 1024;

constexpr bool reserveRegionsFit() {
    for (const ReserveRegion& region : kReserveRegions) {
        if (region.emmcOffset + region.length > kReservePartitionSize ||
            region.ufsOffset + region.length > kReservePartitionSize) {
            return false;
        }
    }
    return true;
}
static_assert(reserveRegionsFit());

// The FPGA regions lie at the same offset on both storage kinds.
inline constexpr int kFpgaOpInfoOffset = kFpgaOpInfoBlock.emmcOffset;
inline constexpr int kFpgaEnableInfoOffset = kFpgaEnableInfoArea.emmcOffset;
static_assert(kFpgaOpInfoBlock.ufsOffset == kFpgaOpInfoOffset);
static_assert(kFpgaEnableInfoArea.ufsOffset == kFpgaEnableInfoOffset);

// The counter areas and the FPGA regions are runs of 16-byte text fields.
inline constexpr int kCounterFieldSize = 16;
inline constexpr int kExgpioFieldCount = kExgpioCounterArea.length / kCounterFieldSize;
inline constexpr int kFpgaOpInfoFieldCount = kFpgaOpInfoBlock.length / kCounterFieldSize;
inline constexpr int kFpgaEnableInfoFieldCount = kFpgaEnableInfoArea.length / kCounterFieldSize;
static_assert(kExgpioCounterArea.length % kCounterFieldSize == 0);
static_assert(kFpgaOpInfoBlock.length % kCounterFieldSize == 0);
static_assert(kFpgaEnableInfoArea.length % kCounterFieldSize == 0);

// A counter field as the partition holds it: the text, then NUL bytes up to the field's end.
inline std::string counterField(const std::string& text) {
    std::string bytes = text.substr(0, kCounterFieldSize);
    bytes.resize(kCounterFieldSize, '\0');
    return bytes;
}

// Motor hall calibration record: signed 32-bit little-endian values, as the client sent them.
inline constexpr int kMotorHallRecordValues =
        kMotorHallRecord.length / static_cast<int>(sizeof(int32_t));

// Fan identity region: the hardware id at its start, the RPM table text further in.
inline constexpr int kFanHardwareIdLength = 12;
inline constexpr int kFanRpmTableOffset = 64;
inline constexpr int kFanRpmTableLength = 128;
static_assert(kFanRpmTableOffset + kFanRpmTableLength == kFanIdentityRegion.length);

// Fields of the FPGA operation-info block. The fault recording rewrites the fields from
// kFpgaI2cField to kFpgaFaultCodeField as one record; the FPGA reporter rewrites
// kFpgaRebootField.
enum FpgaOpInfoField {
    kFpgaLeadingField,
    kFpgaUpField,
    kFpgaRebootField,
    kFpgaI2cField,
    kFpgaSrField,
    kFpgaHrField,
    kFpgaFaultCodeField,
    kFpgaBfField,
};
static_assert(kFpgaBfField + 1 == kFpgaOpInfoFieldCount);

constexpr int fpgaOpInfoFieldOffset(int field) {
    return kFpgaOpInfoOffset + field * kCounterFieldSize;
}

// Operation record: the fields from "i2c" to "ec", read and written back as one unit.
inline constexpr int kOpRecordOffset = fpgaOpInfoFieldOffset(kFpgaI2cField);
inline constexpr int kOpRecordSize = (kFpgaFaultCodeField - kFpgaI2cField + 1) * kCounterFieldSize;

// A count's text in the record: after its field's key, up to the field's end.
struct CountField {
    size_t pos;
    size_t size;
};

constexpr CountField countAfterKey(FpgaOpInfoField field, size_t keyLength) {
    return {(field - kFpgaI2cField) * kCounterFieldSize + keyLength, kCounterFieldSize - keyLength};
}

// Position of the count for fault values 1, 2 and 3 ("i2c", "sr", "hr").
inline constexpr CountField kCountFields[] = {countAfterKey(kFpgaI2cField, 4),
                                              countAfterKey(kFpgaSrField, 3),
                                              countAfterKey(kFpgaHrField, 3)};

// The fault code field holds its key "ec:", then the code as raw big-endian bytes.
inline constexpr int kFaultCodeKeyLength = 3;
inline constexpr int kFaultCodeSize = 7;
inline constexpr int kFaultCodePos =
        fpgaOpInfoFieldOffset(kFpgaFaultCodeField) - kOpRecordOffset + kFaultCodeKeyLength;

// Fields of the expander GPIO counter area; field 4 belongs to someone else and is left alone.
// The reporter rewrites the previous counts, kPrevI2c and kPrevRs.
namespace exgpio {
enum Field { kLeading, kI2c, kRs, kPw, kPrevI2c = 5, kPrevRs = 6 };
}  // namespace exgpio
static_assert(exgpio::kPrevRs + 1 == kExgpioFieldCount);

}  // namespace aidl::vendor::zenth::hardware::misc
