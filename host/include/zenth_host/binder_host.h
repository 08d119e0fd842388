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
 * Host-only controls of the binder platform, for tests and host tools. Product code never
 * includes this header.
 *
 * Processes: the binary is the daemon's process, and so is every thread by default. A
 * thread holding an OutsideProcess is a thread of another process while the guard lives. A
 * binder belongs to the process of the thread that created it; looked up from another
 * process it arrives as a proxy, and calls on it travel as transactions in parcels. The
 * daemon's process serves them on its binder thread pool; another process serves a two-way
 * call on the calling thread, which acts as a thread of that process for the call, and its
 * oneway calls in order on a thread of its own, after the caller has gone on.
 *
 * The device's VINTF manifest is made of the daemon's manifest fragments (the XML files in the
 * source tree's aidl folder), as the build puts them into a device's manifest. A whole process
 * is set up from its environment before main instead:
 *   ZENTH_HOST_MANIFESTS="a.xml,b.xml"  the manifest's files ("" for a manifest without HALs)
 *   ZENTH_HOST_STATS=1                  runs, in a process of its own, a statistics service
 *                                       that prints each atom to stdout; the platform's own
 *                                       manifest declares it
 * and SIGUSR1 releases ABinderProcess_joinThreadPool.
 */
#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace zenth_host {

struct Process;

// Makes the calling thread a thread of a new client process while it lives; it then does not
// count among the daemon's threads (emulated::waitUntilIdle).
class OutsideProcess {
  public:
    explicit OutsideProcess(const std::string& name = "client");
    ~OutsideProcess();
    OutsideProcess(const OutsideProcess&) = delete;
    OutsideProcess& operator=(const OutsideProcess&) = delete;

  private:
    std::shared_ptr<Process> previous_;
};

// Declares an instance besides the device's manifest, until resetServiceManager.
void declareInstance(const std::string& instance);

// Drops every registered service (releasing the service manager's references) and every
// declaration made with declareInstance.
void resetServiceManager();

// Makes one ABinderProcess_joinThreadPool return: the one in progress, or else the next one.
void releaseThreadPool();

// Waits until every oneway call sent so far, to any process, has been run to its end.
void waitForOnewayCalls();

// Status objects made and not yet deleted, in every process: a leak shows here.
size_t liveStatusCount();

// Transactions sent so far, in every process.
size_t transactionsSent();

}  // namespace zenth_host
