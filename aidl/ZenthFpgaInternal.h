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

// What the FPGA fault handling shares between its files: the thread bodies, the fault value's
// tag, the locks and the time-window table, and the fault log retention.
#pragma once

#include <chrono>
#include <cstdint>
#include <ctime>
#include <mutex>
#include <string>

#include "zenthmisc-impl/ZenthFpga.h"

namespace aidl::vendor::zenth::hardware::misc {

// Fault watcher thread body.
int fpgaWriteOpFunc();
// Records one fault value in the operation record of the reserve partition.
int fpgaOpWrite(unsigned long value);
// Saves the kernel log for one fault value, then trims the fault log directory.
int LogSaveFunc(unsigned long value);

// A tagged fault value has 101010101 in its top nine bits and a 55-bit fault code below them.
inline constexpr unsigned long kFaultTagMask = 0xFF80000000000000UL;
inline constexpr unsigned long kFaultTag = 0xAA80000000000000UL;

inline bool isTaggedFaultValue(unsigned long value) {
    return (value & kFaultTagMask) == kFaultTag;
}

// Around each read-modify-write of the operation record.
extern std::mutex gFpgaOpInfoMutex;
// Around a whole log capture with its retention; taken before gExceptionWindowMutex.
extern std::mutex gFpgaLogMutex;
extern std::mutex gExceptionWindowMutex;

// Time window of each exception kind: when it opened, and the captures it still allows.
inline constexpr int kExceptionKindCount = 4;
extern std::chrono::steady_clock::time_point gExceptionWindowStart[kExceptionKindCount];
extern uint8_t gExceptionWindowBudget[kExceptionKindCount];

// Fault log directory: one kernel log dump per allowed fault, trimmed to the newest entries.
inline constexpr const char* kFpgaLogDir = "/mnt/vendor/zenthreserve/fpga_save_log";

struct FileEntry {
    std::string fileName;
    struct timespec modTime;
};
// True when a is older than b.
bool compareFiles(const FileEntry& a, const FileEntry& b);
int DeleteOldLog();

}  // namespace aidl::vendor::zenth::hardware::misc
