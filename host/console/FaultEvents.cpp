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

#include "FaultEvents.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <thread>

#include <zenth_host/DaemonThreads.h>
#include <zenth_host/EmulatedDevice.h>

namespace zenth_console {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

namespace {

constexpr milliseconds kHandlingWait{10000};
constexpr milliseconds kDaemonsFirstMillisecond{1};

}  // namespace

bool raiseFault(uint64_t value, std::chrono::steady_clock::time_point registered,
                std::string* error) {
    namespace node = emulated::fault_node;
    // The daemon's capture window refuses every capture of its process's first millisecond.
    // On a phone a driver's fault comes long after boot; here the daemon can be up sooner.
    std::this_thread::sleep_until(registered + kDaemonsFirstMillisecond);
    std::error_code missing;
    if (!fs::exists(emulated::hostPath(node::kPath), missing)) {
        *error = "the device has no FPGA fault node";
        return false;
    }
    // Once the daemon is idle its watcher waits in poll, unless it never started or the node
    // failed it.
    if (!emulated::waitUntilIdle(kHandlingWait)) {
        *error = "the daemon did not become idle";
        return false;
    }
    if (node::pollCalls() == 0) {
        *error = "the FPGA fault watcher is not running";
        return false;
    }
    node::injectValue(value);
    // Idle again once the watcher polls anew and the threads it started for the value ended.
    if (!emulated::waitUntilIdle(kHandlingWait)) {
        *error = "the fault is still being handled";
        return false;
    }
    if (node::pendingEvents() != 0) {
        *error = "the FPGA fault watcher did not take the value";
        return false;
    }
    return true;
}

bool listFaultLogs(std::vector<std::string>* names) {
    names->clear();
    std::error_code error;
    fs::directory_iterator entries(emulated::hostPath(kFaultLogDirectory), error);
    if (error) return false;
    for (const fs::directory_entry& entry : entries) names->push_back(entry.path().filename());
    std::sort(names->begin(), names->end());
    return true;
}

}  // namespace zenth_console
