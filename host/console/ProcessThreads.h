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

// The daemon's own threads, seen from inside the process.
#pragma once

#include <chrono>
#include <cstddef>

namespace zenth_console {

// Threads of this process now.
size_t threadCount();

// Waits until no thread but the caller is doing work: each other thread is blocked in a
// wait that lasts (the main thread in the thread pool, the fault watcher in poll, a
// reporter in its sleep). Returns false on timeout.
bool waitUntilThreadsParked(std::chrono::milliseconds timeout);

}  // namespace zenth_console
