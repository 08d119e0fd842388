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

#include "ProcessThreads.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

namespace zenth_console {

namespace fs = std::filesystem;

namespace {

constexpr const char* kTasks = "/proc/self/task";
constexpr std::chrono::milliseconds kSampleInterval{5};

// The system call a thread is blocked in; -1 while it runs.
long blockedIn(const fs::path& task) {
    std::ifstream syscallFile(task / "syscall");
    std::string number;
    syscallFile >> number;
    if (number.empty() || number == "running") return -1;
    return std::strtol(number.c_str(), nullptr, 10);
}

// Waiting for pool work (main), for a fault (the emulated fault node's poll) or in a sleep.
bool isParked(const fs::path& task) {
    switch (blockedIn(task)) {
        case SYS_futex:
        case SYS_poll:
        case SYS_ppoll:
        case SYS_nanosleep:
        case SYS_clock_nanosleep:
            return true;
        default:
            return false;
    }
}

bool othersParked() {
    const pid_t self = gettid();
    std::error_code error;
    for (const fs::directory_entry& task : fs::directory_iterator(kTasks, error)) {
        pid_t tid = static_cast<pid_t>(std::stol(task.path().filename().string()));
        if (tid != self && !isParked(task.path())) return false;
    }
    return !error;
}

}  // namespace

size_t threadCount() {
    std::error_code error;
    fs::directory_iterator tasks(kTasks, error);
    return error ? 0 : static_cast<size_t>(std::distance(tasks, fs::directory_iterator()));
}

bool waitUntilThreadsParked(std::chrono::milliseconds timeout) {
    auto deadline = std::chrono::steady_clock::now() + timeout;
    // Two samples in a row, so that a thread between two waits is not taken for parked.
    int quietSamples = 0;
    while (quietSamples < 2) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        quietSamples = othersParked() ? quietSamples + 1 : 0;
        std::this_thread::sleep_for(kSampleInterval);
    }
    return true;
}

}  // namespace zenth_console
