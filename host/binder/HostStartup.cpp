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

// Runs before main in every host binary: logging, the environment's platform set-up and the
// release signal of the thread pool. Linked whole so that nothing drops it.

#include <android/binder_manager.h>
#include <android/log.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <zenth_host/FakeStats.h>
#include <zenth_host/binder_host.h>
#include <zenth_host/host_log.h>

#include "ServiceManager.h"
#include "ThreadPool.h"

namespace zenth_host {

namespace {

bool environmentIs(const char* name, const char* value) {
    const char* set = std::getenv(name);
    return set != nullptr && std::strcmp(set, value) == 0;
}

void startStatsFromEnvironment() {
    if (!environmentIs("ZENTH_HOST_STATS", "1")) return;
    OutsideProcess statsProcess("stats");
    declareManifestInstances({FakeStats::instanceName()});
    auto stats = ndk::SharedRefBase::make<FakeStats>();
    stats->setPrinting(true);
    // The service manager keeps the service alive for the whole process.
    if (AServiceManager_addService(stats->asBinder().get(), FakeStats::instanceName().c_str()) !=
        EX_NONE) {
        std::fputs("host: statistics service not registered\n", stderr);
    }
}

struct HostStartup {
    HostStartup() {
        // Off-device every priority is shown.
        __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
        __android_log_set_logger(logcatLogger);
        declareFromManifests();
        startStatsFromEnvironment();
        installThreadPoolReleaseSignal();
    }
};

const HostStartup gHostStartup;

}  // namespace

}  // namespace zenth_host
