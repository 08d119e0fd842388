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
 * Interface IStats of android.frameworks.stats, version 1 (stand-in of the generated header).
 */
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include <aidl/android/frameworks/stats/VendorAtom.h>
#include <android/binder_interface_utils.h>

namespace aidl {
namespace android {
namespace frameworks {
namespace stats {

class IStats : public ::ndk::ICInterface {
  public:
    static const char* descriptor;
    IStats();
    virtual ~IStats();

    static inline const int32_t version = 1;
    static inline const std::string hash = "ee0b303cae7889e83a6a198c9b33781ad74ae633";

    static constexpr uint32_t TRANSACTION_reportVendorAtom = FIRST_CALL_TRANSACTION + 0;

    // The local object for a binder of this process, a BpStats for a binder of another one;
    // null for no binder or another interface.
    static std::shared_ptr<IStats> fromBinder(const ::ndk::SpAIBinder& binder);

    // oneway: the status tells only whether the atom could be sent.
    virtual ::ndk::ScopedAStatus reportVendorAtom(
            const ::aidl::android::frameworks::stats::VendorAtom& in_vendorAtom) = 0;
    virtual ::ndk::ScopedAStatus getInterfaceVersion(int32_t* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus getInterfaceHash(std::string* _aidl_return) = 0;
};

}  // namespace stats
}  // namespace frameworks
}  // namespace android
}  // namespace aidl
