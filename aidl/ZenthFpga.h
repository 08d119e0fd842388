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

#include <chrono>
#include <cstdint>
#include <ctime>
#include <mutex>
#include <string>

namespace aidl::vendor::zenth::hardware::misc {

class ZenthFpga {
  public:
    ZenthFpga();
    ~ZenthFpga();

    // Starts the detached fault watcher when the fault node exists.
    void startFpgaThread();
    // Starts the detached one-shot FPGA health reporter.
    void fpgaReportStats();

    int readFpgaOpInfoEn(const char* path, char* cb_data, int nodeFlag);
    int writeFpgaOpInfoEn(const char* path, const std::string& info);
};

// Fault watcher thread body.
int fpgaWriteOpFunc();
// Records one fault value in the operation record of the reserve partition.
int fpgaOpWrite(unsigned long value);
// Saves the kernel log for one fault value, then trims the fault log directory.
int LogSaveFunc(unsigned long value);

// Fault log directory: one kernel log dump per allowed fault, trimmed to the newest entries.
inline constexpr const char* kFpgaLogDir = "/mnt/vendor/zenthreserve/fpga_save_log";

struct FileEntry {
    std::string fileName;
    struct timespec modTime;
};
bool compareFiles(const FileEntry& a, const FileEntry& b);
int DeleteOldLog();

extern std::mutex gFpgaOpInfoMutex;
extern std::mutex gFpgaLogMutex;
extern std::mutex gExceptionWindowMutex;

inline constexpr int kExceptionKindCount = 4;
extern std::chrono::steady_clock::time_point gExceptionWindowStart[kExceptionKindCount];
extern uint8_t gExceptionWindowBudget[kExceptionKindCount];

}  // namespace aidl::vendor::zenth::hardware::misc
