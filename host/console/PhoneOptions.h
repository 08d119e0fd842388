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

// Command line of the emulated phone.
#pragma once

#include <string>

namespace zenth_console {

struct PhoneOptions {
    std::string deviceFolder;  // absolute
    bool keepDevice = false;   // a folder named on the command line outlives the run
    std::string logFile;       // absolute; empty: the daemon's log goes to stderr
    bool fastSleep = false;
    std::string scriptFile;  // absolute; empty: commands come from stdin
};

// Usage text, for --help and for a command line that cannot be parsed.
std::string phoneUsage(const std::string& program);

// Parses argv; on failure returns false with *error set. --help sets *error to "" and
// returns false.
bool parsePhoneOptions(int argc, char** argv, const std::string& defaultDeviceFolder,
                       PhoneOptions* options, std::string* error);

}  // namespace zenth_console
