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

// Whole-process tests of the daemon's entry: start-up order, fatal registration failure,
// and the exit path when the thread pool returns.

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/DeviceTest.h"

namespace {

using ::testing::HasSubstr;

constexpr const char* kServiceTag = "vendor.zenth.hardware.ZenthMisc-V1-service";
// Start-up is over once the fan probe has logged its last line; on a device without FPGA
// and expander GPIO chip both reporters end with their probe line. Releasing the pool only
// then keeps the exit's static destruction clear of the detached reporters.
constexpr const char* kReleaseAfter[] = {"fan rpm_table support = ", "fpga is not support!",
                                         "exgpio is not support!"};

// A daemon that has not ended by then is killed by its alarm (which outlives the exec), so
// that a broken start-up fails the test instead of hanging it.
constexpr unsigned kWatchdogSeconds = 30;

struct DaemonRun {
    std::vector<std::string> lines;  // the daemon's log, message text after the tag
    int status = 0;
};

class ServiceEntryTest : public DeviceTest {
  protected:
    // Starts the daemon on this test's device and reads its log until it exits. When
    // `release` is set, the thread pool is released (SIGUSR1) once start-up has finished.
    DaemonRun run(const std::vector<std::string>& environment, bool release) {
        // Everything the child needs is prepared before fork: it only execs.
        std::vector<std::string> variables = environment;
        variables.push_back("ZENTH_DEVICE_ROOT=" + rootFolder());
        variables.push_back("ZENTH_DEVICE_FAST_SLEEP=1");
        std::vector<char*> envp;
        for (std::string& variable : variables) envp.push_back(variable.data());
        envp.push_back(nullptr);
        std::vector<char*> argv;
        if (*ZENTH_EMULATOR != '\0') argv.push_back(const_cast<char*>(ZENTH_EMULATOR));
        argv.push_back(const_cast<char*>(ZENTH_SERVICE_BINARY));
        argv.push_back(nullptr);

        int pipeFds[2];
        EXPECT_EQ(pipe2(pipeFds, O_CLOEXEC), 0);
        pid_t pid = fork();
        if (pid == 0) {
            alarm(kWatchdogSeconds);
            dup2(pipeFds[1], STDERR_FILENO);
            execve(argv[0], argv.data(), envp.data());
            _exit(127);
        }
        close(pipeFds[1]);
        DaemonRun result;
        FILE* log = fdopen(pipeFds[0], "r");
        char buffer[4096];
        while (fgets(buffer, sizeof(buffer), log) != nullptr) {
            std::string line(buffer);
            size_t tag = line.find(std::string(kServiceTag) + ": ");
            std::string message = tag == std::string::npos
                                          ? line
                                          : line.substr(tag + std::string(kServiceTag).size() + 2);
            if (!message.empty() && message.back() == '\n') message.pop_back();
            result.lines.push_back(message);
            if (release && std::all_of(std::begin(kReleaseAfter), std::end(kReleaseAfter),
                                       [&](const char* text) {
                                           return indexOf(result, text) != std::string::npos;
                                       })) {
                kill(pid, SIGUSR1);
                release = false;
            }
        }
        fclose(log);
        waitpid(pid, &result.status, 0);
        return result;
    }

    static size_t indexOf(const DaemonRun& run, const std::string& prefix, size_t from = 0) {
        for (size_t i = from; i < run.lines.size(); ++i) {
            if (run.lines[i].find(prefix) != std::string::npos) return i;
        }
        return std::string::npos;
    }
};

TEST_F(ServiceEntryTest, StartsInOrderAndExitsWithStatusOneWhenThePoolReturns) {
    DaemonRun daemon = run({}, true);

    ASSERT_TRUE(WIFEXITED(daemon.status)) << daemon.status;
    EXPECT_EQ(WEXITSTATUS(daemon.status), 1);
    ASSERT_FALSE(daemon.lines.empty());
    EXPECT_EQ(daemon.lines.front(), "service zenth misc aidl started!");

    // Restore, FPGA object, expander GPIO object, fan probe: in this order.
    size_t restore = indexOf(daemon, "gIsReserveIntegrate=");
    size_t fpga = indexOf(daemon, "ZenthFpga::ZenthFpga");
    size_t exgpio = indexOf(daemon, "ZenthExgpio::ZenthExgpio");
    size_t fan = indexOf(daemon, "fan device_id support = ");
    ASSERT_NE(fan, std::string::npos);
    EXPECT_LT(restore, fpga);
    EXPECT_LT(fpga, exgpio);
    EXPECT_LT(exgpio, fan);

    // The exit path destroys the local objects in reverse order of construction.
    size_t fanGone = indexOf(daemon, "ZenthFan::~ZenthFan", fan);
    size_t exgpioGone = indexOf(daemon, "ZenthExgpio::~ZenthExgpio", fan);
    size_t fpgaGone = indexOf(daemon, "ZenthFpga::~ZenthFpga", fan);
    ASSERT_NE(fpgaGone, std::string::npos);
    EXPECT_LT(fanGone, exgpioGone);
    EXPECT_LT(exgpioGone, fpgaGone);
}

TEST_F(ServiceEntryTest, RefusedRegistrationAbortsBeforeServing) {
    // A device whose manifest does not declare the instance refuses to register it.
    DaemonRun daemon = run({"ZENTH_HOST_MANIFESTS="}, false);

    ASSERT_TRUE(WIFSIGNALED(daemon.status)) << daemon.status;
    EXPECT_EQ(WTERMSIG(daemon.status), SIGABRT);
    // The reporters run alongside, so the fatal line need not be the very last one.
    size_t check = indexOf(daemon, "service.cpp:51] Check failed: status == STATUS_OK ");
    ASSERT_NE(check, std::string::npos);
    EXPECT_EQ(daemon.lines[check], "service.cpp:51] Check failed: status == STATUS_OK ");
    EXPECT_EQ(indexOf(daemon, "~Zenth"), std::string::npos);
}

}  // namespace
