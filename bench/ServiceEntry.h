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

#pragma once

// The daemon as the figures start it: its own entry, unchanged, in a child process of the
// benchmark, seen from outside as a phone sees it (the service manager, the process's threads).

#include <android/binder_manager.h>
#include <unistd.h>

#include <string>
#include <thread>

#include <aidl/vendor/zenth/hardware/misc/IZenthMisc.h>

#include "ChildProcess.h"

// The entry's main, compiled under this name: starts the daemon, registers it and serves on
// the calling thread for good.
int runServiceEntry();

namespace bench {

inline std::string serviceInstance() {
    return std::string(aidl::vendor::zenth::hardware::misc::IZenthMisc::descriptor) + "/default";
}

// Waits until the service is registered, as a client waiting for it does.
inline void waitForService() {
    ndk::SpAIBinder binder(AServiceManager_waitForService(serviceInstance().c_str()));
}

// Starts the entry on a thread of its own and returns once the service is registered.
inline void startDaemon() {
    std::thread(runServiceEntry).detach();
    waitForService();
}

inline long threadsNow() {
    return processStatus(getpid(), "Threads");
}

}  // namespace bench
