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

// The emulated phone as a process of its own: the daemon's entry with its console.

#include <string>
#include <vector>

namespace zenth_test {

struct PhoneRun {
    int status = -1;                 // exit status; 128 + the signal when one ended it
    std::vector<std::string> lines;  // stdout, without the statistics service's atom lines
    std::string log;                 // stderr
};

// Starts the phone on the device folder (seeded when empty) with the script on stdin and
// waits until it ends. `options` follow --device; `environment` ("NAME=value ...") is set for
// the phone alone.
PhoneRun runPhone(const std::string& deviceFolder, const std::string& script,
                  const std::string& options = "", const std::string& environment = "");

// A host file's bytes; "" when it cannot be read.
std::string slurp(const std::string& hostPath);

}  // namespace zenth_test
