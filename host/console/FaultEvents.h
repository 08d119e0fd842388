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

// FPGA faults on the emulated device: raising one and looking at what the daemon saved.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace zenth_console {

inline constexpr const char* kFaultLogDirectory = "/mnt/vendor/zenthreserve/fpga_save_log";

// Once the daemon is idle, makes the fault node report `value` and waits until the daemon is
// idle again: its watcher took the value and the threads it started for it have ended. False
// with *error otherwise. `registered` is when
// the daemon's service was registered, which comes after the daemon's static initialisation.
bool raiseFault(uint64_t value, std::chrono::steady_clock::time_point registered,
                std::string* error);

// Names of the saved fault logs, sorted; false when the directory does not exist.
bool listFaultLogs(std::vector<std::string>* names);

}  // namespace zenth_console
