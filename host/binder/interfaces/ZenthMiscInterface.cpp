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

// Interface library of vendor.zenth.hardware.misc, version 1.

#include <aidl/vendor/zenth/hardware/misc/BnZenthMisc.h>
#include <aidl/vendor/zenth/hardware/misc/IZenthMisc.h>
#include <aidl/vendor/zenth/hardware/misc/ZenthMiscStatus.h>

#include "LocalInterface.h"

namespace aidl::vendor::zenth::hardware::misc {

namespace {

const AIBinder_Class* zenthMiscClass() {
    static const AIBinder_Class* clazz =
            ::ndk::ICInterface::defineClass(IZenthMisc::descriptor, zenth_host::noTransactions);
    return clazz;
}

}  // namespace

const char* ZenthMiscStatus::descriptor = "vendor.zenth.hardware.misc.ZenthMiscStatus";
const char* IZenthMisc::descriptor = "vendor.zenth.hardware.misc.IZenthMisc";

IZenthMisc::IZenthMisc() {}
IZenthMisc::~IZenthMisc() {}

std::shared_ptr<IZenthMisc> IZenthMisc::fromBinder(const ::ndk::SpAIBinder& binder) {
    return zenth_host::localInterface<IZenthMisc>(binder, zenthMiscClass());
}

BnZenthMisc::BnZenthMisc() {}
BnZenthMisc::~BnZenthMisc() {}

::ndk::ScopedAStatus BnZenthMisc::getInterfaceVersion(int32_t* _aidl_return) {
    *_aidl_return = IZenthMisc::version;
    return ::ndk::ScopedAStatus::ok();
}

::ndk::ScopedAStatus BnZenthMisc::getInterfaceHash(std::string* _aidl_return) {
    *_aidl_return = IZenthMisc::hash;
    return ::ndk::ScopedAStatus::ok();
}

::ndk::SpAIBinder BnZenthMisc::createBinder() {
    return zenth_host::newLocalBinder(zenthMiscClass(), this);
}

}  // namespace aidl::vendor::zenth::hardware::misc
