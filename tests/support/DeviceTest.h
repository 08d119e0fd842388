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

// DeviceTest: each test gets a fresh emulated device (zenth_host::DeviceTree), a log capture
// and the emulated kernel facilities in their start state (usleep returns at once). Paths are
// given as the daemon names them ("/proc/...", "dev/block/sda"); helpers touch the host files
// directly, never through the emulation.
//
// TearDown ends a fault watcher still waiting on the fault node, fails the test if a thread
// is still held in usleep or a descriptor opened during the test is still open, and removes
// the root folder.

#include <signal.h>
#include <sys/resource.h>
#include <sys/types.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <zenth_host/DeviceTree.h>

#include "ReservePartition.h"

namespace zenth_test {

// How long a test waits for work it started on another thread before it gives up.
inline constexpr std::chrono::milliseconds kWait{10000};

// Where the FPGA fault's kernel log dumps are saved.
inline constexpr const char* kLogDir = "/mnt/vendor/zenthreserve/fpga_save_log";

struct LogLine {
    int priority;
    std::string tag;
    std::string message;
};

}  // namespace zenth_test

class DeviceTest : public ::testing::Test {
  protected:
    using LogLine = zenth_test::LogLine;
    // Runs with the log locked and must not log.
    using Predicate = std::function<bool(const std::vector<LogLine>&)>;
    static constexpr std::chrono::milliseconds kWait = zenth_test::kWait;

    ~DeviceTest() override;

    static constexpr const char* kReservePartition =
            aidl::vendor::zenth::hardware::misc::kReservePartitionPath;

    struct Range {
        off_t offset;
        size_t length;
    };

    void SetUp() override;
    void TearDown() override;

    // ---- Device files (zenth_host::DeviceTree) ----
    const std::string& rootFolder() const { return device_->root(); }
    std::string hostPath(const std::string& devicePath) const {
        return device_->hostPath(devicePath);
    }
    void writeFile(const std::string& devicePath, const std::string& bytes,
                   mode_t mode = 0644) const {
        device_->writeFile(devicePath, bytes, mode);
    }
    std::string readFile(const std::string& devicePath) const {
        return device_->readFile(devicePath);
    }
    bool exists(const std::string& devicePath) const { return device_->exists(devicePath); }
    mode_t modeOf(const std::string& devicePath) const { return device_->modeOf(devicePath); }
    void makeDir(const std::string& devicePath, mode_t mode = 0755) const {
        device_->makeDir(devicePath, mode);
    }
    void makeReadOnly(const std::string& devicePath) const { device_->makeReadOnly(devicePath); }
    void createFaultNode() const { device_->createFaultNode(); }
    void makeUfsStorage() const { device_->makeUfsStorage(); }

    // ---- Reserve partition ----
    // A zero-filled image; also the baseline of the comparison.
    void createReservePartition();
    std::string readPartition(off_t offset, size_t length) const {
        return device_->readPartition(offset, length);
    }
    // Setup of the image: also updates the baseline.
    void writePartition(off_t offset, const std::string& bytes);
    // Every byte outside the given ranges equals the baseline.
    void expectPartitionUnchangedExcept(std::vector<Range> changed = {}) const;

    // ---- Platform log ----
    // Every line logged by any thread while the test runs.
    std::vector<LogLine> lines() const;
    bool contains(int priority, const std::string& tag, const std::string& message) const {
        return count(priority, tag, message) > 0;
    }
    size_t count(int priority, const std::string& tag, const std::string& message) const;
    // Lines with this message, whatever their priority and tag.
    size_t count(const std::string& message) const;
    // The lines with this tag in order, one per line: the priority's letter, a blank and
    // the message ("D ...\n" for debug, "E ...\n" for error).
    std::string messages(const std::string& tag) const;
    // Blocks until the predicate holds over the lines so far; false after the timeout.
    bool waitFor(const Predicate& predicate, std::chrono::milliseconds timeout = kWait) const;
    // Waits until the message was logged `times` times, whatever its priority and tag.
    bool waitFor(const std::string& message, size_t times = 1,
                 std::chrono::milliseconds timeout = kWait) const;
    void clearLog();
    // The tag of lines logged without one: liblog gives them the program's name, which on a
    // phone is the daemon's binary.
    static std::string defaultTag();
    // The node access's line for an open that failed, as messages() shows it.
    static std::string openFailure(const std::string& devicePath, int error);

  private:
    // Takes the current image as the baseline.
    void snapshotPartition();
    // Descriptors open in this process now.
    static int openDescriptorCount();
    // Makes a watcher waiting on the fault node fail its poll and waits until it closed
    // the node.
    void stopFaultWatcher() const;

    std::optional<zenth_host::ScratchDevice> device_;
    std::vector<LogLine> log_;  // guarded by the logger's lock
    std::string partitionBaseline_;
    int descriptorsAtStart_ = 0;
};

// Names each case of a parameterised test by its `name` field.
inline const auto caseName = [](const auto& info) { return std::string(info.param.name); };

// Lowers the process's file size limit while it lives; a write past it is cut short or
// fails with EFBIG instead of raising SIGXFSZ.
class FileSizeLimit {
  public:
    explicit FileSizeLimit(rlim_t bytes) {
        getrlimit(RLIMIT_FSIZE, &saved_);
        savedHandler_ = signal(SIGXFSZ, SIG_IGN);
        rlimit limit = {bytes, saved_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &saved_);
        signal(SIGXFSZ, savedHandler_);
    }

  private:
    rlimit saved_{};
    sighandler_t savedHandler_;
};
