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

// The root folder that stands for the device's file system, and the path mapping into it.

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>

#include "DeviceInternal.h"
#include "zenth_host/EmulatedDevice.h"

namespace emulated {
namespace {

constexpr const char* kDevicePrefixes[] = {"/dev/block/", "/proc/", "/sys/", "/mnt/vendor/"};

struct RootState {
    std::mutex mutex;
    std::string folder;
};

// Product threads are detached and may map paths at any time, so the root lives behind
// a mutex; a binary run by hand gets its root from the environment.
RootState& rootState() {
    static RootState* state = [] {
        auto* fresh = new RootState;
        if (const char* folder = std::getenv(kRootEnvironment)) fresh->folder = folder;
        return fresh;
    }();
    return *state;
}

bool isDevicePath(const char* path) {
    if (path[0] != '/') return path[0] != '\0';  // relative to the working directory "/"
    for (const char* prefix : kDevicePrefixes) {
        if (std::strncmp(path, prefix, std::strlen(prefix)) == 0) return true;
    }
    return false;
}

}  // namespace

void setRoot(const std::string& hostFolder) {
    RootState& state = rootState();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.folder = hostFolder;
}

std::string root() {
    RootState& state = rootState();
    std::lock_guard<std::mutex> lock(state.mutex);
    return state.folder;
}

std::string hostPath(const std::string& devicePath) {
    std::string mapped;
    return internal::mapPath(devicePath.c_str(), &mapped) ? mapped : devicePath;
}

bool isMapped(const std::string& devicePath) {
    std::string mapped;
    return internal::mapPath(devicePath.c_str(), &mapped);
}

void reset() {
    internal::resetFaultNode();
    internal::resetKernelLog();
    internal::resetSleeping();
    internal::resetSyncs();
}

namespace internal {

bool mapPath(const char* devicePath, std::string* hostPath) {
    if (devicePath == nullptr || !isDevicePath(devicePath)) return false;
    std::string folder = root();
    if (folder.empty()) return false;
    *hostPath = folder;
    if (devicePath[0] != '/') *hostPath += '/';
    *hostPath += devicePath;
    return true;
}

std::string devicePathOf(const std::string& root, const std::string& hostPath) {
    if (root.empty() || hostPath.compare(0, root.size(), root) != 0) return "";
    return hostPath.substr(root.size());
}

}  // namespace internal
}  // namespace emulated
