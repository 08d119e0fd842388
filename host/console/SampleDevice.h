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

// A realistic sample phone for the emulated device: every node of the node table, the
// reserve partition with its records, persist calibration files and the FPGA fault node.
#pragma once

#include <string>

namespace zenth_console {

// True when the folder does not exist or holds nothing.
bool deviceFolderIsEmpty(const std::string& rootFolder);

// Creates the sample device under rootFolder (which stands for the device's "/"), sets that
// folder as the emulated device's root and boots it.
void seedSampleDevice(const std::string& rootFolder);

}  // namespace zenth_console
