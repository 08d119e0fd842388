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

// Shared by the interposed calls of the emulated device; not part of its API.

#include <sys/types.h>

#include <mutex>
#include <string>

#include "zenth_host/EmulatedDevice.h"

namespace emulated::internal {

// What the permission checks see for a path.
struct Attributes {
    uid_t uid = 0;
    gid_t gid = 0;
    mode_t mode = 0;  // permission bits (07777)
};

// Sets *hostPath and returns true when the path is mapped under the current root.
bool mapPath(const char* devicePath, std::string* hostPath);
// The reverse: the device path of a host path under root ("/mnt/vendor/..."), else "".
std::string devicePathOf(const std::string& root, const std::string& hostPath);

// Nodes of procfs and sysfs (a device path): their host mode is what the driver supports.
bool isKernelNode(const std::string& devicePath);

// The kernel's permission checks on a mapped host path for the daemon's credentials; each
// returns 0 or the errno value to fail with. Search permission on the folders on the way is
// part of every check.
int openDenied(const std::string& hostPath, int flags);
int accessDenied(const std::string& hostPath, int mode);
int lookupDenied(const std::string& hostPath);
int entryChangeDenied(const std::string& hostPath);
int listingDenied(const std::string& hostPath);
// chmod as the kernel allows it to the daemon: 0 or the errno value.
int changeMode(const std::string& hostPath, mode_t mode);

// Ownership records: the daemon made the path; or any owner, group and (kernel nodes) mode.
void recordCreated(const std::string& hostPath);
void record(const std::string& hostPath, uid_t uid, gid_t gid, bool setsMode, mode_t mode);
bool attributesOfHost(const std::string& hostPath, Attributes* attributes);
// The daemon removed the path: its record goes with it.
void forget(const std::string& hostPath);

// ---- Crash models: the write-side calls on mapped paths ----

enum class WriteEffect {
    Data,      // file data that storage keeps only once synced
    Sync,      // the file's data is now on storage
    Truncate,  // created or truncated: until synced it may come back empty
    Entry,     // a folder entry made or removed: kept at once
};

bool crashModelArmed();
// Held around each write-side call while armed.
std::unique_lock<std::mutex> writeSideLock();
// With the lock held: before the call, then after it (counts it; cuts at the armed point).
void beforeWriteSide(const std::string& hostPath);
void afterWriteSide(const std::string& call, const std::string& hostPath, WriteEffect effect);
// Descriptors opened on mapped paths while armed, and their host paths (lock held).
void trackDescriptor(int fd, const std::string& hostPath);
bool trackedPath(int fd, std::string* hostPath);
void untrackDescriptor(int fd);

// Runs a write-side call on a mapped path, counted while a crash model is armed.
template <typename Call>
auto writeSide(const std::string& name, const std::string& hostPath, WriteEffect effect, Call call) {
    if (!crashModelArmed()) return call();
    auto lock = writeSideLock();
    beforeWriteSide(hostPath);
    auto result = call();
    afterWriteSide(name, hostPath, effect);
    return result;
}

// The fault node: registers a descriptor opened on it; false when too many are open.
bool adoptFaultNodeDescriptor(int fd);

void resetFaultNode();
void resetKernelLog();
void resetSleeping();
void resetSyncs();

}  // namespace emulated::internal
