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

// The init and ueventd files the emulated phone boots from, read as the phone's init and
// ueventd read them: the service's credentials, ueventd's permission lines and the
// ownership actions init runs before it starts the service.

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

#include "zenth_host/EmulatedDevice.h"

namespace emulated::internal {

// ueventd: a device node line ("/dev/... mode user group") or a sysfs attribute line
// ("/sys/... attribute mode user group"); the path may hold wildcards.
struct PermissionLine {
    std::string path;
    std::string attribute;  // empty for a device node
    mode_t mode;
    uid_t uid;
    gid_t gid;
};

// init: mkdir, chown or chmod, in the order init runs them.
struct OwnershipAction {
    enum class Kind { Mkdir, Chown, Chmod };
    Kind kind;
    std::string path;
    bool setsMode = false;
    mode_t mode = 0;
    bool setsOwner = false;
    uid_t uid = 0;
    bool setsGroup = false;
    gid_t gid = 0;
};

struct InitFiles {
    std::vector<PermissionLine> permissions;
    std::vector<OwnershipAction> actions;
    bool hasService = false;
    Credentials service;
    // What init or ueventd would log and skip.
    std::vector<std::string> problems;
};

// The platform's id of a user or group name; 0 (root) for a name it does not know.
unsigned androidId(const std::string& name);

// Parses the files: names starting with "ueventd" as ueventd files, the others as init
// files. Missing files are problems.
InitFiles parseInitFiles(const std::vector<std::string>& files);

// The files of ZENTH_DEVICE_INIT_FILES, or the shipped files and the emulated board's;
// parsed once per process.
const InitFiles& initFiles();

}  // namespace emulated::internal
