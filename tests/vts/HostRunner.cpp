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
//
// It checks what the device test promises: once the daemon is idle after the tests, every file
// of the device is as it was before them. (Refusals that would write the reserve partition or
// the persist files had the service regressed are left to the unit tests of the node access
// and the calibration store, which see every byte.)

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <aidl/vendor/zenth/hardware/misc/IZenthMisc.h>
#include <android/binder_manager.h>
#include <gtest/gtest.h>
#include <zenth_host/DaemonThreads.h>
#include <zenth_host/DeviceTree.h>
#include <zenth_host/binder_host.h>

using aidl::vendor::zenth::hardware::misc::IZenthMisc;

namespace {

std::string instanceName() {
    return std::string(IZenthMisc::descriptor) + "/default";
}

int gArgc = 0;
char** gArgv = nullptr;

// Runs before every other initialiser, so that the platform's start-up finds its set-up.
__attribute__((constructor(101))) void prepareDaemon(int argc, char** argv, char** /*envp*/) {
    std::filesystem::remove_all(ZENTH_TEST_DEVICE_FOLDER);
    std::filesystem::create_directories(ZENTH_TEST_DEVICE_FOLDER);
    zenth_host::DeviceTree(ZENTH_TEST_DEVICE_FOLDER).buildSamplePhone();
    setenv("ZENTH_DEVICE_ROOT", ZENTH_TEST_DEVICE_FOLDER, 1);
    setenv("ZENTH_DEVICE_FAST_SLEEP", "1", 1);
    gArgc = argc;
    gArgv = argv;
}

using DeviceFiles = std::map<std::string, std::string>;  // path in the device: content

DeviceFiles deviceFiles() {
    DeviceFiles files;
    const std::filesystem::path root = ZENTH_TEST_DEVICE_FOLDER;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
        std::string path = "/" + entry.path().lexically_relative(root).string();
        if (entry.is_symlink()) {
            files[path] = "-> " + std::filesystem::read_symlink(entry.path()).string();
        } else if (entry.is_directory()) {
            files[path] = "(folder)";
        } else {
            std::ostringstream bytes;
            bytes << std::ifstream(entry.path(), std::ios::binary).rdbuf();
            files[path] = bytes.str();
        }
    }
    return files;
}

// The device as the daemon left it once idle after its start, against the same after the tests.
class DeviceUnchanged : public testing::Environment {
  public:
    void SetUp() override {
        ASSERT_TRUE(emulated::waitUntilIdle(kIdleWait)) << "the daemon did not become idle";
        before_ = deviceFiles();
    }
    void TearDown() override {
        ASSERT_TRUE(emulated::waitUntilIdle(kIdleWait)) << "the daemon did not become idle";
        const DeviceFiles after = deviceFiles();
        std::vector<std::string> changed;
        for (const auto& [path, content] : before_) {
            auto now = after.find(path);
            if (now == after.end() || now->second != content) changed.push_back(path);
        }
        for (const auto& [path, content] : after) {
            if (before_.count(path) == 0) changed.push_back(path);
        }
        EXPECT_TRUE(changed.empty()) << "changed on the device: " << testing::PrintToString(changed);
    }

  private:
    static constexpr std::chrono::milliseconds kIdleWait{10000};
    DeviceFiles before_;
};

void runTests() {
    // Test registration ends with static initialisation; the daemon registers from main.
    ndk::SpAIBinder registered(AServiceManager_waitForService(instanceName().c_str()));
    registered.set(nullptr);
    // A client process of its own: calls cross a parcel to the daemon's thread pool.
    zenth_host::OutsideProcess client;
    testing::InitGoogleTest(&gArgc, gArgv);
    testing::AddGlobalTestEnvironment(new DeviceUnchanged);
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
