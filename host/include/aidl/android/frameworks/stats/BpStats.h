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
 * Client-side class of IStats for a binder of another process (stand-in of the generated
 * header).
 */
#pragma once

#include <cstdint>
#include <mutex>
#include <string>

#include <aidl/android/frameworks/stats/IStats.h>
#include <android/binder_interface_utils.h>

namespace aidl {
namespace android {
namespace frameworks {
namespace stats {

class BpStats : public ::ndk::BpCInterface<IStats> {
  public:
    explicit BpStats(const ::ndk::SpAIBinder& binder);
    virtual ~BpStats();

    ::ndk::ScopedAStatus reportVendorAtom(
            const ::aidl::android::frameworks::stats::VendorAtom& in_vendorAtom) override;
    ::ndk::ScopedAStatus getInterfaceVersion(int32_t* _aidl_return) override;
    ::ndk::ScopedAStatus getInterfaceHash(std::string* _aidl_return) override;
    int32_t _aidl_cached_version = -1;
    std::string _aidl_cached_hash = "-1";
    std::mutex _aidl_cached_hash_mutex;
};

}  // namespace stats
}  // namespace frameworks
}  // namespace android
}  // namespace aidl
