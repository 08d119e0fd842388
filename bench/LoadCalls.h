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

#pragma once

// The calls the clients under load make, valid and invalid, each with the result the service
// owes it, and what the valid ones store (the benchmark checks that nothing else changed).

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <aidl/vendor/zenth/hardware/misc/IZenthMisc.h>

namespace bench::load {

// The node the valid writes write, and what they write there.
inline constexpr int32_t kWrittenNode = 185;
// The motor record and the tri-state data of the valid calibration saves.
inline constexpr int32_t kSavedMotorValues[] = {4, -5, 6, 0, 0, 9};
inline constexpr const char* kSavedTriStateData = "12;34;56;78";
// The enable-info texts of the valid node 289 writes, one to each field.
inline constexpr const char* kEnableSrText = "sr:1";
inline constexpr const char* kEnableHrText = "hr:2";

struct LoadCall {
    const char* name;
    bool valid;
    // Makes the call; true when the status and the result are what the service owes.
    std::function<bool(aidl::vendor::zenth::hardware::misc::IZenthMisc&)> call;
};

const std::vector<LoadCall>& loadCalls();

}  // namespace bench::load
