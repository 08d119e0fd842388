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

// Fills *node with the row for nodeFlag (the instance path when deviceId is not 0).
// Returns 0 when found; -1 for an unknown flag (after logging it); the negative
// formatting result when the instance path could not be formed.
int resolveMiscNode(int32_t deviceId, int32_t nodeFlag, MiscNodeEntry* node);

}  // namespace aidl::vendor::zenth::hardware::misc
