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

#include <cstdint>

namespace aidl::vendor::zenth::hardware::misc {

struct MiscNodeEntry {
    int32_t nodeFlag;
    char path[128];
    int32_t maxLen;
};

inline constexpr int kMiscNodeCount = 102;
extern const MiscNodeEntry gMiscNodeTable[kMiscNodeCount];

// Node flags with handling of their own.
inline constexpr int32_t FPGA_OP_INFO_NODE = 288;
inline constexpr int32_t FPGA_OP_INFO_EN_NODE = 289;

// Maximum lengths of rows 288 and 289. They size the read buffer that
// ZenthFpga::readFpgaOpInfoEn fills with exactly this many bytes of its view.
inline constexpr int32_t kFpgaOpInfoViewLength = 120;
inline constexpr int32_t kFpgaOpInfoEnViewLength = 32;

// Fills *node with the row for nodeFlag (the instance path when deviceId is not 0).
// Returns 0 when found; -1 for an unknown flag (after logging it); the negative
// formatting result when the instance path could not be formed.
int resolveMiscNode(int32_t deviceId, int32_t nodeFlag, MiscNodeEntry* node);

}  // namespace aidl::vendor::zenth::hardware::misc
