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
 * Parcelable VendorAtom of android.frameworks.stats, version 1 (stand-in of the generated header).
 */
#pragma once

#include <android/binder_parcel.h>

#include <cstdint>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include <aidl/android/frameworks/stats/VendorAtomValue.h>

namespace aidl {
namespace android {
namespace frameworks {
namespace stats {

class VendorAtom {
  public:
    typedef std::false_type fixed_size;
    static const char* descriptor;

    binder_status_t readFromParcel(const AParcel* _aidl_parcel);
    binder_status_t writeToParcel(AParcel* _aidl_parcel) const;

    std::string reverseDomainName;
    int32_t atomId = 0;
    std::vector<::aidl::android::frameworks::stats::VendorAtomValue> values;

    inline bool operator==(const VendorAtom& _rhs) const {
        return std::tie(reverseDomainName, atomId, values) ==
               std::tie(_rhs.reverseDomainName, _rhs.atomId, _rhs.values);
    }
    inline bool operator!=(const VendorAtom& _rhs) const { return !(*this == _rhs); }
    inline bool operator<(const VendorAtom& _rhs) const {
        return std::tie(reverseDomainName, atomId, values) <
               std::tie(_rhs.reverseDomainName, _rhs.atomId, _rhs.values);
    }

    std::string toString() const;
};

}  // namespace stats
}  // namespace frameworks
}  // namespace android
}  // namespace aidl
