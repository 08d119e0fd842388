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

#include "support/FaultLogTest.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <mutex>

#include "ZenthFpga.h"

namespace fs = std::filesystem;
using namespace aidl::vendor::zenth::hardware::misc;

void FaultLogTest::SetUp() {
    DeviceTest::SetUp();
    {
        std::lock_guard<std::mutex> logLock(gFpgaLogMutex);
        std::lock_guard<std::mutex> windowLock(gExceptionWindowMutex);
        auto longAgo = std::chrono::steady_clock::now() - std::chrono::hours(1);
        std::fill(std::begin(gExceptionWindowStart), std::end(gExceptionWindowStart), longAgo);
        std::fill(std::begin(gExceptionWindowBudget), std::end(gExceptionWindowBudget), 0);
    }
    makeDir(kLogParent);
}

void FaultLogTest::addLogEntry(const std::string& name, time_t seconds, long nanoseconds,
                               bool directory) const {
    const std::string path = std::string(kLogDir) + "/" + name;
    if (directory) {
        makeDir(path);
    } else {
        writeFile(path, "");
    }
    const struct timespec times[2] = {{seconds, nanoseconds}, {seconds, nanoseconds}};
    ASSERT_EQ(utimensat(AT_FDCWD, hostPath(path).c_str(), times, 0), 0) << path;
}

std::vector<std::string> FaultLogTest::logDirEntries() const {
    std::vector<std::string> names;
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(hostPath(kLogDir), ignored)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> messagesAfter(const std::vector<zenth_test::LogLine>& lines,
                                       const std::string& prefix) {
    std::vector<std::string> rests;
    for (const zenth_test::LogLine& line : lines) {
        if (line.message.rfind(prefix, 0) == 0) rests.push_back(line.message.substr(prefix.size()));
    }
    return rests;
}

size_t countPrefixed(const std::vector<zenth_test::LogLine>& lines, const std::string& prefix) {
    return static_cast<size_t>(std::count_if(lines.begin(), lines.end(), [&](const auto& line) {
        return line.message.compare(0, prefix.size(), prefix) == 0;
    }));
}

std::vector<std::string> FaultLogTest::savedDumps() const {
    std::vector<std::string> paths;
    for (const std::string& rest : messagesAfter(lines(), "dmesg log saved to ")) {
        paths.push_back(rest.substr(0, rest.find(", total length: ")));
    }
    return paths;
}

void FaultLogTest::drainConsumers() {
    { std::lock_guard<std::mutex> capture(gFpgaLogMutex); }
    { std::lock_guard<std::mutex> recording(gFpgaOpInfoMutex); }
}
