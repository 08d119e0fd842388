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
#include <string>
#include <vector>

#include <aidl/vendor/zenth/hardware/misc/BnZenthMisc.h>

namespace aidl::vendor::zenth::hardware::misc {

class ZenthMisc : public BnZenthMisc {
  public:
    ZenthMisc();

    ndk::ScopedAStatus initialize(ZenthMiscStatus* _aidl_return) override;
    ndk::ScopedAStatus isMiscNodeSupport(int32_t in_deviceId, int32_t in_nodeFlag,
                                         int32_t* _aidl_return) override;
    ndk::ScopedAStatus miscReadNodeFile(int32_t in_deviceId, int32_t in_nodeFlag,
                                        std::string* _aidl_return) override;
    ndk::ScopedAStatus miscWriteNodeFile(int32_t in_deviceId, int32_t in_nodeFlag,
                                         const std::string& in_data, int32_t* _aidl_return) override;
    ndk::ScopedAStatus saveCalibrationData(int32_t in_type,
                                           const std::vector<uint8_t>& in_calibrationData,
                                           int32_t in_length, bool* _aidl_return) override;
};

}  // namespace aidl::vendor::zenth::hardware::misc
