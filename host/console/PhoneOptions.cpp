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

#include "PhoneOptions.h"

#include <filesystem>

namespace zenth_console {

namespace {

// Relative paths would otherwise resolve inside the emulated device's root.
std::string absolute(const std::string& path) {
    return std::filesystem::absolute(path).lexically_normal().string();
}

}  // namespace

std::string phoneUsage(const std::string& program) {
    return "usage: " + program +
           " [--device DIR] [--log FILE] [--fast-sleep] [SCRIPT]\n"
           "  --device DIR   keep the emulated device in DIR across runs (seeded when new or\n"
           "                 empty); without it a fresh sample device is made for every run\n"
           "  --log FILE     write the daemon's log to FILE instead of stderr\n"
           "  --fast-sleep   let usleep return at once (the reporters then report at start\n"
           "                 instead of 5 s later)\n"
           "  SCRIPT         read console commands from SCRIPT instead of stdin\n";
}

bool parsePhoneOptions(int argc, char** argv, const std::string& defaultDeviceFolder,
                       PhoneOptions* options, std::string* error) {
    *options = PhoneOptions{};
    options->deviceFolder = absolute(defaultDeviceFolder);
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const bool takesValue = arg == "--device" || arg == "--log";
        if (takesValue && i + 1 >= argc) {
            *error = arg + " needs a value";
            return false;
        }
        if (arg == "--help" || arg == "-h") {
            error->clear();
            return false;
        } else if (arg == "--device") {
            options->deviceFolder = absolute(argv[++i]);
            options->keepDevice = true;
        } else if (arg == "--log") {
            options->logFile = absolute(argv[++i]);
        } else if (arg == "--fast-sleep") {
            options->fastSleep = true;
        } else if (arg.rfind("-", 0) == 0 || !options->scriptFile.empty()) {
            *error = "unexpected argument '" + arg + "'";
            return false;
        } else {
            options->scriptFile = absolute(arg);
        }
    }
    return true;
}

}  // namespace zenth_console
