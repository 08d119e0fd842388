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

// The device as the kernel, ueventd and init leave it before the service starts, and the
// service's start as init makes it: the one place that decides what owner, group and mode a
// path gets, from the init and ueventd files.

#include <fnmatch.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "DeviceInternal.h"
#include "InitFiles.h"
#include "RealCalls.h"
#include "zenth_host/EmulatedDevice.h"

namespace emulated::boot {
namespace {

namespace fs = std::filesystem;
using internal::initFiles;
using internal::OwnershipAction;

struct Placement {
    bool placed = false;
    uid_t uid = 0;
    gid_t gid = 0;
    bool setsMode = false;
    mode_t mode = 0;

    void set(uid_t user, gid_t group, mode_t permissions) {
        placed = setsMode = true;
        uid = user;
        gid = group;
        mode = permissions;
    }
};

bool under(const std::string& devicePath, const char* prefix) {
    return devicePath.rfind(prefix, 0) == 0;
}

bool matches(const std::string& pattern, const std::string& path) {
    return fnmatch(pattern.c_str(), path.c_str(), FNM_PATHNAME) == 0;
}

// What the kernel's drivers give a node when they create it.
void kernelDefault(const std::string& devicePath, bool isDirectory, Placement* placement) {
    if (isDirectory) return;
    if (under(devicePath, "/dev/")) placement->set(0, 0, 0600);
    if (under(devicePath, "/proc/")) {
        placement->placed = true;
        placement->uid = placement->gid = internal::androidId("system");
    }
}

void ueventdLines(const std::string& devicePath, bool isDirectory, Placement* placement) {
    if (isDirectory) return;
    const size_t slash = devicePath.find_last_of('/');
    const std::string folder = devicePath.substr(0, slash);
    const std::string name = devicePath.substr(slash + 1);
    for (const auto& line : initFiles().permissions) {
        const bool node = line.attribute.empty() && matches(line.path, devicePath);
        const bool attribute =
                !line.attribute.empty() && line.attribute == name && matches(line.path, folder);
        if (node || attribute) placement->set(line.uid, line.gid, line.mode);
    }
}

void initActions(const std::string& devicePath, Placement* placement) {
    for (const OwnershipAction& action : initFiles().actions) {
        if (action.path != devicePath) continue;
        placement->placed = true;
        if (action.setsOwner) placement->uid = action.uid;
        if (action.setsGroup) placement->gid = action.gid;
        if (action.setsMode) {
            placement->setsMode = true;
            placement->mode = action.mode;
        }
    }
}

Placement placementOf(const std::string& devicePath, bool isDirectory) {
    Placement placement;
    kernelDefault(devicePath, isDirectory, &placement);
    ueventdLines(devicePath, isDirectory, &placement);
    initActions(devicePath, &placement);
    return placement;
}

void apply(const std::string& hostPath, const std::string& devicePath, const Placement& placement) {
    const bool kernelNode = internal::isKernelNode(devicePath);
    if (placement.setsMode && !kernelNode) __real_chmod(hostPath.c_str(), placement.mode);
    internal::record(hostPath, placement.uid, placement.gid, placement.setsMode && kernelNode,
                     placement.mode);
}

// init's mkdir makes what is missing; its parent must exist (a mount point, say).
void makeFolders(const std::string& root) {
    for (const OwnershipAction& action : initFiles().actions) {
        if (action.kind != OwnershipAction::Kind::Mkdir) continue;
        __real_mkdir((root + action.path).c_str(), action.mode);
    }
}

}  // namespace

void run() {
    const std::string root = emulated::root();
    if (root.empty()) return;
    makeFolders(root);
    std::error_code error;
    for (auto it = fs::recursive_directory_iterator(root, error);
         it != fs::recursive_directory_iterator(); it.increment(error)) {
        const std::string hostPath = it->path().string();
        const std::string devicePath = hostPath.substr(root.size());
        if (devicePath.rfind("/.", 0) == 0) continue;  // the emulation's own records
        const Placement placement = placementOf(devicePath, it->is_directory(error));
        if (placement.placed) apply(hostPath, devicePath, placement);
    }
}

void place(const std::string& devicePath) {
    std::string hostPath;
    struct stat status;
    if (!internal::mapPath(devicePath.c_str(), &hostPath) ||
        __real_stat(hostPath.c_str(), &status) != 0) {
        return;
    }
    const std::string canonical = hostPath.substr(root().size());
    Placement placement = placementOf(canonical, S_ISDIR(status.st_mode));
    Attributes folder;
    if (!placement.placed &&
        internal::attributesOfHost(hostPath.substr(0, hostPath.find_last_of('/')), &folder) &&
        folder.uid == credentials().uid) {
        placement.placed = true;  // the daemon made it
        placement.uid = credentials().uid;
        placement.gid = credentials().gid;
    }
    if (placement.placed) apply(hostPath, canonical, placement);
}

}  // namespace emulated::boot

namespace {

// A binary started on a device starts as init starts the service: the device booted, the
// service's credentials (see emulated::credentials) and umask 077.
struct InitStart {
    InitStart() {
        const char* root = std::getenv(emulated::kRootEnvironment);
        if (root == nullptr || root[0] == '\0') return;
        const emulated::internal::InitFiles& files = emulated::internal::initFiles();
        for (const std::string& problem : files.problems) {
            std::fprintf(stderr, "init: %s\n", problem.c_str());
        }
        if (!files.hasService) {
            std::fputs("init: no service to start in the init files\n", stderr);
            std::_Exit(1);
        }
        emulated::boot::run();
        umask(files.service.umask);
    }
};

const InitStart gInitStart;

}  // namespace
