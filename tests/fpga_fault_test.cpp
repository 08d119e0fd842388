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

// FPGA fault handling: the watcher on the fault node, the recording of each fault in the
// reserve partition's records (fault counts and code, the node-288 view and the enable-info
// area of node 289), the kernel log capture per fault with its time window, and the
// retention of the saved logs.

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <future>
#include <mutex>
#include <regex>
#include <string>
#include <vector>

#include <android/log.h>
#include <gtest/gtest.h>

#include "ZenthFpgaInternal.h"
#include "support/DeviceTest.h"
#include "zenth_host/DaemonThreads.h"
#include "zenth_host/EmulatedDevice.h"

namespace aidl::vendor::zenth::hardware::misc {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;
using zenth_test::LogLine;
namespace fault_node = emulated::fault_node;
namespace kernel_log = emulated::kernel_log;

using zenth_test::kLogDir;
constexpr const char* kLogParent = "/mnt/vendor/zenthreserve";

size_t countPrefixed(const std::vector<LogLine>& lines, const std::string& prefix) {
    return static_cast<size_t>(std::count_if(lines.begin(), lines.end(), [&](const LogLine& l) {
        return l.message.rfind(prefix, 0) == 0;
    }));
}

// "YYYYmmdd_HHMMSS_mmm" in local time, as a dump name carries it.
std::string stampAt(std::chrono::system_clock::time_point when) {
    const time_t seconds = std::chrono::system_clock::to_time_t(when);
    struct tm local;
    localtime_r(&seconds, &local);
    char text[40];
    const size_t n = strftime(text, sizeof(text), "%Y%m%d_%H%M%S", &local);
    auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(when.time_since_epoch());
    snprintf(text + n, sizeof(text) - n, "_%03d", static_cast<int>(ms.count() % 1000));
    return text;
}

std::string refusal(int modeNumber) {
    return "checkExceptionWithinTimeWindow " + std::to_string(modeNumber) +
           " already triggered in 3000ms 2 times, return.";
}

// Every time window expired (the first capture of each kind opens one) and the reserve file
// system present without the fault log directory.
class FpgaFaultTest : public DeviceTest {
  protected:
    void SetUp() override {
        DeviceTest::SetUp();
        for (int id = 0; id < kExceptionKindCount; ++id) setWindow(id, steady_clock::now() - 1h, 0);
        makeDir(kLogParent);
    }
    static void setWindow(int exception_id, steady_clock::time_point start, uint8_t budget) {
        std::lock_guard<std::mutex> lock(gExceptionWindowMutex);
        gExceptionWindowStart[exception_id] = start;
        gExceptionWindowBudget[exception_id] = budget;
    }
    // Creates an empty file (or directory) in the fault log directory, modified at the time.
    void addLogEntry(const std::string& name, time_t seconds, long nanoseconds = 0,
                     bool directory = false) const {
        const std::string path = entry(name);
        if (directory) {
            makeDir(path);
        } else {
            writeFile(path, "");
        }
        const struct timespec times[2] = {{seconds, nanoseconds}, {seconds, nanoseconds}};
        ASSERT_EQ(utimensat(AT_FDCWD, hostPath(path).c_str(), times, 0), 0) << path;
    }
    static std::string entry(const std::string& name) { return std::string(kLogDir) + "/" + name; }
    // Names in the fault log directory, sorted.
    std::vector<std::string> logDirEntries() const {
        std::vector<std::string> names;
        std::error_code ignored;
        for (const auto& e : std::filesystem::directory_iterator(hostPath(kLogDir), ignored)) {
            names.push_back(e.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }
    // The rest of each message that starts with the prefix, in log order.
    std::vector<std::string> messagesAfter(const std::string& prefix) const {
        std::vector<std::string> rests;
        for (const LogLine& line : lines()) {
            if (line.message.rfind(prefix, 0) == 0)
                rests.push_back(line.message.substr(prefix.size()));
        }
        return rests;
    }
    // Paths named by "dmesg log saved to %s, ..." lines so far, in log order.
    std::vector<std::string> savedDumps() const {
        std::vector<std::string> paths;
        for (const std::string& rest : messagesAfter("dmesg log saved to ")) {
            paths.push_back(rest.substr(0, rest.find(", total length: ")));
        }
        return paths;
    }
    bool loggedError(const std::string& message) const {
        return contains(ANDROID_LOG_ERROR, defaultTag(), message);
    }
    size_t windowLines() const { return countPrefixed(lines(), "checkExceptionWithinTimeWindow"); }
};

// ---- Retention ----

TEST_F(FpgaFaultTest, RetentionDeletesTheOldestDownToTen) {
    for (int n : {10, 11, 15}) {
        SCOPED_TRACE(n);
        std::filesystem::remove_all(hostPath(kLogDir));
        makeDir(kLogDir);
        // Names run against the age, so that neither listing nor name order passes for age.
        for (int age = 0; age < n; ++age) {
            addLogEntry("dmesg_" + std::to_string(100 + age) + ".log", 2000000000 - age * 60);
        }
        clearLog();
        EXPECT_EQ(DeleteOldLog(), 0);
        std::string expected;
        for (int age = n - 1; age >= 10; --age) {
            expected += "D Deleted file: " + entry("dmesg_" + std::to_string(100 + age) + ".log") +
                        "\n";
        }
        EXPECT_EQ(messages(defaultTag()), expected);
        EXPECT_EQ(logDirEntries().size(), 10u);
    }
}

// Entries of the same time are in no particular order, but the ordering must still be a
// strict one: the deletions go on to leave exactly ten.
TEST_F(FpgaFaultTest, RetentionCopesWithEntriesOfTheSameTime) {
    for (int i = 0; i < 40; ++i) addLogEntry("same" + std::to_string(i), 1700000000, 5);
    EXPECT_EQ(DeleteOldLog(), 0);
    EXPECT_EQ(messagesAfter("Deleted file: ").size(), 30u);
    EXPECT_EQ(logDirEntries().size(), 10u);
}

TEST_F(FpgaFaultTest, RetentionOrdersBySecondsThenNanoseconds) {
    for (int i = 0; i < 9; ++i) addLogEntry("new" + std::to_string(i), 1700000001, 0);
    addLogEntry("early_ns", 1700000000, 999999998);
    addLogEntry("earliest_ns", 1700000000, 999999997);
    addLogEntry("same_second_later_ns", 1700000000, 999999999);
    EXPECT_EQ(DeleteOldLog(), 0);
    EXPECT_EQ(messagesAfter("Deleted file: "),
              (std::vector<std::string>{entry("earliest_ns"), entry("early_ns")}));
}

TEST_F(FpgaFaultTest, RetentionCountsEveryEntryAndGoesOnAfterAFailedDeletion) {
    writeFile(entry("full_dir") + "/inside", "");
    addLogEntry("full_dir", 100, 0, true);  // after its content, which would move its time
    addLogEntry("empty_dir", 200, 0, true);
    addLogEntry(".hidden", 300);
    for (int i = 0; i < 9; ++i) addLogEntry("dump" + std::to_string(i), 1000 + i);
    // Status is taken through the link: a dangling one is neither counted nor deleted.
    ASSERT_EQ(symlink("/nonexistent/target", hostPath(entry("dangling")).c_str()), 0);

    EXPECT_EQ(DeleteOldLog(), 0);
    EXPECT_EQ(messages(defaultTag()),
              "E Failed to get file status for: " + entry("dangling") + "\n" +
                      "E Failed to delete file: " + entry("full_dir") + "\n" +
                      "D Deleted file: " + entry("empty_dir") + "\n");
    EXPECT_EQ(logDirEntries().size(), 12u);
    EXPECT_FALSE(exists(entry("empty_dir")));
}

// ---- Capture ----

TEST_F(FpgaFaultTest, CaptureRejectsValuesWithoutExceptionKindBeforeAnyFileWork) {
    for (unsigned long value : {0UL, 1UL, 4UL, 6UL, 0x8000000000000000UL, 0xAA00000000000002UL}) {
        SCOPED_TRACE(value);
        clearLog();
        EXPECT_EQ(LogSaveFunc(value), -1);
        EXPECT_EQ(messages(defaultTag()), "E mode is not support err log copy\n");
    }
    EXPECT_FALSE(exists(kLogDir));
}

TEST_F(FpgaFaultTest, CaptureMakesTheDirectoryAndSavesTheWholeKernelLogUnderTheTimeAndKind) {
    const std::pair<unsigned long, const char*> cases[] = {
            {2, "_exception_2_soft_rest_err.log"},
            {3, "_exception_3_hard_rest_err.log"},
            {0xAAFFFFFFFFFFFFFFUL, "_exception_4_fault_code_record_err.log"},
            {5, "_exception_5_hard_reset_not_recovery_err.log"},
    };
    // NULs and high bytes included: the dump is the buffer as the kernel returned it.
    const std::string content("<3>[ 1.5] fpga: reset\n\0\x01\xff tail", 30);
    kernel_log::setContent(content);
    kernel_log::setBufferSize(4000);
    const std::string prefix = std::string(kLogDir) + "/dmesg_";
    for (const auto& [value, suffix] : cases) {
        SCOPED_TRACE(suffix);
        clearLog();
        const auto before = std::chrono::system_clock::now();
        ASSERT_EQ(LogSaveFunc(value), 0);
        const auto after = std::chrono::system_clock::now();

        ASSERT_EQ(savedDumps().size(), 1u);
        const std::string path = savedDumps()[0];
        ASSERT_EQ(path.rfind(prefix, 0), 0u) << path;
        const std::string stamp = path.substr(prefix.size(), 19);
        EXPECT_TRUE(std::regex_match(stamp, std::regex(R"(\d{8}_\d{6}_\d{3})"))) << path;
        EXPECT_LE(stampAt(before), stamp);
        EXPECT_GE(stampAt(after), stamp);
        EXPECT_EQ(path.substr(prefix.size() + 19), suffix);
        EXPECT_EQ(readFile(path), content);
        EXPECT_EQ(modeOf(path), 0600u);  // 0666 less the daemon's umask
        EXPECT_TRUE(contains(ANDROID_LOG_DEBUG, defaultTag(),
                             "dmesg log saved to " + path + ", total length: 30 bytes\n"));
    }
    EXPECT_EQ(modeOf(kLogDir), 0700u);  // 0766 less the daemon's umask
    auto calls = kernel_log::calls();
    ASSERT_EQ(calls.size(), 2 * std::size(cases));
    EXPECT_EQ(calls[0].action, 10);
    EXPECT_EQ(calls[1].action, 3);
    EXPECT_EQ(calls[1].length, 4000 + 1024);
}

TEST_F(FpgaFaultTest, CaptureAllowsTwoPerKindPerWindowMeasuredFromItsFirst) {
    EXPECT_EQ(LogSaveFunc(2), 0);
    const auto opened = gExceptionWindowStart[0];
    EXPECT_EQ(windowLines(), 0u);  // opening a window is silent
    EXPECT_EQ(LogSaveFunc(2), 0);
    EXPECT_TRUE(loggedError("checkExceptionWithinTimeWindow 0 is allow."));
    EXPECT_EQ(LogSaveFunc(2), -1);
    EXPECT_TRUE(loggedError(refusal(2)));
    EXPECT_EQ(gExceptionWindowStart[0], opened);
    // The other kinds keep their own budgets.
    for (unsigned long value : {3UL, 0xAA80000000001234UL, 5UL}) EXPECT_EQ(LogSaveFunc(value), 0);
    EXPECT_EQ(savedDumps().size(), 5u);
    EXPECT_EQ(windowLines(), 2u);

    setWindow(0, opened - 3001ms, 0);
    const auto reopening = steady_clock::now();
    EXPECT_EQ(LogSaveFunc(2), 0);
    EXPECT_GE(gExceptionWindowStart[0], reopening);
    EXPECT_EQ(gExceptionWindowBudget[0], 1);
}

TEST_F(FpgaFaultTest, CaptureWindowEndsAfter3000WholeMilliseconds) {
    // 3001.0 ms after the opening: outside, however late the clock is read.
    setWindow(0, steady_clock::now() - 3001ms, 0);
    EXPECT_EQ(LogSaveFunc(2), 0);
    EXPECT_EQ(gExceptionWindowBudget[0], 1);

    // 3000.9 ms after: inside, provided the capture reads the clock within 0.1 ms; an attempt
    // that took longer proves nothing and is repeated.
    bool decided = false;
    for (int attempt = 0; attempt < 200 && !decided; ++attempt) {
        clearLog();
        const auto now = steady_clock::now();
        setWindow(0, now - 3000900us, 0);
        const int result = LogSaveFunc(2);
        if (steady_clock::now() - now >= 100us) continue;
        decided = true;
        EXPECT_EQ(result, -1);
        EXPECT_TRUE(contains(ANDROID_LOG_DEBUG, defaultTag(),
                             "Elapsed time for exception_id 0: 3000 ms"));
        EXPECT_TRUE(loggedError(refusal(2)));
        EXPECT_EQ(gExceptionWindowStart[0], now - 3000900us);
    }
    EXPECT_TRUE(decided) << "no capture read the clock within 0.1 ms of the window setup";
}

// A kernel that reports an empty buffer still gets the extra room; one byte is a log.
TEST_F(FpgaFaultTest, CaptureSavesAOneByteLogOfAnEmptyReportedBuffer) {
    kernel_log::setBufferSize(0);
    kernel_log::setContent("x");
    EXPECT_EQ(LogSaveFunc(2), 0);
    ASSERT_EQ(savedDumps().size(), 1u);
    EXPECT_EQ(readFile(savedDumps()[0]), "x");
    EXPECT_EQ(kernel_log::calls().back().length, 1024);
}

TEST_F(FpgaFaultTest, CaptureFailsWhenRetentionFailsButKeepsTheDump) {
    makeDir(kLogDir, 0300);  // entries can be made, the listing cannot be read
    EXPECT_EQ(LogSaveFunc(2), -1);
    EXPECT_TRUE(loggedError("Failed to open directory: " + std::string(kLogDir)));
    EXPECT_TRUE(loggedError("DeleteOldLog is failed."));
    EXPECT_EQ(DeleteOldLog(), -1);
    makeDir(kLogDir, 0700);
    EXPECT_EQ(logDirEntries().size(), 1u);
}

TEST_F(FpgaFaultTest, CaptureWithADirectoryFaultSavesNothingAndSpendsNoBudget) {
    const std::pair<std::function<void()>, std::string> cases[] = {
            {[this] { writeFile(kLogDir, "not a directory"); },
             std::string(kLogDir) + " exists but is not a directory"},
            {[this] { std::filesystem::remove(hostPath(kLogParent)); },
             "mkdir " + std::string(kLogDir) + " failed: No such file or directory"},
            {[this] {
                 std::filesystem::remove(hostPath(kLogParent));
                 writeFile(kLogParent, "not a directory");
             },
             "stat " + std::string(kLogDir) + " failed: Not a directory"},
            {[this] { makeReadOnly(kLogParent); },
             "mkdir " + std::string(kLogDir) + " failed: Permission denied"},
    };
    for (const auto& [arrange, message] : cases) {
        SCOPED_TRACE(message);
        std::filesystem::remove_all(hostPath(kLogParent));
        makeDir(kLogParent);
        arrange();
        setWindow(0, steady_clock::now(), 1);
        clearLog();
        EXPECT_EQ(LogSaveFunc(2), -1);
        EXPECT_EQ(messages(defaultTag()), "E " + message + "\nE checkFpgaLogPath is failed.\n");
        EXPECT_EQ(gExceptionWindowBudget[0], 1);
        EXPECT_TRUE(kernel_log::calls().empty());
    }
}

// A capture its window admitted that then fails saves nothing and runs no retention, though
// its window was opened all the same.
TEST_F(FpgaFaultTest, CaptureThatFailsLeavesNoFileAndSkipsRetention) {
    struct Case {
        std::function<void()> fail;
        std::string error;  // a pattern of the line
        bool readsKernelLog;
    };
    // In this order: a failing size query hides the read; a dump that cannot be opened, both.
    const Case cases[] = {
            {[] { kernel_log::failRead(0, EIO); }, "Failed to read kernel log: Input/output error",
             true},
            {[] { kernel_log::failRead(-1, EPERM); },
             "Failed to read kernel log: Operation not permitted", true},
            {[] { kernel_log::failSizeQuery(EPERM); },
             "Failed to get klogctl: Operation not permitted", true},
            {[this] { makeDir(kLogDir, 0555); },
             "Failed to open file " + std::string(kLogDir) +
                     R"(/dmesg_\d{8}_\d{6}_\d{3}_exception_3_hard_rest_err\.log: Permission denied)",
             false},
    };
    // Eleven entries: a retention run would delete one.
    for (int i = 0; i < 11; ++i) addLogEntry("old" + std::to_string(i), 1000 + i);
    const auto before = logDirEntries();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.error);
        setWindow(1, steady_clock::now() - 1h, 0);
        clearLog();
        const size_t kernelLogCalls = kernel_log::calls().size();
        c.fail();
        EXPECT_EQ(LogSaveFunc(3), 0);
        const std::vector<LogLine> all = lines();
        EXPECT_EQ(std::count_if(all.begin(), all.end(),
                                [&](const LogLine& l) {
                                    return l.priority == ANDROID_LOG_ERROR &&
                                           std::regex_match(l.message, std::regex(c.error + "\n"));
                                }),
                  1);
        EXPECT_EQ(kernel_log::calls().size() > kernelLogCalls, c.readsKernelLog);
        EXPECT_TRUE(messagesAfter("Failed to delete file: ").empty());
        EXPECT_EQ(logDirEntries(), before);
        EXPECT_EQ(gExceptionWindowBudget[1], 1);
    }
}

// The dump of a failed kernel log read is deleted; when even that fails, it is logged. A
// dump that already exists in a read-only directory can be written but not deleted, so
// every name the capture could choose in the next two seconds is made beforehand.
TEST_F(FpgaFaultTest, CaptureLogsADumpItCannotDelete) {
    makeDir(kLogDir);
    kernel_log::failSizeQuery(EPERM);
    bool landed = false;
    for (int attempt = 0; attempt < 5 && !landed; ++attempt) {
        const auto start = std::chrono::system_clock::now();
        for (int ms = 0; ms < 2000; ++ms) {
            const std::string name = "dmesg_" + stampAt(start + std::chrono::milliseconds(ms)) +
                                     "_exception_2_soft_rest_err.log";
            close(open(hostPath(entry(name)).c_str(), O_WRONLY | O_CREAT, 0600));
            emulated::boot::place(entry(name));  // as the daemon made it
        }
        makeReadOnly(kLogDir);
        setWindow(0, steady_clock::now() - 1h, 0);
        clearLog();
        EXPECT_EQ(LogSaveFunc(2), 0);
        const auto failed = messagesAfter("Failed to delete file: ");
        landed = failed.size() == 1;
        if (landed) {
            EXPECT_TRUE(exists(failed[0])) << failed[0];
            EXPECT_TRUE(loggedError("Failed to delete file: " + failed[0]));
        }
        makeDir(kLogDir);
    }
    EXPECT_TRUE(landed) << "no capture chose one of the names made beforehand";
}

// ---- The recording of counts and codes ----

constexpr off_t kI2cField = 0x514030;
constexpr off_t kSrField = 0x514040;
constexpr off_t kHrField = 0x514050;
constexpr off_t kEcField = 0x514060;
constexpr off_t kFaultCode = 0x514063;
constexpr off_t kView = 0x514010;
constexpr size_t kViewSize = 120;
constexpr off_t kEnableHeader = 0x514320;
constexpr off_t kEnableSr = 0x514330;
constexpr off_t kEnableHr = 0x514340;
const std::string kWidestCode("\x7F\xFF\xFF\xFF\xFF\xFF\xFF");
const std::string kHeader("fpga_op_info_e\0\0", 16);

std::string bytes(std::initializer_list<unsigned char> list) {
    return std::string(list.begin(), list.end());
}

class FpgaOpInfoTest : public FpgaFaultTest {
  protected:
    void SetUp() override {
        FpgaFaultTest::SetUp();
        createReservePartition();
    }
    bool logged(int priority, const std::string& message) const {
        return contains(priority, defaultTag(), message);
    }
};

TEST_F(FpgaOpInfoTest, CountsParseAndSaturateWithinTheirField) {
    struct Case {
        unsigned long value;
        off_t field;
        std::string before;
        std::string after;
    };
    const Case cases[] = {
            {1, kI2cField, "i2c:41", "i2c:42"},
            {2, kSrField, "sr:41", "sr:42"},
            {2, kSrField, "sr:4294967296", "sr:4294967297"},
            {3, kHrField, "hr:99999999999", "hr:99999999999"},
            {2, kSrField, "sr:123456789012", "sr:99999999999"},
            {1, kI2cField, "i2c:-1234",
             std::string("i2c:0\0"
                         "234",
                         9)},  // the tail stays
            {3, kHrField, "hr:x", "hr:1"},
            {2, kSrField, "sr: +41",
             std::string("sr:42\0"
                         "1",
                         7)},
            {3, kHrField, "", std::string(3, '\0') + "1"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.before);
        writePartition(c.field, counterField(c.before));
        EXPECT_EQ(fpgaOpWrite(c.value), 0);
        EXPECT_EQ(readPartition(c.field, 16), counterField(c.after));
        expectPartitionUnchangedExcept({{c.field, 16}});
    }
}

TEST_F(FpgaOpInfoTest, LogsTheRecordBeforeUpdating) {
    std::string ec = "ec:" + bytes({0, 0, 0, 0, 0, 0x12, 0x34});
    writePartition(kI2cField, counterField("i2c:5") + counterField("sr:41") + counterField("hr:7") +
                                      counterField(ec));
    ASSERT_EQ(fpgaOpWrite(2), 0);
    EXPECT_TRUE(logged(ANDROID_LOG_DEBUG, "fpgaOpWrite: i2c:5 sr:41 hr:7 ec:0x1234 count:64"));
}

TEST_F(FpgaOpInfoTest, TaggedValuesStoreTheirCodeBigEndianWithoutTheTag) {
    const std::pair<unsigned long, std::string> cases[] = {
            {0xAA80000000001234, bytes({0, 0, 0, 0, 0, 0x12, 0x34})},
            {0xAAFFFFFFFFFFFFFF, kWidestCode},
            {0xAA80000000000000, std::string(7, '\0')},
    };
    const std::string tail(6, '\x66');
    for (const auto& [value, code] : cases) {
        writePartition(kEcField, "ec:" + std::string(7, '\x55') + tail);
        EXPECT_EQ(fpgaOpWrite(value), 0);
        EXPECT_EQ(readPartition(kEcField, 16), "ec:" + code + tail);
        expectPartitionUnchangedExcept({{kFaultCode, 7}});
    }
}

TEST_F(FpgaOpInfoTest, RejectedValuesLeaveThePartitionAlone) {
    for (unsigned long value :
         {0UL, 4UL, 5UL, 6UL, 0x8000000000000000UL, 0xAA00000000000001UL, 0xAB80000000000000UL}) {
        SCOPED_TRACE(value);
        clearLog();
        EXPECT_EQ(fpgaOpWrite(value), -1);
        EXPECT_EQ(messages(defaultTag()), "E mode is not support\n");
    }
    expectPartitionUnchangedExcept();
}

TEST_F(FpgaOpInfoTest, PartitionFailures) {
    makeReadOnly(kReservePartition);
    EXPECT_EQ(fpgaOpWrite(2), -1);
    EXPECT_TRUE(logged(ANDROID_LOG_ERROR, "Failed to write partition file"));
    expectPartitionUnchangedExcept();

    ASSERT_EQ(remove(hostPath(kReservePartition).c_str()), 0);
    EXPECT_EQ(fpgaOpWrite(3), -1);
    EXPECT_TRUE(logged(ANDROID_LOG_ERROR, "readInterface /dev/block/by-name/zenthreserve1 error"));

    // A read that returns nothing is a short read, not a failure: the record counts from 0.
    writeFile(kReservePartition, std::string(kI2cField, '\0'));
    clearLog();
    EXPECT_EQ(fpgaOpWrite(2), 0);
    EXPECT_EQ(messages(defaultTag()), "D fpgaOpWrite:    ec:0x0 count:0\nD write 64 bytes\n");
    EXPECT_EQ(readPartition(kI2cField, 64), std::string(19, '\0') + "1" + std::string(44, '\0'));
}

// ---- The node-288 view ----

TEST_F(FpgaOpInfoTest, OpInfoViewShowsTheCodeAsTextAfterTheShift) {
    const std::pair<std::string, std::string> cases[] = {
            {bytes({0, 0, 0, 0, 0, 0x12, 0x34}), "1234"},
            {std::string(7, '\0'), "0"},
            {bytes({0, 0, 0, 1, 2, 3, 4}), "1020304"},
            {kWidestCode, "7fffffffffffff"},
    };
    for (const auto& [code, text] : cases) {
        SCOPED_TRACE(text);
        std::string raw;
        for (size_t p = 0; p < kViewSize; ++p) raw += static_cast<char>(p + 1);
        raw.replace(83, 7, code);
        writePartition(kView, raw);
        clearLog();

        std::vector<char> buffer(kViewSize, 0);
        ZenthFpga fpga;
        EXPECT_EQ(fpga.readFpgaOpInfoEn(kReservePartition, buffer.data(), 288), 120);

        std::string expected = raw;
        for (size_t p = 92; p < 108; ++p) expected[p] = raw[p - 2];
        expected.replace(83, text.size() + 1, text + '\0');
        EXPECT_EQ(std::string(buffer.begin(), buffer.end()), expected);
        EXPECT_TRUE(logged(ANDROID_LOG_DEBUG, "getFpgaOpEcData start:83, end:90\n"));
        EXPECT_EQ(count("getFpgaOpEcData is 0"), text == "0" ? 1u : 0u);
        expectPartitionUnchangedExcept();
    }
}

// ---- The enable-info writes ----

TEST_F(FpgaOpInfoTest, EnableInfoGoesToTheFieldItsFirstSixteenCharactersName) {
    struct Case {
        std::string info;
        off_t target;  // 0: nothing may be written
        std::string stored;
    };
    const Case cases[] = {
            {"sr:3", kEnableSr, "sr:3"},
            {"hr:7", kEnableHr, "hr:7"},
            {"hr:1 sr:2", kEnableSr, "hr:1 sr:2"},  // "sr" is searched first
            {"hr:1234567890abcdsr!", kEnableHr, "hr:1234567890abc"},
            {"abcdefghijklmnopsr:1", 0, ""},
            {"xyz", 0, ""},
    };
    ZenthFpga fpga;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.info);
        writePartition(kEnableHeader, std::string(48, '\0'));
        clearLog();
        const int result = fpga.writeFpgaOpInfoEn(kReservePartition, c.info);
        if (c.target == 0) {
            EXPECT_EQ(result, -1);
            EXPECT_TRUE(logged(ANDROID_LOG_ERROR, "writeFpgaOpInfo info = " + c.info.substr(0, 16) +
                                                          " has neither sr nor hr"));
            expectPartitionUnchangedExcept();
            continue;
        }
        EXPECT_EQ(result, static_cast<int>(c.stored.size()));
        EXPECT_EQ(readPartition(kEnableHeader, 16), kHeader);
        EXPECT_EQ(readPartition(c.target, 16), counterField(c.stored));
        EXPECT_TRUE(logged(ANDROID_LOG_DEBUG, "writeFpgaOpInfo first Info = " + c.stored));
        expectPartitionUnchangedExcept({{kEnableHeader, 16}, {c.target, c.stored.size()}});
    }
}

TEST_F(FpgaOpInfoTest, HeaderWrittenOnceAndKeptAfterwards) {
    writePartition(kEnableSr, counterField("sr:12345"));
    ZenthFpga fpga;
    EXPECT_EQ(fpga.writeFpgaOpInfoEn(kReservePartition, "sr:12345"), 8);
    clearLog();
    EXPECT_EQ(fpga.writeFpgaOpInfoEn(kReservePartition, "sr:5"), 4);
    EXPECT_TRUE(logged(ANDROID_LOG_DEBUG,
                       "writeFpgaOpInfo readInterface first cb_data = fpga_op_info_e"));
    EXPECT_EQ(count("write 16 bytes"), 0u);
    EXPECT_EQ(readPartition(kEnableSr, 16), counterField("sr:52345"));
}

TEST_F(FpgaOpInfoTest, EnableWriteFailures) {
    ZenthFpga fpga;
    {
        // A header write that stores one byte counts as written; the info lies beyond.
        FileSizeLimit limit(kEnableHeader + 1);
        EXPECT_EQ(fpga.writeFpgaOpInfoEn(kReservePartition, "sr:1"), -1);
    }
    EXPECT_TRUE(logged(ANDROID_LOG_DEBUG, "writeFpgaOpInfo first Info = sr:1"));
    EXPECT_TRUE(logged(ANDROID_LOG_DEBUG, "writeFpgaOpInfo count = -1"));

    writePartition(kEnableHeader, std::string(16, '\0'));
    makeReadOnly(kReservePartition);
    clearLog();
    EXPECT_EQ(fpga.writeFpgaOpInfoEn(kReservePartition, "sr:1"), -1);
    EXPECT_TRUE(logged(ANDROID_LOG_ERROR, "writeFpgaOpInfo first writeInterface failed"));
    expectPartitionUnchangedExcept();

    writePartition(kEnableHeader, kHeader);
    clearLog();
    EXPECT_EQ(fpga.writeFpgaOpInfoEn(kReservePartition, "sr:1"), -1);
    EXPECT_TRUE(logged(ANDROID_LOG_DEBUG, "writeFpgaOpInfo count = -1"));
    EXPECT_EQ(count("writeFpgaOpInfo first writeInterface failed"), 0u);
    expectPartitionUnchangedExcept();
}

// ---- The watcher ----

// A value that both consumers reject at once, so that a test need not wait for partition or
// file work.
constexpr uint64_t kRejectedValue = 7;
constexpr off_t kSrCount = 0x514043;
constexpr off_t kHrCount = 0x514053;

std::string valueLine(const char* hex, int count) {
    return std::string("poll value = 0x") + hex + " ret:" + std::to_string(count) + "\r\n";
}

class FpgaWatcherTest : public FpgaFaultTest {
  protected:
    // The watcher's body on a thread of the test's own, so that its result can be seen.
    void startWatcher() {
        createFaultNode();
        watcher_ = std::async(std::launch::async, fpgaWriteOpFunc);
        ASSERT_TRUE(fault_node::waitForPollCalls(1, kWait)) << "the watcher never polled";
    }
    // Ends the watcher as a broken node would, and waits until it has closed the node.
    void endWatcher() {
        fault_node::injectReadError(EIO);
        ASSERT_TRUE(fault_node::waitUntilClosed(kWait));
        EXPECT_EQ(watcher_.get(), -1);
        EXPECT_EQ(count(ANDROID_LOG_ERROR, defaultTag(), "buf read err"), 1u);
    }
    // Waits until both consumers have rejected `events` values.
    void waitForRejections(size_t events) {
        EXPECT_TRUE(waitFor("mode is not support", events));
        EXPECT_TRUE(waitFor("mode is not support err log copy", events));
    }
    // Returns once no capture or recording holds its lock: the consumer threads whose last
    // log line was seen have finished their work.
    static void drainConsumers() { std::scoped_lock idle(gFpgaLogMutex, gFpgaOpInfoMutex); }
    long countAt(off_t offset) const {
        return std::strtol(readPartition(offset, 13).c_str(), nullptr, 10);
    }

    std::future<int> watcher_;
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
    EXPECT_TRUE(waitFor("Can't open file /proc/fpga/errinfoto_op"));
    for (const char* line :
         {"startFpgaThread come in start", "startFpgaThread come end", "fpgaWriteOpFunc come in"}) {
        EXPECT_EQ(count(ANDROID_LOG_DEBUG, defaultTag(), line), 1u) << line;
    }
    EXPECT_TRUE(loggedError("Can't open file /proc/fpga/errinfoto_op"));
    EXPECT_EQ(fpgaWriteOpFunc(), -1);
}

TEST_F(FpgaWatcherTest, ShortReadsLeaveTheMissingBytesZero) {
    startWatcher();
    fault_node::injectValue(0x1122334455667788, 0);
    fault_node::injectValue(0xFFFFFFFFFFFFFFFF);
    fault_node::injectValue(0x1122334455667788, 3);
    fault_node::injectValue(0x1122334455667788, 0);
    waitForRejections(4);
    EXPECT_EQ(messagesAfter("poll value = 0x"),
              (std::vector<std::string>{"0 ret:0\r\n", "ffffffffffffffff ret:8\r\n",
                                        "667788 ret:3\r\n", "0 ret:0\r\n"}));
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
        EXPECT_EQ(messages(defaultTag()), "E " + std::string(fault.message) + "\n");
        return;
    }
    waitForRejections(1);
    EXPECT_TRUE(fault_node::waitUntilIdle(kWait));
    const std::string handled = "D " + valueLine("7", 8) + "\n";
    const std::string log = messages(defaultTag());
    EXPECT_EQ(log.substr(0, log.find(handled) + handled.size()),
              (fault.message[0] == '\0' ? "" : "E " + std::string(fault.message) + "\n") + handled);
    endWatcher();
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
        caseName);

// Events arrive far faster than partition writes and kernel log dumps finish.
TEST_F(FpgaWatcherTest, BurstLosesNoCountAndDumpsAtMostTwicePerKindPerWindow) {
    constexpr int kEvents = 1000;
    constexpr std::chrono::milliseconds kBurstWait = 100s;
    createReservePartition();
    startWatcher();
    const auto start = steady_clock::now();
    for (int i = 0; i < kEvents; ++i) fault_node::injectValue(i % 2 == 0 ? 2 : 3);

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
    const auto elapsed = steady_clock::now() - start;

    EXPECT_EQ(countAt(kSrCount), kEvents / 2);
    EXPECT_EQ(countAt(kHrCount), kEvents / 2);
    const long windows =
            1 + std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count() / 3000;
    for (const std::string kind :
         {"_exception_2_soft_rest_err.log", "_exception_3_hard_rest_err.log"}) {
        SCOPED_TRACE(kind);
        size_t saved = 0;
        for (const std::string& path : savedDumps()) saved += path.find(kind) != std::string::npos;
        EXPECT_GE(saved, 2u);  // the window opened at the first event admits one more
        EXPECT_LE(saved, static_cast<size_t>(2 * windows));
    }
    EXPECT_LE(logDirEntries().size(), 10u);
    endWatcher();
}

// The daemon's own watcher thread: once the emulated platform calls the daemon idle after a
// fault, the fault is counted in the partition and its capture has been decided, with no log
// line waited for.
TEST_F(FpgaWatcherTest, DaemonIsIdleOnlyOnceTheFaultIsRecordedAndItsCaptureDecided) {
    createReservePartition();
    createFaultNode();
    ZenthFpga().startFpgaThread();
    ASSERT_TRUE(emulated::waitUntilIdle(kWait));
    ASSERT_EQ(fault_node::pollCalls(), 1u);

    fault_node::injectValue(2);
    ASSERT_TRUE(emulated::waitUntilIdle(kWait));
    EXPECT_EQ(countAt(kSrCount), 1);
    EXPECT_EQ(savedDumps().size(), 1u);
    EXPECT_EQ(fault_node::pollCalls(), 2u);
}

}  // namespace
}  // namespace aidl::vendor::zenth::hardware::misc
