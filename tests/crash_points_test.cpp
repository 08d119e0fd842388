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

// What the device keeps when the daemon's process dies, or the power goes, right after one of
// its writes. Each writing operation runs on the emulated phone and is cut at every one of
// its write points under both crash models (one per point, alternating, where a sanitizer or
// an emulator slows every start); the daemon is then started again on the same
// device, and what a phone's user would see is checked against the table below.

#include <signal.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "ReservePartition.h"
#include "support/DeviceTest.h"
#include "support/PhoneRun.h"
#include "zenth_host/EmulatedDevice.h"

namespace {

namespace fs = std::filesystem;
namespace misc = aidl::vendor::zenth::hardware::misc;
using misc::counterField;
using zenth_test::PhoneRun;
using zenth_test::runPhone;
using zenth_test::slurp;

constexpr const char* kPersist = "/mnt/vendor/persist/engineermode/";
using zenth_test::kLogDir;
constexpr const char* kMotorNode = "/sys/class/motor/hall_calibration";
constexpr int kFieldSize = misc::kCounterFieldSize;
constexpr int kRebootField = misc::fpgaOpInfoFieldOffset(misc::kFpgaRebootField);
constexpr int kFaultRecord = misc::fpgaOpInfoFieldOffset(misc::kFpgaI2cField);  // counts, code
constexpr int kEnableHeader = misc::kFpgaEnableInfoOffset;
constexpr int kExgpioPrevious =
        misc::kExgpioCounterArea.emmcOffset + misc::exgpio::kPrevI2c * kFieldSize;

// What an operation writes, seen after a cut as one letter: 'n' its new content, 'o' its old
// one, 'e' empty, '-' none (no file, no dump, nothing handed to the driver), '?' anything else.
struct Watched {
    enum Kind { Region, File, Driver, Dump };
    Kind kind;
    std::string path;  // File: a persist file; Driver: the node the next start restores
    int offset = 0;    // Region: in the reserve partition
    int length = 0;

    static Watched region(int offset, int length) { return {Region, "", offset, length}; }
    static Watched file(const std::string& name) { return {File, kPersist + name}; }
    static Watched driver(const std::string& node) { return {Driver, node}; }
    static Watched dump() { return {Dump, kLogDir}; }
};

struct Operation {
    const char* name;
    // Set-up of the started sample device: partition bytes, paths removed.
    std::vector<std::pair<int, std::string>> partition;
    std::vector<std::string> removed;
    // Console commands; none: the operation is the start itself, armed from its first call.
    std::string script;
    std::vector<Watched> watched;
    // Per write point, the letters a cut may leave (alternatives separated by '|': where two
    // threads write, their calls may come in either order).
    std::vector<std::string> processCrash;
    std::vector<std::string> powerCut;
};

std::vector<std::string> repeated(size_t times, const std::string& letters,
                                  std::vector<std::string> then) {
    then.insert(then.begin(), times, letters);
    return then;
}

// A start restores three drivers before the reporters write (6 write points). The fan's nodes
// and the other reporter are taken away, so that one thread writes after them.
constexpr size_t kRestorePoints = 6;
const std::vector<std::string> kFanNodes = {"/sys/class/leds/fan/device_id",
                                            "/sys/class/leds/fan/rpm_table"};

std::vector<std::string> plus(std::vector<std::string> paths, const std::string& path) {
    paths.push_back(path);
    return paths;
}

void PrintTo(const Operation& operation, std::ostream* out) {
    *out << operation.name;
}

const std::vector<Operation>& operations() {
    static const auto* table = new std::vector<Operation>{
            {"MotorCalibration",
             {},
             {},
             "saveCalibrationData motor i32:7,8,9,10,11,12\n",
             {Watched::region(misc::kMotorHallRecord.emmcOffset, misc::kMotorHallRecord.length),
              Watched::driver(kMotorNode)},
             {"nn", "nn"},
             {"oo", "nn"}},
            {"TriStateCalibration",
             {},
             {},
             "saveCalibrationData tri 9;8;7\n",
             {Watched::file("tri_state_hall_data"), Watched::file("tri_state_hall_calib_flag"),
              Watched::driver("/proc/tristatekey/hall_data_calib")},
             {"en-", "en-", "nnn", "nnn", "nen", "nen", "nnn", "nnn"},
             {"en-", "en-", "en-", "nnn", "nen", "nen", "nen", "nnn"}},
            {"MagneticCoverCalibration",
             {},
             {},
             "saveCalibrationData magcover hex:3031323334353637\n",
             {Watched::file("magneticCoverCalibrationData"),
              Watched::file("magneticCoverCalibrationFlag"),
              Watched::driver("/proc/magnetic_cover/magcvr_data_handle")},
             {"en-", "en-", "nnn", "nnn", "nen", "nen", "nnn", "nnn"},
             {"en-", "en-", "en-", "nnn", "nen", "nen", "nen", "nnn"}},
            {"EnableInfoWithoutItsHeader",
             {{kEnableHeader, std::string(misc::kFpgaEnableInfoArea.length, '\0')}},
             {},
             "miscWriteNodeFile 0 289 sr:5\n",
             {Watched::region(kEnableHeader, kFieldSize),
              Watched::region(kEnableHeader + kFieldSize, kFieldSize)},
             {"no", "no", "nn", "nn"},
             {"oo", "no", "no", "nn"}},
            {"EnableInfoAfterItsHeader",
             {{kEnableHeader, counterField("fpga_op_info_e") + counterField("sr:12345")}},
             {},
             "miscWriteNodeFile 0 289 sr:5\n",
             {Watched::region(kEnableHeader + kFieldSize, kFieldSize)},
             {"n", "n"},
             {"o", "n"}},
            {"FaultWithItsCapture",
             {},
             {},
             "fault 2\n",
             {Watched::region(kFaultRecord, 4 * kFieldSize), Watched::dump()},
             {"n-|oe", "n-|ne|on", "ne|nn", "nn"},
             {"o-|oe", "n-|oe", "ne|oe", "ne"}},
            {"FpgaReporterWriteBack",
             {{kRebootField, counterField("rb:4")}},
             plus(kFanNodes, "/sys/class/ex_gpio/chipid"),
             "",
             {Watched::region(kRebootField, kFieldSize)},
             repeated(kRestorePoints, "o", {"n", "n"}),
             repeated(kRestorePoints, "o", {"o", "n"})},
            {"ExgpioReporterWriteBack",
             {{kExgpioPrevious, counterField("pi2c:2") + counterField("prs:0")}},
             plus(kFanNodes, "/proc/fpga/status"),
             "",
             {Watched::region(kExgpioPrevious, kFieldSize),
              Watched::region(kExgpioPrevious + kFieldSize, kFieldSize)},
             repeated(kRestorePoints, "oo", {"no", "no", "nn", "nn"}),
             repeated(kRestorePoints, "oo", {"oo", "no", "no", "nn"})},
    };
    return *table;
}

// Stands for a file, dump or driver content that is not there.
constexpr const char* kNone = "\x01none";

size_t writePoints(const std::string& log) {
    size_t count = 0;
    for (size_t at = log.find("emulated: write point"); at != std::string::npos;
         at = log.find("emulated: write point", at + 1)) {
        ++count;
    }
    return count;
}

class CrashPointsTest : public DeviceTest, public ::testing::WithParamInterface<Operation> {
  protected:
    // The phone started once on this test's device, then set up for the operation.
    void SetUp() override {
        DeviceTest::SetUp();
        ASSERT_EQ(runPhone(rootFolder(), "", "--fast-sleep").status, 1);
        for (const auto& [offset, bytes] : GetParam().partition) writePartition(offset, bytes);
        for (const std::string& path : GetParam().removed) fs::remove(hostPath(path));
        partitionAtSetUp_ = slurp(rootFolder() + kReservePartition);
    }

    void TearDown() override {
        fs::remove_all(copy());
        DeviceTest::TearDown();
    }

    std::string copy() const { return rootFolder() + ".copy"; }

    // A fresh copy of the set-up device, with the operation run on it as far as the cut.
    PhoneRun cutRun(const std::string& cut) {
        fs::remove_all(copy());
        emulated::copyDevice(rootFolder(), copy());
        const Operation& operation = GetParam();
        if (operation.script.empty()) {
            return runPhone(copy(), "", "--fast-sleep", "ZENTH_DEVICE_CUT=" + cut);
        }
        std::string command = cut;
        std::replace(command.begin(), command.end(), ':', ' ');
        return runPhone(copy(), "cut " + command + "\n" + operation.script, "--fast-sleep");
    }

    // Starts the daemon again on the copy, as init restarts it, with the restored drivers
    // emptied first; it must serve.
    void restart() {
        for (const Watched& watched : GetParam().watched) {
            if (watched.kind == Watched::Driver) std::ofstream(copy() + watched.path);
        }
        PhoneRun again = runPhone(copy(), "initialize\n", "--fast-sleep");
        EXPECT_EQ(again.lines, std::vector<std::string>{"0"}) << again.log;
    }

    // The watched things in a device folder; drivers only after a restart.
    std::vector<std::string> seen(const std::string& folder, bool drivers) const {
        const std::string partition = slurp(folder + kReservePartition);
        std::vector<std::string> contents;
        for (const Watched& watched : GetParam().watched) {
            switch (watched.kind) {
                case Watched::Region:
                    contents.push_back(partition.substr(watched.offset, watched.length));
                    break;
                case Watched::File:
                    contents.push_back(fs::exists(folder + watched.path)
                                               ? slurp(folder + watched.path)
                                               : kNone);
                    break;
                case Watched::Driver: {  // emptied before the start: empty, nothing came
                    const std::string handed = drivers ? slurp(folder + watched.path) : "";
                    contents.push_back(handed.empty() ? kNone : handed);
                    break;
                }
                case Watched::Dump:
                    contents.push_back(newDump(folder));
                    break;
            }
        }
        return contents;
    }

    // The dump a run saved, if any.
    std::string newDump(const std::string& folder) const {
        std::error_code none;
        for (const auto& entry : fs::directory_iterator(folder + kLogDir, none)) {
            if (!fs::exists(rootFolder() + kLogDir + "/" + entry.path().filename().string())) {
                return slurp(entry.path());
            }
        }
        return kNone;
    }

    static char letter(const std::string& now, const std::string& before, const std::string& after) {
        if (now == after) return 'n';
        if (now == kNone) return '-';
        if (now == before) return 'o';
        return now.empty() ? 'e' : '?';
    }

    // Every byte of the partition outside the watched regions is as it was set up. Compared
    // span by span: the 6 MiB are read after every cut, and a sanitizer checks every copy.
    void expectOnlyWatchedRegionsChanged(const std::string& folder) {
        const std::string now = slurp(folder + kReservePartition);
        ASSERT_EQ(now.size(), partitionAtSetUp_.size());
        std::vector<std::pair<size_t, size_t>> regions;
        for (const Watched& watched : GetParam().watched) {
            if (watched.kind == Watched::Region)
                regions.emplace_back(watched.offset, watched.length);
        }
        std::sort(regions.begin(), regions.end());
        regions.emplace_back(now.size(), 0);
        size_t from = 0;
        for (const auto& [offset, length] : regions) {
            EXPECT_EQ(now.compare(from, offset - from, partitionAtSetUp_, from, offset - from), 0)
                    << "a partition byte changed between " << from << " and " << offset;
            from = offset + length;
        }
    }

    std::string partitionAtSetUp_;
};

TEST_P(CrashPointsTest, EveryWritePointLeavesWhatTheTableSays) {
    const Operation& operation = GetParam();
    // The operation whole, counted: its new state, and how many write points it has.
    PhoneRun counted = cutRun("count");
    const size_t points = writePoints(counted.log);
    ASSERT_EQ(points, operation.processCrash.size()) << counted.log;
    std::vector<std::string> after = seen(copy(), false);
    restart();
    const std::vector<std::string> restoredAfter = seen(copy(), true);
    // The old state, and what a start restores from it.
    std::vector<std::string> before = seen(rootFolder(), false);
    emulated::copyDevice(rootFolder(), copy() + ".old");
    fs::remove_all(copy());
    fs::rename(copy() + ".old", copy());
    restart();
    const std::vector<std::string> restoredBefore = seen(copy(), true);
    for (size_t i = 0; i < operation.watched.size(); ++i) {
        if (operation.watched[i].kind != Watched::Driver) continue;
        before[i] = restoredBefore[i];
        after[i] = restoredAfter[i];
    }

    for (const char* model : {"process", "power"}) {
        const bool process = std::string(model) == "process";
        const auto& expected = process ? operation.processCrash : operation.powerCut;
        for (size_t point = 1; point <= points; ++point) {
            // Sampled: odd points are killed, even ones lose power.
            if (ZENTH_ONE_MODEL_PER_CUT && (point % 2 == 1) != process) continue;
            SCOPED_TRACE(std::string(model) + " cut after write point " + std::to_string(point));
            PhoneRun cut = cutRun(std::string(model) + ":" + std::to_string(point));
            EXPECT_EQ(cut.status, 128 + SIGKILL) << cut.log;
            expectOnlyWatchedRegionsChanged(copy());
            const std::vector<std::string> state = seen(copy(), false);
            restart();
            const std::vector<std::string> restored = seen(copy(), true);
            std::string letters;
            for (size_t i = 0; i < operation.watched.size(); ++i) {
                const bool driver = operation.watched[i].kind == Watched::Driver;
                letters += letter(driver ? restored[i] : state[i], before[i], after[i]);
            }
            std::istringstream allowed(expected[point - 1]);
            bool found = false;
            for (std::string one; std::getline(allowed, one, '|');) found |= one == letters;
            EXPECT_TRUE(found) << letters << " is none of " << expected[point - 1];
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Operations, CrashPointsTest, ::testing::ValuesIn(operations()),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
