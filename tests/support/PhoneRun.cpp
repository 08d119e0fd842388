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

#include "support/PhoneRun.h"

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace zenth_test {

namespace {

constexpr size_t kMaxLog = 1 << 20;

}  // namespace

PhoneRun runPhone(const std::string& deviceFolder, const std::string& script,
                  const std::string& options, const std::string& environment) {
    const std::string base = deviceFolder + ".run";
    std::ofstream(base + ".in") << script;
    const std::string command =
            environment + " " + ZENTH_EMULATOR " " ZENTH_PHONE_BINARY " --device " + deviceFolder +
            " " + options + " <" + base + ".in >" + base + ".out 2>" + base + ".err";
    PhoneRun result;
    int raw = std::system(command.c_str());
    result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    std::istringstream out(slurp(base + ".out"));
    for (std::string line; std::getline(out, line);) {
        if (line.rfind("VendorAtom", 0) != 0) result.lines.push_back(line);
    }
    result.log = slurp(base + ".err");
    if (result.log.size() > kMaxLog) {  // a runaway loop in the daemon must not flood the report
        result.log.resize(kMaxLog);
        result.log += "\n[log cut at " + std::to_string(kMaxLog) + " bytes]\n";
    }
    for (const char* suffix : {".in", ".out", ".err"}) std::remove((base + suffix).c_str());
    return result;
}

std::string slurp(const std::string& hostPath) {
    std::ifstream in(hostPath, std::ios::binary | std::ios::ate);
    if (!in) return "";
    // One read of the size the file has: the reserve partition is 6 MiB.
    std::string bytes(static_cast<size_t>(in.tellg()), '\0');
    in.seekg(0).read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<size_t>(in.gcount()));
    return bytes;
}

}  // namespace zenth_test
