#pragma once

#include "ZenthMisc.h"

namespace aidl::vendor::zenth::hardware::misc {

// Motor hall calibration record in the reserve partition: six signed 32-bit
// little-endian values, stored as the client sent them.
inline constexpr int kMotorHallRecordOffsetEmmc = 4303872;  // 0x41AC00
inline constexpr int kMotorHallRecordOffsetUfs = 4407296;   // 0x434000
inline constexpr int kMotorHallRecordValues = 6;
inline constexpr int kMotorHallRecordSize = kMotorHallRecordValues * 4;

inline int motorHallRecordOffset() {
    return gIsEmmcStorage ? kMotorHallRecordOffsetEmmc : kMotorHallRecordOffsetUfs;
}

// Calibration data saved by the store and handed to the drivers at every start.
inline constexpr const char* kTriStateHallDataPath =
        "/mnt/vendor/persist/engineermode/tri_state_hall_data";
inline constexpr const char* kMagneticCoverDataPath =
        "/mnt/vendor/persist/engineermode/magneticCoverCalibrationData";

}  // namespace aidl::vendor::zenth::hardware::misc
