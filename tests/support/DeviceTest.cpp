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
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <mutex>

#include <zenth_host/host_log.h>

#include "zenth_host/EmulatedDevice.h"

namespace fs = std::filesystem;

namespace {

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

size_t countMessage(const std::vector<zenth_test::LogLine>& all, const std::string& message) {
    return std::count_if(all.begin(), all.end(),
                         [&](const zenth_test::LogLine& line) { return line.message == message; });
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
    emulated::reset();
    emulated::sleeping::setMode(emulated::sleeping::Mode::Instant);
    const char* tmp = std::getenv("TMPDIR");
    device_.emplace(tmp != nullptr && tmp[0] != '\0' ? tmp : "/tmp");
}

void DeviceTest::TearDown() {
    if (emulated::fault_node::openDescriptors() > 0) stopFaultWatcher();
    if (emulated::sleeping::held() > 0) {
        ADD_FAILURE() << emulated::sleeping::held() << " thread(s) still held in usleep";
        emulated::sleeping::release();
    }
    EXPECT_EQ(openDescriptorCount(), descriptorsAtStart_) << "descriptors left open";
    EXPECT_LT(lines().size(), kMaxLogLines) << "the log overflowed";
    device_.reset();
    emulated::reset();
}

void DeviceTest::createReservePartition() {
    device_->createReservePartition();
    snapshotPartition();
}

void DeviceTest::writePartition(off_t offset, const std::string& bytes) {
    device_->writePartition(offset, bytes);
    snapshotPartition();
}

void DeviceTest::snapshotPartition() {
    partitionBaseline_ = readFile(kReservePartition);
}

void DeviceTest::expectPartitionUnchangedExcept(std::vector<Range> changed) const {
    const std::string now = readFile(kReservePartition);
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
    return countMessage(lines(), message);
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
            [&](const std::vector<LogLine>& all) { return countMessage(all, message) >= times; },
            timeout);
}

void DeviceTest::clearLog() {
    std::lock_guard<std::mutex> lock(gLogMutex);
    log_.clear();
}

std::string DeviceTest::defaultTag() {
    return ZENTH_DAEMON_NAME;
}

std::string DeviceTest::openFailure(const std::string& devicePath, int error) {
    return "D open " + devicePath + " failed! err:" + std::strerror(error) + "\n";
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
