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

#include "support/DeviceTest.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>

#include <zenth_host/host_log.h>

#include "zenth_host/EmulatedDevice.h"

namespace fs = std::filesystem;

namespace {

std::string makeRootFolder() {
    const char* tmp = std::getenv("TMPDIR");
    fs::path base = fs::absolute(tmp != nullptr && tmp[0] != '\0' ? tmp : "/tmp");
    std::string pattern = (base / "zenth-device-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) ADD_FAILURE() << "cannot create " << pattern;
    // Canonical, so that it compares with paths the kernel reports (fsync record).
    return fs::canonical(pattern).string();
}

// Read-only folders left by a test must not stop the removal when it runs unprivileged.
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

// One bulk read: the partition image is megabytes, and sanitizer builds are slow per byte.
std::string readWhole(const std::string& path) {
    std::ifstream in(path, std::ios::binary | std::ios::ate);
    std::string content(static_cast<size_t>(std::max<std::streamoff>(in.tellg(), 0)), '\0');
    in.seekg(0);
    in.read(content.data(), static_cast<std::streamsize>(content.size()));
    return content;
}

// liblog keeps one logger for the process and detached product threads may log at any
// moment, so the logger stays installed and records into the running test's log under one
// lock. Lines logged between tests go to stderr as liblog would print them. A runaway loop
// in the product fails the test instead of filling the machine's memory.
constexpr size_t kMaxLogLines = 1000000;
std::mutex gLogMutex;
std::condition_variable gLogChanged;
std::vector<zenth_test::LogLine>* gLog = nullptr;

void captureLogger(const struct __android_log_message* log_message) {
    std::lock_guard<std::mutex> lock(gLogMutex);
    if (gLog == nullptr) {
        __android_log_stderr_logger(log_message);
        return;
    }
    if (gLog->size() == kMaxLogLines) return;
    gLog->push_back({log_message->priority, log_message->tag != nullptr ? log_message->tag : "",
                     log_message->message});
    gLogChanged.notify_all();
}

}  // namespace

DeviceTest::~DeviceTest() {
    std::lock_guard<std::mutex> lock(gLogMutex);
    if (gLog == &log_) gLog = nullptr;
}

void DeviceTest::SetUp() {
    descriptorsAtStart_ = openDescriptorCount();
    // Every time: a released thread pool puts the host's own logger back.
    __android_log_set_logger(captureLogger);
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
    {
        std::lock_guard<std::mutex> lock(gLogMutex);
        gLog = &log_;
    }
    root_ = makeRootFolder();
    emulated::reset();
    emulated::sleeping::setMode(emulated::sleeping::Mode::Instant);
    emulated::setRoot(root_);
}

void DeviceTest::TearDown() {
    if (emulated::fault_node::openDescriptors() > 0) stopFaultWatcher();
    if (emulated::sleeping::held() > 0) {
        ADD_FAILURE() << emulated::sleeping::held() << " thread(s) still held in usleep";
        emulated::sleeping::release();
    }
    EXPECT_EQ(openDescriptorCount(), descriptorsAtStart_) << "descriptors left open";
    EXPECT_LT(lines().size(), kMaxLogLines) << "the log overflowed";
    emulated::setRoot("");
    emulated::reset();
    removeTree(root_);
}

std::string DeviceTest::hostPath(const std::string& devicePath) const {
    if (emulated::isMapped(devicePath)) return emulated::hostPath(devicePath);
    // Never the host's own file: a helper that writes or removes it would harm the host.
    ADD_FAILURE() << devicePath << " is not a device path";
    return root_ + "/unmapped" + devicePath;
}

void DeviceTest::create(const std::string& devicePath, const std::function<void()>& make) const {
    std::vector<std::string> made;
    for (fs::path path = devicePath; emulated::isMapped(path.string()) && !exists(path.string());
         path = path.parent_path()) {
        made.insert(made.begin(), path.string());
    }
    make();
    for (const std::string& path : made) emulated::boot::place(path);
}

void DeviceTest::writeFile(const std::string& devicePath, const std::string& bytes,
                           mode_t mode) const {
    fs::path path = hostPath(devicePath);
    create(devicePath, [&] {
        fs::create_directories(path.parent_path());
        std::ofstream out(path, std::ios::binary | std::ios::trunc);
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        out.close();
        ASSERT_TRUE(out) << "cannot write " << path;
    });
    fs::permissions(path, static_cast<fs::perms>(mode));
}

std::string DeviceTest::readFile(const std::string& devicePath) const {
    std::string path = hostPath(devicePath);
    EXPECT_TRUE(fs::is_regular_file(path)) << devicePath << " is not a file";
    return readWhole(path);
}

bool DeviceTest::exists(const std::string& devicePath) const {
    std::error_code ignored;
    return fs::exists(fs::symlink_status(hostPath(devicePath), ignored));
}

mode_t DeviceTest::modeOf(const std::string& devicePath) const {
    return static_cast<mode_t>(fs::status(hostPath(devicePath)).permissions() & fs::perms::mask);
}

void DeviceTest::makeDir(const std::string& devicePath, mode_t mode) const {
    fs::path path = hostPath(devicePath);
    create(devicePath, [&] { fs::create_directories(path); });
    fs::permissions(path, static_cast<fs::perms>(mode));
}

void DeviceTest::makeReadOnly(const std::string& devicePath) const {
    fs::path path = hostPath(devicePath);
    fs::permissions(path, fs::is_directory(path) ? static_cast<fs::perms>(0555)
                                                 : static_cast<fs::perms>(0444));
}

void DeviceTest::createFaultNode() const {
    writeFile(emulated::fault_node::kPath, "", 0444);
}

void DeviceTest::makeUfsStorage() const {
    writeFile(kUfsMarker, "", 0660);
}

void DeviceTest::createReservePartition() {
    fs::path path = hostPath(kReservePartition);
    create(kReservePartition, [&] {
        fs::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary | std::ios::trunc).close();
        fs::resize_file(path, static_cast<uintmax_t>(kReservePartitionSize));  // sparse zeros
    });
    snapshotPartition();
}

std::string DeviceTest::readPartition(off_t offset, size_t length) const {
    std::ifstream in(hostPath(kReservePartition), std::ios::binary);
    in.seekg(offset);
    std::string bytes(length, '\0');
    in.read(bytes.data(), static_cast<std::streamsize>(length));
    bytes.resize(static_cast<size_t>(in.gcount()));
    return bytes;
}

void DeviceTest::writePartition(off_t offset, const std::string& bytes) {
    {
        std::fstream io(hostPath(kReservePartition),
                        std::ios::binary | std::ios::in | std::ios::out);
        io.seekp(offset);
        io.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        ASSERT_TRUE(io) << "cannot write the reserve partition at " << offset;
    }
    snapshotPartition();
}

void DeviceTest::snapshotPartition() {
    partitionBaseline_ = readWhole(hostPath(kReservePartition));
}

void DeviceTest::expectPartitionUnchangedExcept(std::vector<Range> changed) const {
    const std::string now = readWhole(hostPath(kReservePartition));
    std::string expected = partitionBaseline_;
    ASSERT_EQ(now.size(), expected.size()) << "the reserve partition changed size";
    for (const Range& range : changed) {
        expected.replace(range.offset, range.length, now, range.offset, range.length);
    }
    if (now == expected) return;
    const auto first = std::mismatch(now.begin(), now.end(), expected.begin()).first - now.begin();
    ADD_FAILURE() << "reserve partition bytes changed outside the expected ranges, first at "
                  << first << " (0x" << std::hex << first << ")";
}

std::vector<zenth_test::LogLine> DeviceTest::lines() const {
    std::lock_guard<std::mutex> lock(gLogMutex);
    return log_;
}

size_t DeviceTest::count(int priority, const std::string& tag, const std::string& message) const {
    const std::vector<LogLine> all = lines();
    return std::count_if(all.begin(), all.end(), [&](const LogLine& line) {
        return line.priority == priority && line.tag == tag && line.message == message;
    });
}

size_t DeviceTest::count(const std::string& message) const {
    const std::vector<LogLine> all = lines();
    return std::count_if(all.begin(), all.end(),
                         [&](const LogLine& line) { return line.message == message; });
}

std::string DeviceTest::messages(const std::string& tag) const {
    std::string out;
    for (const LogLine& line : lines()) {
        if (line.tag != tag) continue;
        out += line.priority >= 2 && line.priority <= 7 ? "VDIWEF"[line.priority - 2] : '?';
        out += " " + line.message + "\n";
    }
    return out;
}

bool DeviceTest::waitFor(const Predicate& predicate, std::chrono::milliseconds timeout) const {
    std::unique_lock<std::mutex> lock(gLogMutex);
    return gLogChanged.wait_for(lock, timeout, [&] { return predicate(log_); });
}

bool DeviceTest::waitFor(const std::string& message, size_t times,
                         std::chrono::milliseconds timeout) const {
    return waitFor(
            [&](const std::vector<LogLine>& all) {
                return static_cast<size_t>(std::count_if(
                               all.begin(), all.end(),
                               [&](const LogLine& l) { return l.message == message; })) >= times;
            },
            timeout);
}

void DeviceTest::clearLog() {
    std::lock_guard<std::mutex> lock(gLogMutex);
    log_.clear();
}

std::string DeviceTest::defaultTag() {
    return program_invocation_short_name;
}

int DeviceTest::openDescriptorCount() {
    // The iterator's own descriptor is counted every time, so counts compare fairly.
    auto entries = fs::directory_iterator("/proc/self/fd");
    return static_cast<int>(std::distance(fs::begin(entries), fs::end(entries)));
}

void DeviceTest::stopFaultWatcher() const {
    emulated::fault_node::injectPollError(EINVAL);
    EXPECT_TRUE(emulated::fault_node::waitUntilClosed(kWait))
            << "the fault watcher did not close the fault node";
}
