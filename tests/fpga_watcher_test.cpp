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

#include <errno.h>
#include <poll.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include <android/log.h>
#include <gtest/gtest.h>

#include "ZenthFpga.h"
#include "support/FaultLogTest.h"
#include "zenth_host/EmulatedDevice.h"

using namespace aidl::vendor::zenth::hardware::misc;
using namespace std::chrono_literals;
namespace fault_node = emulated::fault_node;

namespace {

constexpr off_t kSrCount = 0x514043;
constexpr off_t kHrCount = 0x514053;
// A value that both consumers reject at once, so that a test need not wait for partition
// or file work.
constexpr uint64_t kRejectedValue = 7;

std::string valueLine(const char* hex, int count) {
    return std::string("poll value = 0x") + hex + " ret:" + std::to_string(count) + "\r\n";
}

}  // namespace

class FpgaWatcherTest : public FaultLogTest {
  protected:
    void startWatcher() {
        createFaultNode();
        ZenthFpga fpga;
        fpga.startFpgaThread();
        ASSERT_TRUE(fault_node::waitForPollCalls(1, kWait)) << "the watcher never polled";
    }
    // Ends the watcher as a broken node would, and waits until it has closed the node.
    void endWatcher() {
        fault_node::injectReadError(EIO);
        ASSERT_TRUE(fault_node::waitUntilClosed(kWait));
        EXPECT_EQ(count(ANDROID_LOG_ERROR, defaultTag(), "buf read err"), 1u);
    }
    // Waits until both consumers have rejected `events` values.
    void waitForRejections(size_t events) {
        EXPECT_TRUE(waitFor("mode is not support", events));
        EXPECT_TRUE(waitFor("mode is not support err log copy", events));
    }
    long countAt(off_t offset) const {
        return std::strtol(readPartition(offset, 13).c_str(), nullptr, 10);
    }
};

TEST_F(FpgaWatcherTest, StartsOnlyWhenTheNodeExists) {
    ZenthFpga fpga;
    clearLog();
    fpga.startFpgaThread();
    EXPECT_TRUE(lines().empty());
    EXPECT_EQ(fault_node::pollCalls(), 0u);

    // Existence is enough to start; the watcher then finds it cannot open the node.
    writeFile(fault_node::kPath, "", 0);
    fpga.startFpgaThread();
    EXPECT_TRUE(contains(ANDROID_LOG_DEBUG, defaultTag(), "startFpgaThread come in start"));
    EXPECT_TRUE(waitFor("Can't open file /proc/fpga/errinfoto_op"));
    EXPECT_TRUE(
            contains(ANDROID_LOG_ERROR, defaultTag(), "Can't open file /proc/fpga/errinfoto_op"));
    EXPECT_EQ(count(ANDROID_LOG_DEBUG, defaultTag(), "fpgaWriteOpFunc come in"), 1u);
}

TEST_F(FpgaWatcherTest, OneValueReachesBothConsumersAndTheWatcherWaitsAgain) {
    createReservePartition();
    startWatcher();
    fault_node::injectValue(2);
    ASSERT_TRUE(waitFor([](const std::vector<LogLine>& all) {
        return countPrefixed(all, "fpgaOpWrite: ") == 1 &&
               countPrefixed(all, "dmesg log saved to ") == 1;
    }));
    drainConsumers();
    EXPECT_TRUE(fault_node::waitUntilIdle(kWait));

    EXPECT_EQ(count(ANDROID_LOG_DEBUG, defaultTag(), valueLine("2", 8)), 1u);
    EXPECT_EQ(countAt(kSrCount), 1);
    ASSERT_EQ(savedDumps().size(), 1u);
    EXPECT_NE(savedDumps()[0].find("_exception_2_soft_rest_err.log"), std::string::npos);
    EXPECT_EQ(logDirEntries().size(), 1u);
    endWatcher();
}

TEST_F(FpgaWatcherTest, ShortReadsLeaveTheHighBytesZero) {
    startWatcher();
    fault_node::injectValue(0xFFFFFFFFFFFFFFFF);
    fault_node::injectValue(0x1122334455667788, 3);
    fault_node::injectValue(0x1122334455667788, 0);
    waitForRejections(3);
    EXPECT_EQ(messagesAfter(lines(), "poll value = 0x"),
              (std::vector<std::string>{"ffffffffffffffff ret:8\r\n", "667788 ret:3\r\n",
                                        "0 ret:0\r\n"}));
    endWatcher();
}

struct NodeFault {
    const char* name;
    std::function<void()> inject;
    const char* message;  // "" when the fault is silent
    bool fatal;
};

class FpgaWatcherFaultTest : public FpgaWatcherTest,
                             public ::testing::WithParamInterface<NodeFault> {};

TEST_P(FpgaWatcherFaultTest, EndsTheWatcherOnlyWhenFatal) {
    const NodeFault& fault = GetParam();
    startWatcher();
    clearLog();
    fault.inject();
    fault_node::injectValue(kRejectedValue);
    if (fault.fatal) {
        ASSERT_TRUE(fault_node::waitUntilClosed(kWait));
        EXPECT_EQ(fault_node::pendingEvents(), 1u) << "an event was handled after the failure";
        EXPECT_EQ(countPrefixed(lines(), "poll value = "), 0u);
    } else {
        waitForRejections(1);
        EXPECT_TRUE(fault_node::waitUntilIdle(kWait));
        EXPECT_EQ(count(ANDROID_LOG_DEBUG, defaultTag(), valueLine("7", 8)), 1u);
    }
    size_t errors = 0;
    for (const LogLine& line : lines()) {
        if (line.priority == ANDROID_LOG_ERROR &&
            line.message.rfind("mode is not support", 0) != 0) {
            ++errors;
            EXPECT_EQ(line.message, fault.message);
            EXPECT_TRUE(isDefaultTag(line.tag));
        }
    }
    EXPECT_EQ(errors, fault.message[0] == '\0' ? 0u : 1u);
    if (!fault.fatal) endWatcher();
}

INSTANTIATE_TEST_SUITE_P(
        Each, FpgaWatcherFaultTest,
        ::testing::Values(
                NodeFault{"PollInterrupted", fault_node::injectPollInterrupted, "", false},
                NodeFault{"PollTimeout", fault_node::injectPollTimeout, "poll timeout", false},
                // The second number is the requested events, not the returned ones.
                NodeFault{"PollWithoutPollin",
                          [] { fault_node::injectPollWithoutPollin(POLLPRI | POLLERR); },
                          "poll revents error 1 ,1", false},
                NodeFault{"ReadInterrupted", [] { fault_node::injectReadError(EINTR); }, "", false},
                NodeFault{"PollError", [] { fault_node::injectPollError(EBADF); }, "poll error",
                          true},
                NodeFault{"LseekError", [] { fault_node::injectLseekError(ESPIPE); },
                          "/proc/fpga/errinfoto_op Lseek err:Illegal seek", true},
                NodeFault{"ReadError", [] { fault_node::injectReadError(EIO); }, "buf read err",
                          true}),
        [](const auto& info) { return std::string(info.param.name); });

// Events arrive far faster than partition writes and kernel log dumps finish.
TEST_F(FpgaWatcherTest, BurstLosesNoCountAndDumpsAtMostTwicePerKindPerWindow) {
    constexpr int kEvents = 1000;
    constexpr std::chrono::milliseconds kBurstWait = 100s;
    createReservePartition();
    startWatcher();
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < kEvents; ++i) fault_node::injectValue(i % 2 == 0 ? 2 : 3);

    const std::string soft = "_exception_2_soft_rest_err.log",
                      hard = "_exception_3_hard_rest_err.log";
    auto decided = [](const std::vector<LogLine>& all) {
        return countPrefixed(all, "dmesg log saved to ") +
                       countPrefixed(all, "checkExceptionWithinTimeWindow 2 already") +
                       countPrefixed(all, "checkExceptionWithinTimeWindow 3 already") ==
               kEvents;
    };
    ASSERT_TRUE(waitFor(decided, kBurstWait));
    ASSERT_TRUE(waitFor(
            [](const std::vector<LogLine>& all) {
                return countPrefixed(all, "fpgaOpWrite: ") == kEvents;
            },
            kBurstWait));
    drainConsumers();
    const auto elapsed = std::chrono::steady_clock::now() - start;

    EXPECT_EQ(countAt(kSrCount), kEvents / 2);
    EXPECT_EQ(countAt(kHrCount), kEvents / 2);

    const long windows =
            1 + std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count() / 3000;
    for (const std::string& kind : {soft, hard}) {
        SCOPED_TRACE(kind);
        size_t saved = 0;
        for (const std::string& path : savedDumps()) saved += path.find(kind) != std::string::npos;
        EXPECT_GE(saved, 2u);  // the window opened at the first event admits one more
        EXPECT_LE(saved, static_cast<size_t>(2 * windows));
    }
    EXPECT_LE(logDirEntries().size(), 10u);
    endWatcher();
}
