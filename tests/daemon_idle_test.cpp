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

// When the emulated platform calls the daemon idle: only while each of its threads is parked
// in one of the platform's waits. (That the daemon's own fault watcher is idle only once a
// fault's work has ended is tested with the watcher.)

#include <unistd.h>

#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>

#include <android/binder_process.h>
#include <gtest/gtest.h>

#include "ZenthFpgaInternal.h"
#include "support/DeviceTest.h"
#include "zenth_host/DaemonThreads.h"
#include "zenth_host/EmulatedDevice.h"
#include "zenth_host/binder_host.h"

namespace aidl::vendor::zenth::hardware::misc {
namespace {

using namespace std::chrono_literals;

// Long enough for a busy thread to be taken for idle, were the check wrong.
constexpr std::chrono::milliseconds kStillBusy = 200ms;

struct Wait {
    const char* name;
    bool parks;
    std::function<void()> prepare;  // on the test's thread
    std::function<void()> wait;     // on a thread of the daemon's process
    std::function<void()> end;      // lets the wait return
};

void PrintTo(const Wait& wait, std::ostream* out) {
    *out << wait.name;
}

class DaemonIdleTest : public DeviceTest, public ::testing::WithParamInterface<Wait> {};

TEST_P(DaemonIdleTest, CountsAThreadAsIdleOnlyWhileParkedInAPlatformWait) {
    const Wait& wait = GetParam();
    createFaultNode();
    ASSERT_TRUE(emulated::waitUntilIdle(kWait));
    wait.prepare();
    std::thread waiting(wait.wait);
    if (wait.parks) {
        EXPECT_TRUE(emulated::waitUntilIdle(kWait));
    } else {
        EXPECT_FALSE(emulated::waitUntilIdle(kStillBusy));
    }
    wait.end();
    waiting.join();
    EXPECT_TRUE(emulated::waitUntilIdle(kWait));
}

std::unique_ptr<std::promise<void>> gGate;

void closeGate() {
    gGate = std::make_unique<std::promise<void>>();
}

void openGate() {
    gGate->set_value();
}

INSTANTIATE_TEST_SUITE_P(
        Each, DaemonIdleTest,
        ::testing::Values(Wait{"HeldSleep", true,
                               [] { emulated::sleeping::setMode(emulated::sleeping::Mode::Held); },
                               [] { usleep(1000); }, emulated::sleeping::release},
                          Wait{"FaultWatcherPoll", true, [] {}, [] { fpgaWriteOpFunc(); },
                               [] { emulated::fault_node::injectPollError(); }},
                          Wait{"JoinedThreadPool", true, [] {}, ABinderProcess_joinThreadPool,
                               zenth_host::releaseThreadPool},
                          Wait{"ThreadOfAnotherProcess", true, closeGate,
                               [] {
                                   zenth_host::OutsideProcess client;
                                   gGate->get_future().wait();
                               },
                               openGate},
                          // A lock or condition of the daemon's own is no wait for the outside.
                          Wait{"DaemonsOwnCondition", false, closeGate,
                               [] { gGate->get_future().wait(); }, openGate}),
        caseName);

}  // namespace
}  // namespace aidl::vendor::zenth::hardware::misc
