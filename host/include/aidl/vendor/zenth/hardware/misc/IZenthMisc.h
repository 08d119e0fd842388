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

/*
 * Interface IZenthMisc of vendor.zenth.hardware.misc, version 1 (stand-in of the generated header).
 */
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <aidl/vendor/zenth/hardware/misc/ZenthMiscStatus.h>
#include <android/binder_interface_utils.h>

namespace aidl {
namespace vendor {
namespace zenth {
namespace hardware {
namespace misc {

class IZenthMisc : public ::ndk::ICInterface {
  public:
    static const char* descriptor;
    IZenthMisc();
    virtual ~IZenthMisc();

    static inline const int32_t version = 1;
    static inline const std::string hash = "db98348f19ba5d68fd747598945d698054d18a1c";

    static constexpr uint32_t TRANSACTION_initialize = FIRST_CALL_TRANSACTION + 0;
    static constexpr uint32_t TRANSACTION_isMiscNodeSupport = FIRST_CALL_TRANSACTION + 1;
    static constexpr uint32_t TRANSACTION_miscReadNodeFile = FIRST_CALL_TRANSACTION + 2;
    static constexpr uint32_t TRANSACTION_miscWriteNodeFile = FIRST_CALL_TRANSACTION + 3;
    static constexpr uint32_t TRANSACTION_saveCalibrationData = FIRST_CALL_TRANSACTION + 4;

    // The local object for a binder of this process, a BpZenthMisc for a binder of another
    // one; null for no binder or another interface.
    static std::shared_ptr<IZenthMisc> fromBinder(const ::ndk::SpAIBinder& binder);

    virtual ::ndk::ScopedAStatus initialize(
            ::aidl::vendor::zenth::hardware::misc::ZenthMiscStatus* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus isMiscNodeSupport(int32_t in_deviceId, int32_t in_nodeFlag,
                                                   int32_t* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus miscReadNodeFile(int32_t in_deviceId, int32_t in_nodeFlag,
                                                  std::string* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus miscWriteNodeFile(int32_t in_deviceId, int32_t in_nodeFlag,
                                                   const std::string& in_data,
                                                   int32_t* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus saveCalibrationData(int32_t in_type,
                                                     const std::vector<uint8_t>& in_calibrationData,
                                                     int32_t in_length, bool* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus getInterfaceVersion(int32_t* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus getInterfaceHash(std::string* _aidl_return) = 0;
};

}  // namespace misc
}  // namespace hardware
}  // namespace zenth
}  // namespace vendor
}  // namespace aidl
