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

// The daemon's binaries as processes of their own. The daemon's entry: start-up order, fatal
// registration failure, and the exit path when the thread pool returns. The emulated phone as
// a person or a script uses it: the console fed on stdin, its results on stdout, the daemon's
// log on stderr, the device folder kept between starts.

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "MiscNodeTable.h"
#include "ReservePartition.h"
#include "support/DeviceTest.h"
#include "support/PhoneRun.h"
#include "zenth_host/EmulatedDevice.h"

namespace {

namespace fs = std::filesystem;
namespace misc = aidl::vendor::zenth::hardware::misc;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;
using zenth_test::PhoneRun;
using zenth_test::runPhone;
using zenth_test::slurp;

// ---- The daemon's entry ----

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

// ---- The emulated phone ----

using zenth_test::kLogDir;

class ConsoleTest : public DeviceTest {
  protected:
    // The phone on this test's device folder.
    PhoneRun run(const std::string& script, const std::string& environment = "") {
        return runPhone(rootFolder(), script, "", environment);
    }
};

TEST_F(ConsoleTest, ScriptDrivesEveryCommand) {
    PhoneRun phone =
            run("# a comment, then a blank line\n\n"
                "initialize\n"
                "isMiscNodeSupport 0 185\n"
                "isMiscNodeSupport 0 9999\n"
                "miscWriteNodeFile 0 185 255\n"
                "miscReadNodeFile 0 185\n"
                "miscReadNodeFile 0 83\n"
                "miscReadNodeFile 0 191\n"
                "miscWriteNodeFile 0 83 x\n"
                "saveCalibrationData tri 21;22\\s23\n"
                "saveCalibrationData motor i32:1,2\n"
                "fault 2\n"
                "frobnicate 1\n"
                "miscReadNodeFile 0\n"
                "miscWriteNodeFile 0 185 \\q\n"
                "regions\n"
                "faultlogs\n"
                "help\n"
                "quit\n"
                "initialize\n");
    EXPECT_EQ(phone.status, 1);
    ASSERT_GE(phone.lines.size(), 38u) << phone.log;
    std::vector<std::string> calls(phone.lines.begin(), phone.lines.begin() + 14);
    EXPECT_THAT(calls,
                ElementsAre("0", "1", "-1", "3", "255",
                            "Device version: AMOLED-6.7\\nDevice manufacture: panelco\\n",
                            // Binary content crosses as the conversion makes it.
                            "\\x02\\x10", "-1", "true", "false", "fault 0x2 handled",
                            "error: unknown command 'frobnicate' (type help for the commands)",
                            "error: usage: miscReadNodeFile <deviceId> <nodeFlag>",
                            "error: unknown escape \\q"));
    std::vector<std::string> regions(phone.lines.begin() + 14, phone.lines.begin() + 36);
    EXPECT_EQ(regions[0], "storage emmc");
    EXPECT_EQ(regions[1], "motor 1203,-877,455,12,-3,980");
    EXPECT_EQ(regions[2], "fan.id 473918000003");
    EXPECT_EQ(regions[8], "fpga.4 sr:3");  // the seeded 2 and the fault
    EXPECT_EQ(regions[10], "fpga.6 ec:0x1234");
    EXPECT_EQ(regions[21], "exgpio.6 prs:1");
    EXPECT_THAT(phone.lines[36], HasSubstr("soft_rest_err"));  // the one saved fault log
    EXPECT_TRUE(exists("/mnt/vendor/zenthreserve/fpga_save_log/" + phone.lines[36]));
    EXPECT_THAT(phone.lines.back(), HasSubstr("Calibration types"));  // help, then quit
    EXPECT_THAT(phone.lines, Contains(EndsWith("as a crash or a power cut would")));  // row whole

    EXPECT_EQ(readFile("/sys/class/leds/red/brightness"), "255");
    EXPECT_EQ(readFile("/mnt/vendor/persist/engineermode/tri_state_hall_data"), "21;22 23");
    EXPECT_EQ(readFile("/mnt/vendor/persist/engineermode/tri_state_hall_calib_flag"), "1");
}

TEST_F(ConsoleTest, SeedsTheDeviceAndTheNextStartRestoresSavedCalibration) {
    PhoneRun first =
            run("saveCalibrationData motor i32:1,-2,3,0,0,7\n"
                "saveCalibrationData magcover hex:3031323334353637\n");
    EXPECT_EQ(first.status, 1);  // the end of the input takes the entry's exit path
    EXPECT_THAT(first.lines, ElementsAre("true", "true"));
    for (const auto& row : misc::gMiscNodeTable) {
        EXPECT_TRUE(exists(row.path)) << row.path;
    }
    EXPECT_EQ(modeOf("/proc/devinfo/lcd"), 0444u);
    // The start-up handed the seeded calibration and the fan variant to the drivers.
    EXPECT_EQ(readFile("/sys/class/motor/hall_calibration"), "1203,-877,455,12,-3,980");
    EXPECT_EQ(readFile("/sys/class/leds/fan/device_id"), "1");

    PhoneRun second = run("miscReadNodeFile 0 360\nregions\n");
    ASSERT_GE(second.lines.size(), 3u);
    EXPECT_EQ(second.lines[0], "01234567");
    EXPECT_EQ(second.lines[2], "motor 1,-2,3,0,0,7");
    // Written over the first start's longer restore.
    EXPECT_THAT(readFile("/sys/class/motor/hall_calibration"), StartsWith("1,-2,3,0,0,7"));
}

// The phone boots from the shipped init and ueventd files, so a broken line breaks it as it
// would break a phone. The daemon, as init starts it, writes every node its drivers accept.
TEST_F(ConsoleTest, StartsTheDaemonFromTheShippedInitFiles) {
    const fs::path tree = ZENTH_SOURCE_DIR;
    const std::string kServiceRc = "vendor.zenth.hardware.ZenthMisc-V1-service.rc";
    const std::string kMotorNode = "/sys/class/motor/hall_calibration";
    const std::string kRpmNode = "/sys/class/leds/fan/rpm_table";
    const std::string kMotor = "1203,-877,455,12,-3,980";
    const std::string kRpm = "0:0,1:2100,2:3200,3:4300,4:5400,5:6500";
    struct Broken {
        std::string file;  // "": the files as shipped
        std::string line;
        std::string replacement;
        std::string logged;   // a line of the daemon's log
        std::string drivers;  // what the start handed the motor and fan drivers
        std::string srCount;
        bool dumpKept;
    };
    const Broken cases[] = {
            {"", "", "", "dmesg log saved to", kMotor + " " + kRpm, "sr:3", true},
            {"ueventd.zenth_misc.rc", "zenthreserve1    0660", "zenthreserve1    0066",
             "readInterface /dev/block/by-name/zenthreserve1 error", " ", "sr:2", true},
            {kServiceRc, "    capabilities SYSLOG\n", "",
             "Failed to get klogctl: Operation not permitted", kMotor + " " + kRpm, "sr:3", false},
            {kServiceRc, "    chown system system " + kMotorNode + "\n", "",
             "motor calbration data write count = -1", " " + kRpm, "sr:3", true},
    };
    const std::string folder = rootFolder() + ".boot";
    std::string script = "fault 2\n";
    std::vector<std::string> expected = {"fault 0x2 handled"};
    run("");  // seeds the sample device
    for (const auto& row : misc::gMiscNodeTable) {
        const std::string path = row.path;
        // The host mode of a node is what its driver supports.
        if (path.rfind("/dev/", 0) == 0 || !fs::is_regular_file(hostPath(path)) ||
            (modeOf(path) & S_IWUSR) == 0) {
            continue;
        }
        script += "miscWriteNodeFile 0 " + std::to_string(row.nodeFlag) + " 1\n";
        expected.push_back("1");
    }
    for (const Broken& c : cases) {
        SCOPED_TRACE(c.file + ": " + c.line);
        fs::remove_all(rootFolder());
        fs::create_directories(folder);
        std::string files;
        for (const fs::path& source : {tree / "aidl", tree / "host/device/board"}) {
            for (const auto& entry : fs::directory_iterator(source)) {
                if (entry.path().extension() != ".rc") continue;
                std::string text = slurp(entry.path());
                if (entry.path().filename() == c.file) {
                    ASSERT_NE(text.find(c.line), std::string::npos);
                    text.replace(text.find(c.line), c.line.size(), c.replacement);
                }
                const fs::path copy = fs::path(folder) / entry.path().filename();
                std::ofstream(copy) << text;
                files += (files.empty() ? "" : ",") + copy.string();
            }
        }
        PhoneRun phone = run(script, "ZENTH_DEVICE_INIT_FILES=" + files);
        EXPECT_EQ(phone.lines, expected) << phone.log;
        EXPECT_THAT(phone.log, HasSubstr(c.logged));
        EXPECT_THAT(phone.log, Not(HasSubstr("init: ")));  // init read every line
        EXPECT_EQ(readFile(kMotorNode) + " " + readFile(kRpmNode), c.drivers);
        const off_t srField = misc::fpgaOpInfoFieldOffset(misc::kFpgaSrField);
        EXPECT_EQ(readPartition(srField, misc::kCounterFieldSize).c_str(), c.srCount);
        std::vector<fs::path> dumps;
        for (const auto& e : fs::directory_iterator(hostPath(kLogDir))) dumps.push_back(e.path());
        ASSERT_EQ(dumps.size(), c.dumpKept ? 1u : 0u);
        if (c.dumpKept) {
            EXPECT_EQ(fs::status(dumps[0]).permissions(), fs::perms(0600));
            EXPECT_EQ(slurp(dumps[0]), emulated::kernel_log::kDefaultContent);
        }
    }
    fs::remove_all(folder);
}

// A fresh process: the reserve flag starts out clear, so a device without the partition
// refuses motor calibration.
TEST_F(ConsoleTest, FreshDaemonWithoutReservePartitionRefusesMotorCalibration) {
    // A device folder that is not empty is used as it is.
    writeFile("/sys/class/motor/hall_calibration", "");
    PhoneRun phone =
            runPhone(rootFolder(), "saveCalibrationData motor i32:1,2,3,4,5,6\n", "--fast-sleep");
    EXPECT_THAT(phone.lines, ElementsAre("false"));
    EXPECT_THAT(phone.log, HasSubstr(": gIsReserveIntegrate=0, gIsEmmcStorage=1\n"));
    EXPECT_THAT(phone.log,
                HasSubstr(" D vendor.zenth.hardware.ZenthMisc-V1-service: do nothing\n"));
}

}  // namespace
