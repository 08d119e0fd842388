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
 * The platform's service fuzzer driver (libbinder_random_parcel, host stand-in): sends a
 * service the transactions that the fuzzer's input describes.
 */
#pragma once

#include <android/binder_ibinder.h>
#include <fuzzer/FuzzedDataProvider.h>

namespace android {

// Takes the input as the platform does, byte for byte: transaction codes, flags and parcels,
// sent to the binder one after another until the input is used up.
void fuzzService(AIBinder* binder, FuzzedDataProvider&& provider);

}  // namespace android
