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

// What the benchmarks and fuzz harnesses share: an emulated device root on tmpfs seeded the way a
// phone would look to the daemon, the choice of platform logger, and resident-set readings.

#include <sys/types.h>

#include <string>

namespace zenth_host {

// Big enough for every region of the reserve partition; the seeded device stores on eMMC.
inline constexpr off_t kPartitionSize = 6 * 1024 * 1024;

// A fresh root folder under /dev/shm, set as the emulated device's root while it lives.
class SeededDevice {
  public:
    SeededDevice();
    ~SeededDevice();
    SeededDevice(const SeededDevice&) = delete;
    SeededDevice& operator=(const SeededDevice&) = delete;

    const std::string& root() const { return root_; }
    std::string hostPath(const std::string& devicePath) const;
    // Each gets the owner and group boot gives it (emulated::boot::place).
    void writeFile(const std::string& devicePath, const std::string& bytes) const;
    void makeDir(const std::string& devicePath) const;
    // A zero-filled 6 MiB reserve partition image.
    void createReservePartition() const;
    void writePartition(off_t offset, const std::string& bytes) const;
    std::string readPartition(off_t offset, size_t length) const;
    // Every node of the table as a small file (the directory row as a directory), the reserve
    // partition with its FPGA keys, calibration data, the fan identity, the fault node and the
    // fault log parent, booted: every start-up step has work to do.
    void seedSample() const;

  private:
    std::string root_;
};

enum class Logger { NoOp, Stderr };
// Installs the logger into liblog (the host's logcat-style stderr logger, or one that formats
// nothing further and drops the line).
void useLogger(Logger logger);
const char* loggerName(Logger logger);

// A number of /proc/<pid>/status: "VmRSS" (resident set, KiB), "VmHWM" (its peak, KiB),
// "Threads"; -1 when it cannot be read.
long processStatus(pid_t pid, const std::string& field);
// Resident set of a process in KiB, -1 when it cannot be read.
long residentKiB(pid_t pid);

}  // namespace zenth_host
