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

// The kernel log ring buffer as klogctl shows it; the host's own kernel log is never read.

#include <errno.h>
#include <linux/capability.h>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include "DeviceInternal.h"
#include "zenth_host/EmulatedDevice.h"

namespace emulated::kernel_log {

const char* const kDefaultContent = "<6>[    0.000000] Booting the emulated device\n";

namespace {

constexpr int kActionRead = 3;  // read all, leaving the buffer intact
constexpr int kActionSize = 10;

struct State {
    std::string content = kDefaultContent;
    int bufferSize = kDefaultBufferSize;
    int sizeError = 0;
    bool readFails = false;
    int readResult = 0;
    int readError = 0;
    std::vector<Call> calls;
};

struct KernelLog {
    std::mutex mutex;
    State state;
};

KernelLog& kernelLog() {
    static KernelLog* instance = new KernelLog;  // detached threads may outlive static destruction
    return *instance;
}

int fail(int result, int error) {
    errno = error;
    return result;
}

int readAll(const State& log, char* buf, int length) {
    if (log.readFails) return fail(log.readResult, log.readError);
    if (buf == nullptr || length < 0) return fail(-1, EINVAL);
    size_t count = std::min(log.content.size(), static_cast<size_t>(length));
    std::memcpy(buf, log.content.data() + log.content.size() - count, count);
    return static_cast<int>(count);
}

}  // namespace

void setContent(const std::string& bytes) {
    KernelLog& log = kernelLog();
    std::lock_guard<std::mutex> lock(log.mutex);
    log.state.content = bytes;
}

void setBufferSize(int bytes) {
    KernelLog& log = kernelLog();
    std::lock_guard<std::mutex> lock(log.mutex);
    log.state.bufferSize = bytes;
}

void failSizeQuery(int error) {
    KernelLog& log = kernelLog();
    std::lock_guard<std::mutex> lock(log.mutex);
    log.state.sizeError = error;
}

void failRead(int result, int error) {
    KernelLog& log = kernelLog();
    std::lock_guard<std::mutex> lock(log.mutex);
    log.state.readFails = true;
    log.state.readResult = result;
    log.state.readError = error;
}

std::vector<Call> calls() {
    KernelLog& log = kernelLog();
    std::lock_guard<std::mutex> lock(log.mutex);
    return log.state.calls;
}

}  // namespace emulated::kernel_log

namespace emulated::internal {

void resetKernelLog() {
    kernel_log::KernelLog& log = kernel_log::kernelLog();
    std::lock_guard<std::mutex> lock(log.mutex);
    log.state = {};
}

}  // namespace emulated::internal

extern "C" int __wrap_klogctl(int action, char* buf, int length) {
    using namespace emulated::kernel_log;
    KernelLog& log = kernelLog();
    std::lock_guard<std::mutex> lock(log.mutex);
    State& state = log.state;
    state.calls.push_back({action, length});
    // Phones set dmesg_restrict: the size and the whole log are the privileged actions then.
    const bool privileged =
            emulated::credentials().has(CAP_SYSLOG) || emulated::credentials().has(CAP_SYS_ADMIN);
    if ((action == kActionSize || action == kActionRead) && !privileged) return fail(-1, EPERM);
    switch (action) {
        case kActionSize:
            return state.sizeError != 0 ? fail(-1, state.sizeError) : state.bufferSize;
        case kActionRead:
            return readAll(state, buf, length);
        default:
            return fail(-1, EINVAL);
    }
}
