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
 * Parcelable ZenthMiscStatus of vendor.zenth.hardware.misc (stand-in of the generated header).
 */
#pragma once

#include <android/binder_parcel.h>

#include <cstdint>
#include <string>
#include <tuple>
#include <type_traits>

namespace aidl {
namespace vendor {
namespace zenth {
namespace hardware {
namespace misc {

class ZenthMiscStatus {
  public:
    typedef std::false_type fixed_size;
    static const char* descriptor;

    binder_status_t readFromParcel(const AParcel* _aidl_parcel);
    binder_status_t writeToParcel(AParcel* _aidl_parcel) const;

    int32_t status = 0;

    inline bool operator==(const ZenthMiscStatus& _rhs) const {
        return std::tie(status) == std::tie(_rhs.status);
    }
    inline bool operator!=(const ZenthMiscStatus& _rhs) const { return !(*this == _rhs); }
    inline bool operator<(const ZenthMiscStatus& _rhs) const {
        return std::tie(status) < std::tie(_rhs.status);
    }

    inline std::string toString() const {
        return "ZenthMiscStatus{status: " + std::to_string(status) + "}";
    }
};

}  // namespace misc
}  // namespace hardware
}  // namespace zenth
}  // namespace vendor
}  // namespace aidl
