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

// Sends the service what a client could: arbitrary transactions, flags and parcels.

#include <android/binder_interface_utils.h>
#include <fuzzbinder/libbinder_ndk_driver.h>
#include <fuzzer/FuzzedDataProvider.h>

#include "zenthmisc-impl/ZenthMisc.h"

using aidl::vendor::zenth::hardware::misc::ZenthMisc;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::shared_ptr<ZenthMisc> service = ndk::SharedRefBase::make<ZenthMisc>();
    android::fuzzService(service->asBinder().get(), FuzzedDataProvider(data, size));
    return 0;
}
