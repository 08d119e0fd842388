#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <aidl/vendor/zenth/hardware/misc/BnZenthMisc.h>

namespace aidl::vendor::zenth::hardware::misc {

// Log tag of the service object, the entry, the node access and the fan probe.
inline constexpr const char* kMiscLogTag = "vendor.zenth.hardware.ZenthMisc-V1-service";

// Set once by the service object's constructor, before any other thread exists.
extern bool gIsReserveIntegrate;
extern bool gIsEmmcStorage;

class ZenthMisc : public BnZenthMisc {
  public:
    ZenthMisc();

    ndk::ScopedAStatus initialize(ZenthMiscStatus* _aidl_return) override;
    ndk::ScopedAStatus isMiscNodeSupport(int32_t in_deviceId, int32_t in_nodeFlag,
                                         int32_t* _aidl_return) override;
    ndk::ScopedAStatus miscReadNodeFile(int32_t in_deviceId, int32_t in_nodeFlag,
                                        std::string* _aidl_return) override;
    ndk::ScopedAStatus miscWriteNodeFile(int32_t in_deviceId, int32_t in_nodeFlag,
                                         const std::string& in_data,
                                         int32_t* _aidl_return) override;
    ndk::ScopedAStatus saveCalibrationData(int32_t in_type,
                                           const std::vector<uint8_t>& in_calibrationData,
                                           int32_t in_length, bool* _aidl_return) override;
};

}  // namespace aidl::vendor::zenth::hardware::misc
