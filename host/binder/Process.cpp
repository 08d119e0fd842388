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

// The host's model of processes: each thread knows the process it acts for.

#include "Process.h"

#include <utility>

#include <zenth_host/binder_host.h>

namespace zenth_host {

namespace {

std::shared_ptr<Process>& threadProcess() {
    thread_local std::shared_ptr<Process> process;
    return process;
}

}  // namespace

const std::shared_ptr<Process>& currentProcess() {
    return threadProcess();
}

std::shared_ptr<Process> enterProcess(std::shared_ptr<Process> process) {
    std::swap(threadProcess(), process);
    return process;
}

OutsideProcess::OutsideProcess(const std::string& name)
    : previous_(enterProcess(std::make_shared<Process>(Process{name}))) {}

OutsideProcess::~OutsideProcess() {
    enterProcess(std::move(previous_));
}

}  // namespace zenth_host
