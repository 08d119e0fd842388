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

// What a run of the load changed on the seeded device beyond what its valid calls, the fault
// recording, the start-up restore and the reporters write.

#include <map>
#include <string>
#include <vector>

#include <zenth_host/DeviceTree.h>

namespace bench {

struct DeviceState {
    std::string partition;
    std::map<std::string, std::string> files;  // device path -> content ("<dir>" for a folder)
};

// The partition and every file but the fault log dumps.
DeviceState deviceState(const zenth_host::DeviceTree& device);

// The changes the load had no business making, each named; empty when there are none.
std::vector<std::string> changesBeyondTheLoad(const DeviceState& before, const DeviceState& after);

}  // namespace bench
