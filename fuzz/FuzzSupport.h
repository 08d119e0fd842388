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

// The sample phone and the invariant checks shared by the fuzz harnesses.

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <zenth_host/DeviceTree.h>
#include <zenth_host/host_log.h>

#include "ReservePartition.h"

namespace fuzz {

// Prints what broke and aborts, so that libFuzzer keeps the input.
inline void require(bool condition, const char* what) {
    if (condition) return;
    std::fprintf(stderr, "invariant broken: %s\n", what);
    std::abort();
}

// The lowest descriptor number free now: a descriptor left open by a call takes it.
inline int lowestFreeDescriptor() {
    int fd = open("/dev/null", O_RDONLY);
    close(fd);
    return fd;
}

// Watches the reserve partition image: any byte outside the ranges allowed for the current input
// that changes is a failure.
class PartitionWatch {
  public:
    explicit PartitionWatch(const std::string& hostPath) {
        fd_ = open(hostPath.c_str(), O_RDWR);
        struct stat status = {};
        require(fd_ >= 0 && fstat(fd_, &status) == 0, "reserve partition image present");
        size_ = static_cast<size_t>(status.st_size);
        void* mapping = mmap(nullptr, size_, PROT_READ, MAP_SHARED, fd_, 0);
        require(mapping != MAP_FAILED, "reserve partition image mapped");
        image_ = static_cast<const char*>(mapping);
        baseline_.assign(image_, size_);
        // Comparing 6 MiB per input would dominate the run: compare only after a write.
        watch_ = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
        require(watch_ >= 0 && inotify_add_watch(watch_, hostPath.c_str(), IN_MODIFY) >= 0,
                "reserve partition image watched");
    }
    ~PartitionWatch() {
        munmap(const_cast<char*>(image_), size_);
        close(watch_);
        close(fd_);
    }
    PartitionWatch(const PartitionWatch&) = delete;
    PartitionWatch& operator=(const PartitionWatch&) = delete;

    void allow(off_t offset, size_t length) { allowed_.emplace_back(offset, length); }

    // Setup of the next input: writes the bytes into the image as the baseline.
    void set(off_t offset, const std::string& bytes) {
        require(pwrite(fd_, bytes.data(), bytes.size(), offset) ==
                        static_cast<ssize_t>(bytes.size()),
                "partition setup written");
        baseline_.replace(static_cast<size_t>(offset), bytes.size(), bytes);
        written();
    }

    // Fails on a change outside the allowed ranges; the image becomes the new baseline.
    void check() {
        if (written()) {
            for (const auto& [offset, length] : allowed_) {
                baseline_.replace(static_cast<size_t>(offset), length, image_ + offset, length);
            }
            if (std::memcmp(baseline_.data(), image_, size_) != 0) {
                size_t at = 0;
                while (baseline_[at] == image_[at]) ++at;
                std::fprintf(stderr,
                             "reserve partition byte 0x%zx changed outside the allowed "
                             "regions\n",
                             at);
                std::abort();
            }
        }
        allowed_.clear();
    }

  private:
    // Drains the change notifications; whether there were any.
    bool written() {
        char events[4096];
        bool any = false;
        while (read(watch_, events, sizeof(events)) > 0) any = true;
        return any;
    }

    int fd_ = -1;
    int watch_ = -1;
    size_t size_ = 0;
    const char* image_ = nullptr;
    std::string baseline_;
    std::vector<std::pair<off_t, size_t>> allowed_;
};

// The sample phone in tmpfs, its reserve partition watched, the daemon's log dropped.
struct SamplePhone {
    zenth_host::ScratchDevice device{"/dev/shm"};
    std::unique_ptr<PartitionWatch> partition;

    SamplePhone() {
        device.buildSamplePhone();
        zenth_host::useLogger(zenth_host::Logger::NoOp);
        partition = std::make_unique<PartitionWatch>(
                device.hostPath(aidl::vendor::zenth::hardware::misc::kReservePartitionPath));
    }
};

// Built on the first input; its destruction at exit removes the device folder.
inline SamplePhone& phone() {
    static SamplePhone instance;
    return instance;
}

}  // namespace fuzz
