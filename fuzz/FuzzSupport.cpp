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

#include "FuzzSupport.h"

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace fuzz {

void require(bool condition, const char* what) {
    if (condition) return;
    std::fprintf(stderr, "invariant broken: %s\n", what);
    std::abort();
}

int lowestFreeDescriptor() {
    int fd = open("/dev/null", O_RDONLY);
    close(fd);
    return fd;
}

PartitionWatch::PartitionWatch(const std::string& hostPath) {
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

bool PartitionWatch::written() {
    char events[4096];
    bool any = false;
    while (read(watch_, events, sizeof(events)) > 0) any = true;
    return any;
}

PartitionWatch::~PartitionWatch() {
    munmap(const_cast<char*>(image_), size_);
    close(watch_);
    close(fd_);
}

void PartitionWatch::set(off_t offset, const std::string& bytes) {
    require(pwrite(fd_, bytes.data(), bytes.size(), offset) == static_cast<ssize_t>(bytes.size()),
            "partition setup written");
    baseline_.replace(static_cast<size_t>(offset), bytes.size(), bytes);
    written();
}

void PartitionWatch::check() {
    if (!written()) {
        allowed_.clear();
        return;
    }
    for (const auto& [offset, length] : allowed_) {
        baseline_.replace(static_cast<size_t>(offset), length, image_ + offset, length);
    }
    allowed_.clear();
    if (std::memcmp(baseline_.data(), image_, size_) == 0) return;
    size_t at = 0;
    while (baseline_[at] == image_[at]) ++at;
    std::fprintf(stderr, "reserve partition byte 0x%zx changed outside the allowed regions\n", at);
    std::abort();
}

}  // namespace fuzz
