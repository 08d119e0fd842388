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

// Where the reserve partition keeps its records, as the console seeds and decodes them.
#pragma once

#include <sys/types.h>

#include <cstddef>

namespace zenth_console {

inline constexpr const char* kReservePartition = "/dev/block/by-name/zenthreserve1";
inline constexpr off_t kReservePartitionSize = 6 * 1024 * 1024;
// Its existence marks UFS storage.
inline constexpr const char* kUfsMarker = "dev/block/sda";

// Counter areas are runs of 16-byte text fields.
inline constexpr size_t kFieldSize = 16;

struct StorageOffsets {
    off_t motorRecord;
    off_t fanRegion;
    off_t exgpioArea;
};
inline constexpr StorageOffsets kEmmcOffsets = {4303872, 5107712, 5121024};
inline constexpr StorageOffsets kUfsOffsets = {4407296, 5369856, 5398528};

inline constexpr size_t kMotorRecordSize = 24;  // six int32, little-endian
inline constexpr size_t kFanIdSize = 12;
inline constexpr off_t kFanRpmTableOffset = 64;  // within the fan region
inline constexpr size_t kFanRpmTableSize = 128;
inline constexpr size_t kExgpioFieldCount = 7;

// Same offsets on both storage kinds.
inline constexpr off_t kFpgaOpInfoBlock = 5324800;
inline constexpr size_t kFpgaOpInfoFieldCount = 8;
inline constexpr size_t kFpgaEcField = 6;  // "ec:" followed by a 7-byte big-endian code
inline constexpr size_t kFpgaEcCodeSize = 7;
inline constexpr off_t kFpgaEnableInfoArea = 5325600;
inline constexpr size_t kFpgaEnableInfoFieldCount = 3;

}  // namespace zenth_console
