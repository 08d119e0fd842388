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

// usleep, which tests fast-forward or hold so that delayed work runs when they choose.

#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <vector>

#include "DeviceInternal.h"
#include "RealCalls.h"
#include "zenth_host/DaemonThreads.h"
#include "zenth_host/EmulatedDevice.h"

namespace emulated::sleeping {
namespace {

Mode startMode() {
    const char* fast = std::getenv(kFastSleepEnvironment);
    return fast != nullptr && std::strcmp(fast, "1") == 0 ? Mode::Instant : Mode::Real;
}

struct Sleeper {
    std::mutex mutex;
    // A held usleep parks in it until its release.
    emulated::daemon_threads::ParkingCondition changed;
    Mode mode = startMode();
    std::vector<unsigned> calls;
    size_t held = 0;
    unsigned long releases = 0;  // a held call returns once this moves on
};

Sleeper& sleeper() {
    static Sleeper* instance = new Sleeper;  // detached threads may outlive static destruction
    return *instance;
}

void releaseLocked(Sleeper& s) {
    ++s.releases;
    s.changed.notify_all();
}

}  // namespace

void setMode(Mode mode) {
    Sleeper& s = sleeper();
    std::lock_guard<std::mutex> lock(s.mutex);
    s.mode = mode;
    releaseLocked(s);
}

std::vector<unsigned> calls() {
    Sleeper& s = sleeper();
    std::lock_guard<std::mutex> lock(s.mutex);
    return s.calls;
}

bool waitForCalls(size_t count, std::chrono::milliseconds timeout) {
    Sleeper& s = sleeper();
    std::unique_lock<std::mutex> lock(s.mutex);
    return s.changed.wait_for(lock, timeout, [&s, count] { return s.calls.size() >= count; });
}

size_t held() {
    Sleeper& s = sleeper();
    std::lock_guard<std::mutex> lock(s.mutex);
    return s.held;
}

void release() {
    Sleeper& s = sleeper();
    std::lock_guard<std::mutex> lock(s.mutex);
    releaseLocked(s);
}

}  // namespace emulated::sleeping

namespace emulated::internal {

void resetSleeping() {
    sleeping::Sleeper& s = sleeping::sleeper();
    std::lock_guard<std::mutex> lock(s.mutex);
    s.mode = sleeping::startMode();
    s.calls.clear();
    sleeping::releaseLocked(s);
}

}  // namespace emulated::internal

extern "C" int __wrap_usleep(useconds_t usec) {
    using namespace emulated::sleeping;
    Sleeper& s = sleeper();
    std::unique_lock<std::mutex> lock(s.mutex);
    s.calls.push_back(usec);
    s.changed.notify_all();
    if (s.mode == Mode::Held) {
        unsigned long releases = s.releases;
        ++s.held;
        s.changed.park(lock, [&s, releases] { return s.releases != releases; });
        --s.held;
        return 0;
    }
    if (s.mode == Mode::Instant) return 0;
    lock.unlock();
    emulated::daemon_threads::ParkedScope sleeping;
    return __real_usleep(usec);
}
