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

// A statistics service of the host's own that records what it receives.

#include <zenth_host/FakeStats.h>

#include <cstdio>

namespace zenth_host {

std::string FakeStats::instanceName() {
    return std::string(IStats::descriptor) + "/default";
}

ndk::ScopedAStatus FakeStats::reportVendorAtom(const VendorAtom& in_vendorAtom) {
    std::lock_guard<std::mutex> lock(mMutex);
    mAtoms.push_back(in_vendorAtom);
    if (mPrinting) {
        std::printf("%s\n", in_vendorAtom.toString().c_str());
        std::fflush(stdout);
    }
    return ndk::ScopedAStatus::ok();
}

void FakeStats::setPrinting(bool printing) {
    std::lock_guard<std::mutex> lock(mMutex);
    mPrinting = printing;
}

std::vector<FakeStats::VendorAtom> FakeStats::atoms() const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mAtoms;
}

}  // namespace zenth_host
