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

// FaultLogTest: a DeviceTest whose fault log time windows are all expired (the first capture
// of each kind opens a window) and whose reserve file system exists without the fault log
// directory.

#include <time.h>

#include <string>
#include <vector>

#include "support/DeviceTest.h"

// The rest of each message that starts with the prefix, in log order.
std::vector<std::string> messagesAfter(const std::vector<zenth_test::LogLine>& lines,
                                       const std::string& prefix);

// Lines whose message starts with the prefix.
size_t countPrefixed(const std::vector<zenth_test::LogLine>& lines, const std::string& prefix);

class FaultLogTest : public DeviceTest {
  protected:
    static constexpr const char* kLogDir = "/mnt/vendor/zenthreserve/fpga_save_log";
    static constexpr const char* kLogParent = "/mnt/vendor/zenthreserve";

    void SetUp() override;

    // Creates an empty file (or directory) in the fault log directory, modified at the time.
    void addLogEntry(const std::string& name, time_t seconds, long nanoseconds = 0,
                     bool directory = false) const;
    // Names in the fault log directory, sorted ("." and ".." left out).
    std::vector<std::string> logDirEntries() const;
    // Paths named by "dmesg log saved to %s, ..." lines so far, in log order.
    std::vector<std::string> savedDumps() const;
    // Returns once no capture or recording holds its lock: the consumer threads whose last
    // log line was seen have finished their work.
    static void drainConsumers();
};
