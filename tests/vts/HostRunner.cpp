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

// Runs the device test on the host against the daemon's own entry, which is this binary's main,
// on the emulated phone's sample device. Before main the device and the platform are prepared
// and a client thread is started; it runs the tests once the daemon serves and then ends the
// process with their status, as a kill ends the daemon on a phone.

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include <aidl/vendor/zenth/hardware/misc/IZenthMisc.h>
#include <android/binder_manager.h>
#include <gtest/gtest.h>
#include <zenth_host/binder_host.h>

#include "SampleDevice.h"

namespace {

std::string instanceName() {
    return std::string(aidl::vendor::zenth::hardware::misc::IZenthMisc::descriptor) + "/default";
}

int gArgc = 0;
char** gArgv = nullptr;

// Runs before every other initialiser, so that the platform's start-up finds its set-up.
__attribute__((constructor(101))) void prepareDaemon(int argc, char** argv, char** /*envp*/) {
    std::filesystem::remove_all(ZENTH_TEST_DEVICE_FOLDER);
    std::filesystem::create_directories(ZENTH_TEST_DEVICE_FOLDER);
    zenth_console::seedSampleDevice(ZENTH_TEST_DEVICE_FOLDER);
    setenv("ZENTH_DEVICE_ROOT", ZENTH_TEST_DEVICE_FOLDER, 1);
    setenv("ZENTH_DEVICE_FAST_SLEEP", "1", 1);
    gArgc = argc;
    gArgv = argv;
}

void runTests() {
    // Test registration ends with static initialisation; the daemon registers from main.
    ndk::SpAIBinder registered(AServiceManager_waitForService(instanceName().c_str()));
    registered.set(nullptr);
    // A client process of its own: calls cross a parcel to the daemon's thread pool.
    zenth_host::OutsideProcess client;
    testing::InitGoogleTest(&gArgc, gArgv);
    int status = RUN_ALL_TESTS();
    // With no declared instance the suite runs nothing; here that is a failure.
    if (testing::UnitTest::GetInstance()->test_to_run_count() == 0) status = 1;
    std::fflush(stdout);
    _exit(status);
}

struct TestStarter {
    TestStarter() { std::thread(runTests).detach(); }
};

const TestStarter gTestStarter;

}  // namespace
