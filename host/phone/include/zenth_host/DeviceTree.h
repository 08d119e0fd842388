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

// The emulated phone as its factory and board leave it: files, folders and the reserve
// partition under a root folder that stands for the device's "/". Every emulated phone is
// built here: the console's, the tests' (each test adds its own files), the benchmarks' and
// the fuzzers'.

#include <sys/types.h>

#include <string>

namespace zenth_host {

class DeviceTree {
  public:
    // Sets the folder as the emulated device's root.
    explicit DeviceTree(std::string rootFolder);

    const std::string& root() const { return root_; }
    // Where a device path ("/proc/...", "dev/block/sda") lives on the host.
    std::string hostPath(const std::string& devicePath) const;
    bool exists(const std::string& devicePath) const;
    std::string readFile(const std::string& devicePath) const;

    // Each file and folder made, missing parents included, gets the owner and group boot gives
    // it (emulated::boot::place), then the mode asked for; under "/proc/" and "/sys/" that mode
    // is what the driver supports (0444: the node cannot be written).
    void writeFile(const std::string& devicePath, const std::string& bytes,
                   mode_t mode = 0644) const;
    void makeDir(const std::string& devicePath, mode_t mode = 0755) const;
    // Permission bits (07777) of the host file or folder.
    mode_t modeOf(const std::string& devicePath) const;
    // Files become 0444, folders 0555: the daemon can then neither write them nor create or
    // remove entries in them.
    void makeReadOnly(const std::string& devicePath) const;
    // An empty "/proc/fpga/errinfoto_op": the fault node exists.
    void createFaultNode() const;
    // "dev/block/sda", whose existence marks UFS storage.
    void makeUfsStorage() const;

    // The reserve partition image, zero-filled at its size.
    void createReservePartition() const;
    void writePartition(off_t offset, const std::string& bytes) const;
    // Up to `length` bytes: fewer past the image's end.
    std::string readPartition(off_t offset, size_t length) const;

    // The sample phone: every node of the node table with what its driver shows, the reserve
    // partition with its records (eMMC layout), persisted calibration of an earlier session,
    // the fault node, booted.
    void buildSamplePhone() const;

  private:
    std::string root_;
};

// A device tree in a fresh folder under `parent`, removed with its content at the end.
class ScratchDevice : public DeviceTree {
  public:
    explicit ScratchDevice(const std::string& parent);
    ~ScratchDevice();
    ScratchDevice(const ScratchDevice&) = delete;
    ScratchDevice& operator=(const ScratchDevice&) = delete;
};

}  // namespace zenth_host
