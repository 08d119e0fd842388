#include "ZenthMisc.h"

namespace aidl::vendor::zenth::hardware::misc {

ndk::ScopedAStatus ZenthMisc::saveCalibrationData(int32_t /*in_type*/,
                                                  const std::vector<uint8_t>& /*in_calibrationData*/,
                                                  int32_t /*in_length*/, bool* _aidl_return) {
    *_aidl_return = false;
    return ndk::ScopedAStatus::ok();
}

}  // namespace aidl::vendor::zenth::hardware::misc
