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

// The daemon process's binder thread pool, as the host's binder and start-up use it.
#pragma once

#include <android/binder_status.h>

#include <functional>

namespace zenth_host {

// Runs a transaction on a thread of the pool. Waits for its status, unless oneway: then
// returns STATUS_OK as soon as it is queued.
binder_status_t serveOnThreadPool(std::function<binder_status_t()> transaction, bool oneway);

// Whether ABinderProcess_startThreadPool was called.
bool threadPoolStarted();

// SIGUSR1 then releases ABinderProcess_joinThreadPool.
void installThreadPoolReleaseSignal();

}  // namespace zenth_host
