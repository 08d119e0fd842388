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
 * Host-only: a statistics service that records the vendor atoms it receives. Register it
 * from an OutsideProcess, under a declared instance: on a device it lives in a process of its
 * own, and the platform's manifest declares it.
 */
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include <aidl/android/frameworks/stats/BnStats.h>

namespace zenth_host {

class FakeStats : public ::aidl::android::frameworks::stats::BnStats {
  public:
    using VendorAtom = ::aidl::android::frameworks::stats::VendorAtom;

    // The descriptor of IStats followed by "/default".
    static std::string instanceName();

    ndk::ScopedAStatus reportVendorAtom(const VendorAtom& in_vendorAtom) override;

    // While printing, each atom is written to stdout as one line.
    void setPrinting(bool printing);

    std::vector<VendorAtom> atoms() const;

  private:
    mutable std::mutex mMutex;
    std::vector<VendorAtom> mAtoms;
    bool mPrinting = false;
};

}  // namespace zenth_host
