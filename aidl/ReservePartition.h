#pragma once

#include <unistd.h>

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

}  // namespace aidl::vendor::zenth::hardware::misc
