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
#include <sstream>

#include <android/log.h>

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

}  // namespace

namespace zenth_test {

struct CapturedLog {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<LogLine> lines;

    template <typename Function>
    auto locked(Function function) {
        std::lock_guard<std::mutex> lock(mutex);
        return function(lines);
    }
};

}  // namespace zenth_test

namespace {

// liblog keeps one logger for the process and detached product threads may log at any
// moment, so the logger stays installed and finds the current test's log under a lock.
// Lines logged between tests go to stderr as liblog would print them.
std::mutex gSinkMutex;
zenth_test::CapturedLog* gSink = nullptr;

void captureLogger(const struct __android_logger_data* data, const char* message) {
    std::lock_guard<std::mutex> sinkLock(gSinkMutex);
    if (gSink == nullptr) {
        __android_log_stderr_logger(data, message);
        return;
    }
    std::lock_guard<std::mutex> lock(gSink->mutex);
    gSink->lines.push_back({data->priority, data->tag != nullptr ? data->tag : "", message});
    gSink->changed.notify_all();
}

}  // namespace

DeviceTest::DeviceTest() = default;
DeviceTest::~DeviceTest() {
    std::lock_guard<std::mutex> lock(gSinkMutex);
    if (gSink == log_.get()) gSink = nullptr;
}

void DeviceTest::SetUp() {
    descriptorsAtStart_ = openDescriptorCount();
    log_ = std::make_unique<zenth_test::CapturedLog>();
    // Every time: a released thread pool puts the host's own logger back.
    __android_log_set_logger(captureLogger);
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
    {
        std::lock_guard<std::mutex> lock(gSinkMutex);
        gSink = log_.get();
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
    emulated::setRoot("");
    emulated::reset();
    removeTree(root_);
}

std::string DeviceTest::hostPath(const std::string& devicePath) const {
    EXPECT_TRUE(emulated::isMapped(devicePath)) << devicePath << " is not a device path";
    return emulated::hostPath(devicePath);
}

void DeviceTest::writeFile(const std::string& devicePath, const std::string& bytes,
                           mode_t mode) const {
    fs::path path = hostPath(devicePath);
    fs::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    ASSERT_TRUE(out) << "cannot write " << path;
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
    fs::create_directories(path);
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
    fs::create_directories(path.parent_path());
    { std::ofstream create(path, std::ios::binary | std::ios::trunc); }
    fs::resize_file(path, static_cast<uintmax_t>(kReservePartitionSize));  // sparse zeros
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
    std::string now = readWhole(hostPath(kReservePartition));
    ASSERT_EQ(now.size(), partitionBaseline_.size()) << "the reserve partition changed size";
    auto isAllowed = [&changed](size_t i) {
        return std::any_of(changed.begin(), changed.end(), [i](const Range& range) {
            return i >= static_cast<size_t>(range.offset) &&
                   i < static_cast<size_t>(range.offset) + range.length;
        });
    };
    std::ostringstream unexpected;
    int reported = 0;
    // memcmp skips the unchanged stretches quickly; only differing bytes are looked at.
    for (size_t i = 0; i < now.size() && reported < 8;) {
        size_t step = std::min<size_t>(4096, now.size() - i);
        if (memcmp(now.data() + i, partitionBaseline_.data() + i, step) == 0) {
            i += step;
            continue;
        }
        for (size_t end = i + step; i < end && reported < 8; ++i) {
            if (now[i] != partitionBaseline_[i] && !isAllowed(i)) {
                unexpected << " " << i << "(0x" << std::hex << i << std::dec << ")";
                ++reported;
            }
        }
    }
    EXPECT_EQ(reported, 0) << "reserve partition bytes changed outside the expected ranges at"
                           << unexpected.str();
}

std::vector<zenth_test::LogLine> DeviceTest::lines() const {
    return log_->locked([](const std::vector<LogLine>& all) { return all; });
}

size_t DeviceTest::count(int priority, const std::string& tag, const std::string& message) const {
    return log_->locked([&](const std::vector<LogLine>& all) {
        return std::count_if(all.begin(), all.end(), [&](const LogLine& line) {
            return line.priority == priority && line.tag == tag && line.message == message;
        });
    });
}

size_t DeviceTest::count(const std::string& message) const {
    return log_->locked([&](const std::vector<LogLine>& all) {
        return std::count_if(all.begin(), all.end(),
                             [&](const LogLine& line) { return line.message == message; });
    });
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
    std::unique_lock<std::mutex> lock(log_->mutex);
    return log_->changed.wait_for(lock, timeout, [&] { return predicate(log_->lines); });
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
    log_->locked([](std::vector<LogLine>& all) {
        all.clear();
        return 0;
    });
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
