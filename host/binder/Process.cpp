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

// The host's model of processes: each thread knows the process it acts for, and a process
// runs the oneway calls made to it after their callers have gone on.

#include "Process.h"

#include <condition_variable>
#include <thread>
#include <utility>

#include <zenth_host/DaemonThreads.h>
#include <zenth_host/binder_host.h>

#include "ThreadPool.h"

namespace zenth_host {

namespace {

std::shared_ptr<Process>& threadProcess() {
    thread_local std::shared_ptr<Process> process;
    return process;
}

// Oneway calls sent and not yet run to their end, in every process.
struct OnewayCalls {
    std::mutex mutex;
    std::condition_variable finished;
    size_t pending = 0;
};

// Never destroyed: a process's thread may still run a call while the binary exits.
OnewayCalls& onewayCalls() {
    static OnewayCalls* calls = new OnewayCalls;
    return *calls;
}

void finishOneway() {
    std::lock_guard<std::mutex> lock(onewayCalls().mutex);
    --onewayCalls().pending;
    onewayCalls().finished.notify_all();
}

// The process's thread for oneway calls: runs them until none is left, then ends.
void serveOnewayCalls(std::shared_ptr<Process> process) {
    enterProcess(process);
    emulated::daemon_threads::setOutsideDaemon(true);
    for (;;) {
        std::function<void()> call;
        {
            std::lock_guard<std::mutex> lock(process->mutex);
            if (process->onewayCalls.empty()) {
                process->serving = false;
                return;
            }
            call = std::move(process->onewayCalls.front());
            process->onewayCalls.pop_front();
        }
        call();
    }
}

}  // namespace

const std::shared_ptr<Process>& currentProcess() {
    return threadProcess();
}

std::shared_ptr<Process> enterProcess(std::shared_ptr<Process> process) {
    std::swap(threadProcess(), process);
    return process;
}

void sendOneway(const std::shared_ptr<Process>& owner, std::function<void()> call) {
    {
        std::lock_guard<std::mutex> lock(onewayCalls().mutex);
        ++onewayCalls().pending;
    }
    std::function<void()> tracked = [call = std::move(call)]() mutable {
        call();
        call = nullptr;  // what the call holds goes before its end is announced
        finishOneway();
    };
    if (owner == nullptr) {
        serveOnThreadPool(
                [tracked = std::move(tracked)] {
                    tracked();
                    return STATUS_OK;
                },
                true);
        return;
    }
    std::lock_guard<std::mutex> lock(owner->mutex);
    owner->onewayCalls.push_back(std::move(tracked));
    if (owner->serving) return;
    owner->serving = true;
    std::thread(serveOnewayCalls, owner).detach();
}

void waitForOnewayCalls() {
    std::unique_lock<std::mutex> lock(onewayCalls().mutex);
    onewayCalls().finished.wait(lock, [] { return onewayCalls().pending == 0; });
}

OutsideProcess::OutsideProcess(const std::string& name) : previous_(nullptr) {
    auto process = std::make_shared<Process>();
    process->name = name;
    previous_ = enterProcess(std::move(process));
    emulated::daemon_threads::setOutsideDaemon(true);
}

OutsideProcess::~OutsideProcess() {
    enterProcess(std::move(previous_));
    emulated::daemon_threads::setOutsideDaemon(currentProcess() != nullptr);
}

}  // namespace zenth_host
