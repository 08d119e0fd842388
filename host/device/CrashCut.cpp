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

// The durability model: the daemon's write-side calls on the device counted, and the process
// cut right after one of them, as a kill or a power cut would cut it; and the record of fsync
// calls, so that tests can tell which files were flushed to storage.

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "DeviceInternal.h"
#include "RealCalls.h"
#include "zenth_host/EmulatedDevice.h"

namespace emulated {
namespace internal {
namespace {

struct Cut {
    std::atomic<bool> armed{false};
    std::mutex mutex;  // one write-side call at a time while armed: none slips past the cut
    crash::Model model = crash::Model::Count;
    unsigned point = 0;
    unsigned count = 0;
    std::map<int, std::string> descriptors;  // opened on the device while armed: host paths
    // What storage keeps of each file touched while armed: its content as of its last fsync
    // (what it held when first touched counts as synced).
    std::map<std::string, std::string> durable;
};

Cut& cut() {
    static Cut* instance = new Cut;  // detached threads may outlive static destruction
    return *instance;
}

// Only the newest syncs are kept: a long-running emulated phone syncs on every partition write.
constexpr size_t kMaxRecordedSyncs = 256;

struct Syncs {
    std::mutex mutex;
    std::deque<std::string> files;
};

Syncs& syncs() {
    static Syncs* instance = new Syncs;
    return *instance;
}

std::string fileOf(int fd) {
    char target[PATH_MAX];
    std::string link = "/proc/self/fd/" + std::to_string(fd);
    ssize_t length = readlink(link.c_str(), target, sizeof(target));
    return length > 0 ? std::string(target, static_cast<size_t>(length)) : std::string();
}

void recordSync(int fd) {
    std::string file = fileOf(fd);
    Syncs& s = syncs();
    std::lock_guard<std::mutex> lock(s.mutex);
    s.files.push_back(file);
    if (s.files.size() > kMaxRecordedSyncs) s.files.pop_front();
}

// Read straight into a string of the file's size: the reserve partition is 6 MiB, and it is
// read at every sync while a cut is armed.
std::string contentOf(const std::string& hostPath) {
    struct stat status;
    if (__real_stat(hostPath.c_str(), &status) != 0) return "";
    int fd = __real_open(hostPath.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return "";
    std::string content(static_cast<size_t>(status.st_size), '\0');
    size_t length = 0;
    for (ssize_t n; length < content.size() &&
                    (n = __real_read(fd, &content[length], content.size() - length)) > 0;) {
        length += static_cast<size_t>(n);
    }
    __real_close(fd);
    content.resize(length);
    return content;
}

bool isRegularFile(const std::string& hostPath) {
    struct stat status;
    return __real_stat(hostPath.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

// Storage keeps only the durable content: every file goes back to it.
void loseWhatWasNotSynced(const Cut& state) {
    for (const auto& [path, content] : state.durable) {
        if (!isRegularFile(path)) continue;  // removed since: the removal is kept
        int fd = __real_open(path.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
        if (fd < 0) continue;
        ssize_t ignored = __real_write(fd, content.data(), content.size());
        (void)ignored;
        __real_fsync(fd);
        __real_close(fd);
    }
}

}  // namespace

void resetSyncs() {
    Syncs& s = syncs();
    std::lock_guard<std::mutex> lock(s.mutex);
    s.files.clear();
}

bool crashModelArmed() {
    return cut().armed.load(std::memory_order_acquire);
}

std::unique_lock<std::mutex> writeSideLock() {
    return std::unique_lock<std::mutex>(cut().mutex);
}

void beforeWriteSide(const std::string& hostPath) {
    Cut& state = cut();
    if (state.durable.count(hostPath) == 0 && isRegularFile(hostPath)) {
        state.durable[hostPath] = contentOf(hostPath);
    }
}

void afterWriteSide(const std::string& call, const std::string& hostPath, WriteEffect effect) {
    Cut& state = cut();
    switch (effect) {
        case WriteEffect::Data:
            break;
        case WriteEffect::Sync:
            if (isRegularFile(hostPath)) state.durable[hostPath] = contentOf(hostPath);
            break;
        case WriteEffect::Truncate:  // never synced since: it may come back empty
            if (isRegularFile(hostPath)) state.durable[hostPath].clear();
            break;
        case WriteEffect::Entry:
            state.durable.erase(hostPath);
            break;
    }
    ++state.count;
    std::fprintf(stderr, "emulated: write point %u: %s %s\n", state.count, call.c_str(),
                 devicePathOf(root(), hostPath).c_str());
    if (state.model == crash::Model::Count || state.count != state.point) return;
    const bool power = state.model == crash::Model::PowerCut;
    if (power) loseWhatWasNotSynced(state);
    std::fprintf(stderr, "emulated: %s after write point %u\n",
                 power ? "power cut" : "process crash", state.count);
    kill(getpid(), SIGKILL);
    pause();
}

void trackDescriptor(int fd, const std::string& hostPath) {
    cut().descriptors[fd] = hostPath;
}

void untrackDescriptor(int fd) {
    if (!crashModelArmed()) return;
    std::lock_guard<std::mutex> lock(cut().mutex);
    cut().descriptors.erase(fd);
}

bool trackedPath(int fd, std::string* hostPath) {
    const auto& descriptors = cut().descriptors;
    auto found = descriptors.find(fd);
    if (found == descriptors.end()) return false;
    *hostPath = found->second;
    return true;
}

}  // namespace internal

std::vector<std::string> syncedFiles() {
    internal::Syncs& s = internal::syncs();
    std::lock_guard<std::mutex> lock(s.mutex);
    return std::vector<std::string>(s.files.begin(), s.files.end());
}

namespace crash {

void arm(Model model, unsigned point) {
    internal::Cut& state = internal::cut();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.model = model;
    state.point = point;
    state.count = 0;
    state.descriptors.clear();
    state.durable.clear();
    state.armed.store(true, std::memory_order_release);
}

bool parse(const std::string& text, Model* model, unsigned* point) {
    const size_t colon = text.find(':');
    const std::string name = text.substr(0, colon);
    *point = 0;
    if (name == "count" && colon == std::string::npos) {
        *model = Model::Count;
        return true;
    }
    if ((name != "process" && name != "power") || colon == std::string::npos) return false;
    *model = name == "process" ? Model::ProcessCrash : Model::PowerCut;
    char* end = nullptr;
    const unsigned long value = std::strtoul(text.c_str() + colon + 1, &end, 10);
    *point = static_cast<unsigned>(value);
    return *end == '\0' && value > 0;
}

}  // namespace crash
}  // namespace emulated

namespace {

// A binary started with ZENTH_DEVICE_CUT set is armed from its first call on.
struct ArmFromEnvironment {
    ArmFromEnvironment() {
        const char* text = std::getenv(emulated::crash::kCutEnvironment);
        if (text == nullptr || text[0] == '\0') return;
        emulated::crash::Model model;
        unsigned point = 0;
        if (!emulated::crash::parse(text, &model, &point)) {
            std::fprintf(stderr, "emulated: %s=%s is not count, process:K or power:K\n",
                         emulated::crash::kCutEnvironment, text);
            std::_Exit(2);
        }
        emulated::crash::arm(model, point);
    }
};

const ArmFromEnvironment gArmFromEnvironment;

}  // namespace

extern "C" ssize_t __wrap_write(int fd, const void* buf, size_t count) {
    using namespace emulated::internal;
    if (!crashModelArmed()) return __real_write(fd, buf, count);
    auto lock = writeSideLock();
    std::string hostPath;
    if (!trackedPath(fd, &hostPath)) return __real_write(fd, buf, count);
    beforeWriteSide(hostPath);
    const ssize_t result = __real_write(fd, buf, count);
    afterWriteSide("write", hostPath, WriteEffect::Data);
    return result;
}

extern "C" int __wrap_fsync(int fd) {
    using namespace emulated::internal;
    recordSync(fd);
    if (!crashModelArmed()) return __real_fsync(fd);
    auto lock = writeSideLock();
    std::string tracked;
    if (!trackedPath(fd, &tracked)) return __real_fsync(fd);
    beforeWriteSide(tracked);
    const int result = __real_fsync(fd);
    afterWriteSide("fsync", tracked, WriteEffect::Sync);
    return result;
}
