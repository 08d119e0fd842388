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

// fsync, recorded so that tests can tell which files were flushed to storage. Only the newest
// syncs are kept: a long-running emulated phone syncs on every partition write.

#include <unistd.h>

#include <climits>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

#include "DeviceInternal.h"
#include "RealCalls.h"
#include "zenth_host/EmulatedDevice.h"

namespace emulated {
namespace {

constexpr size_t kMaxRecordedSyncs = 256;

struct Syncs {
    std::mutex mutex;
    std::deque<std::string> files;
};

Syncs& syncs() {
    static Syncs* instance = new Syncs;  // detached threads may outlive static destruction
    return *instance;
}

std::string fileOf(int fd) {
    char target[PATH_MAX];
    std::string link = "/proc/self/fd/" + std::to_string(fd);
    ssize_t length = readlink(link.c_str(), target, sizeof(target));
    return length > 0 ? std::string(target, static_cast<size_t>(length)) : std::string();
}

}  // namespace

std::vector<std::string> syncedFiles() {
    Syncs& s = syncs();
    std::lock_guard<std::mutex> lock(s.mutex);
    return std::vector<std::string>(s.files.begin(), s.files.end());
}

namespace internal {

void resetSyncs() {
    Syncs& s = syncs();
    std::lock_guard<std::mutex> lock(s.mutex);
    s.files.clear();
}

}  // namespace internal
}  // namespace emulated

extern "C" int __wrap_fsync(int fd) {
    using namespace emulated::internal;
    std::string file = emulated::fileOf(fd);
    {
        emulated::Syncs& s = emulated::syncs();
        std::lock_guard<std::mutex> lock(s.mutex);
        s.files.push_back(file);
        if (s.files.size() > emulated::kMaxRecordedSyncs) s.files.pop_front();
    }
    if (!crashModelArmed()) return __real_fsync(fd);
    auto lock = writeSideLock();
    std::string tracked;
    if (!trackedPath(fd, &tracked)) return __real_fsync(fd);
    beforeWriteSide(tracked);
    const int result = __real_fsync(fd);
    afterWriteSide("fsync", tracked, WriteEffect::Sync);
    return result;
}
