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

// Interface library of android.frameworks.stats, version 1.

#include <aidl/android/frameworks/stats/BnStats.h>
#include <aidl/android/frameworks/stats/IStats.h>
#include <aidl/android/frameworks/stats/VendorAtom.h>
#include <aidl/android/frameworks/stats/VendorAtomValue.h>

#include <sstream>

#include "LocalInterface.h"

namespace aidl::android::frameworks::stats {

namespace {

const AIBinder_Class* statsClass() {
    static const AIBinder_Class* clazz =
            ::ndk::ICInterface::defineClass(IStats::descriptor, zenth_host::noTransactions);
    return clazz;
}

}  // namespace

const char* VendorAtomValue::descriptor = "android.frameworks.stats.VendorAtomValue";
const char* VendorAtom::descriptor = "android.frameworks.stats.VendorAtom";
const char* IStats::descriptor = "android.frameworks.stats.IStats";

std::string VendorAtomValue::toString() const {
    std::ostringstream os;
    os << "VendorAtomValue{";
    switch (getTag()) {
        case intValue:
            os << "intValue: " << get<intValue>();
            break;
        case longValue:
            os << "longValue: " << get<longValue>();
            break;
        case floatValue:
            os << "floatValue: " << get<floatValue>();
            break;
        case stringValue:
            os << "stringValue: " << get<stringValue>();
            break;
    }
    os << "}";
    return os.str();
}

std::string VendorAtom::toString() const {
    std::ostringstream os;
    os << "VendorAtom{reverseDomainName: " << reverseDomainName << ", atomId: " << atomId
       << ", values: [";
    for (size_t i = 0; i < values.size(); ++i) os << (i == 0 ? "" : ", ") << values[i].toString();
    os << "]}";
    return os.str();
}

IStats::IStats() {}
IStats::~IStats() {}

std::shared_ptr<IStats> IStats::fromBinder(const ::ndk::SpAIBinder& binder) {
    return zenth_host::localInterface<IStats>(binder, statsClass());
}

BnStats::BnStats() {}
BnStats::~BnStats() {}

::ndk::ScopedAStatus BnStats::getInterfaceVersion(int32_t* _aidl_return) {
    *_aidl_return = IStats::version;
    return ::ndk::ScopedAStatus::ok();
}

::ndk::ScopedAStatus BnStats::getInterfaceHash(std::string* _aidl_return) {
    *_aidl_return = IStats::hash;
    return ::ndk::ScopedAStatus::ok();
}

::ndk::SpAIBinder BnStats::createBinder() {
    return zenth_host::newLocalBinder(statsClass(), this);
}

}  // namespace aidl::android::frameworks::stats
