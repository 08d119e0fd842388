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

/*
 * Host-only controls of the in-process binder platform, for tests and host tools.
 * Product code never includes this header.
 *
 * A whole daemon process, which cannot call these, is set up from its environment
 * before main instead:
 *   ZENTH_HOST_DECLARED="a,b"          declares the listed instances
 *   ZENTH_HOST_REFUSE_REGISTRATION=1   makes AServiceManager_addService refuse
 *   ZENTH_HOST_STATS=1 | error         runs a statistics service that prints each atom
 *                                      to stdout (and answers with an error for "error")
 * and SIGUSR1 releases ABinderProcess_joinThreadPool.
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

namespace zenth_host {

// The service manifest: only declared instances are reported by AServiceManager_isDeclared.
void declareInstance(const std::string& instance);
void undeclareInstance(const std::string& instance);

// While refused, AServiceManager_addService registers nothing and returns EX_SECURITY.
void setRegistrationRefused(bool refused);

// Drops every registered service (releasing the service manager's references), every
// declaration and the refusal.
void resetServiceManager();

// The last value given to ABinderProcess_setThreadPoolMaxThreadCount (15 before any call).
uint32_t threadPoolMaxThreadCount();

// Makes one ABinderProcess_joinThreadPool return: the one in progress, or else the next one.
void releaseThreadPool();

// Forgets a release nobody consumed and restores the default maximum thread count.
void resetThreadPool();

// Waits until some thread is inside ABinderProcess_joinThreadPool.
bool waitForThreadPoolJoined(std::chrono::milliseconds timeout);

// Runs job on a thread joined to the pool and waits for it to finish, as a binder call
// would be served. Returns false, without running it, if no joined thread takes the job
// within timeout. Called from the joined thread itself, runs job at once.
bool runOnThreadPool(const std::function<void()>& job, std::chrono::milliseconds timeout);

}  // namespace zenth_host
