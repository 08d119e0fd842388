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

// Which process a thread of the host belongs to, and how a binder looks from it.
#pragma once

#include <android/binder_ibinder.h>

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace zenth_host {

struct Process {
    std::string name;
    // Oneway calls to the process's binders, waiting for its thread to run them in order.
    std::mutex mutex;
    std::deque<std::function<void()>> onewayCalls;
    bool serving = false;
};

// The calling thread's process; null stands for the daemon's own.
const std::shared_ptr<Process>& currentProcess();

// Makes the calling thread a thread of `process`; returns the process it had.
std::shared_ptr<Process> enterProcess(std::shared_ptr<Process> process);

// A new strong reference to binder as the calling thread's process may hold it: the object
// itself in its own process, a new proxy of it in any other.
AIBinder* referenceFromCurrentProcess(AIBinder* binder);

// Whether binder's object was marked with VINTF stability.
bool hasVintfStability(AIBinder* binder);

// Hands a oneway call to the process that owns a binder and returns at once. The daemon's
// thread pool runs it; another process runs its oneway calls in order on a thread of its own.
void sendOneway(const std::shared_ptr<Process>& owner, std::function<void()> call);

}  // namespace zenth_host
