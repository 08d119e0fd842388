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

#include "zenth_host/DeviceTree.h"

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <vector>

#include "ReservePartition.h"
#include "zenth_host/EmulatedDevice.h"

namespace zenth_host {

namespace {

namespace fs = std::filesystem;
namespace misc = aidl::vendor::zenth::hardware::misc;

void fail(const std::string& what) {
    throw std::runtime_error(what);
}

// Makes what make() makes at devicePath, then places it and every folder it made.
void create(const DeviceTree& tree, const std::string& devicePath,
            const std::function<void()>& make) {
    std::vector<std::string> made;
    for (fs::path path = devicePath;
         emulated::isMapped(path.string()) && !tree.exists(path.string());
         path = path.parent_path()) {
        made.insert(made.begin(), path.string());
    }
    make();
    for (const std::string& path : made) emulated::boot::place(path);
}

void setMode(const std::string& hostPath, mode_t mode) {
    fs::permissions(hostPath, static_cast<fs::perms>(mode));
}

std::string makeScratchFolder(const std::string& parent) {
    std::string pattern = (fs::absolute(parent) / "zenth-device-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) fail("cannot create " + pattern);
    // Canonical, so that it compares with the paths the kernel reports.
    return fs::canonical(pattern).string();
}

// Read-only folders a test left must not stop the removal when it runs unprivileged.
void removeTree(const std::string& folder) {
    std::error_code ignored;
    for (auto it = fs::recursive_directory_iterator(folder, ignored);
         it != fs::recursive_directory_iterator(); it.increment(ignored)) {
        if (it->is_directory(ignored) && !it->is_symlink(ignored)) {
            fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, ignored);
        }
    }
    fs::permissions(folder, fs::perms::owner_all, fs::perm_options::add, ignored);
    fs::remove_all(folder, ignored);
}

}  // namespace

DeviceTree::DeviceTree(std::string rootFolder) : root_(std::move(rootFolder)) {
    emulated::setRoot(root_);
}

std::string DeviceTree::hostPath(const std::string& devicePath) const {
    // Never a host file of its own: writing or removing it would harm the host.
    if (!emulated::isMapped(devicePath)) fail(devicePath + " is not a device path");
    return emulated::hostPath(devicePath);
}

bool DeviceTree::exists(const std::string& devicePath) const {
    std::error_code ignored;
    return fs::exists(fs::symlink_status(hostPath(devicePath), ignored));
}

// One bulk read: the partition image is megabytes, and sanitizer builds are slow per byte.
std::string DeviceTree::readFile(const std::string& devicePath) const {
    const std::string path = hostPath(devicePath);
    if (!fs::is_regular_file(path)) fail(devicePath + " is not a file");
    std::ifstream in(path, std::ios::binary | std::ios::ate);
    std::string content(static_cast<size_t>(in.tellg()), '\0');
    in.seekg(0);
    in.read(content.data(), static_cast<std::streamsize>(content.size()));
    return content;
}

void DeviceTree::writeFile(const std::string& devicePath, const std::string& bytes,
                           mode_t mode) const {
    const std::string path = hostPath(devicePath);
    create(*this, devicePath, [&] {
        fs::create_directories(fs::path(path).parent_path());
        std::ofstream out(path, std::ios::binary | std::ios::trunc);
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        if (!out.flush()) fail("cannot write " + devicePath);
    });
    setMode(path, mode);
}

void DeviceTree::makeDir(const std::string& devicePath, mode_t mode) const {
    const std::string path = hostPath(devicePath);
    create(*this, devicePath, [&] { fs::create_directories(path); });
    setMode(path, mode);
}

mode_t DeviceTree::modeOf(const std::string& devicePath) const {
    return static_cast<mode_t>(fs::status(hostPath(devicePath)).permissions() & fs::perms::mask);
}

void DeviceTree::makeReadOnly(const std::string& devicePath) const {
    const std::string path = hostPath(devicePath);
    setMode(path, fs::is_directory(path) ? 0555 : 0444);
}

void DeviceTree::createFaultNode() const {
    writeFile(emulated::fault_node::kPath, "", 0444);
}

void DeviceTree::makeUfsStorage() const {
    writeFile(misc::kUfsBlockDevicePath, "", 0660);
}

void DeviceTree::createReservePartition() const {
    const std::string path = hostPath(misc::kReservePartitionPath);
    create(*this, misc::kReservePartitionPath, [&] {
        fs::create_directories(fs::path(path).parent_path());
        std::ofstream(path, std::ios::binary | std::ios::trunc);
        fs::resize_file(path, misc::kReservePartitionSize);  // sparse zeros
    });
}

void DeviceTree::writePartition(off_t offset, const std::string& bytes) const {
    std::fstream io(hostPath(misc::kReservePartitionPath),
                    std::ios::binary | std::ios::in | std::ios::out);
    io.seekp(offset);
    io.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!io.flush()) fail("cannot write the reserve partition at " + std::to_string(offset));
}

std::string DeviceTree::readPartition(off_t offset, size_t length) const {
    std::ifstream in(hostPath(misc::kReservePartitionPath), std::ios::binary);
    in.seekg(offset);
    std::string bytes(length, '\0');
    in.read(bytes.data(), static_cast<std::streamsize>(length));
    bytes.resize(static_cast<size_t>(in.gcount()));
    return bytes;
}

ScratchDevice::ScratchDevice(const std::string& parent) : DeviceTree(makeScratchFolder(parent)) {}

ScratchDevice::~ScratchDevice() {
    emulated::setRoot("");
    removeTree(root());
}

}  // namespace zenth_host
