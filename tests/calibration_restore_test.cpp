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

// The service object's start: storage detection and the hand-over of stored calibration
// to the motor, tri-state key and magnetic cover drivers.

#include <android/log.h>

#include <climits>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "ZenthMisc.h"
#include "support/CalibrationTest.h"

using aidl::vendor::zenth::hardware::misc::gIsEmmcStorage;
using aidl::vendor::zenth::hardware::misc::gIsReserveIntegrate;
using namespace zenth_test;

namespace {

bool hasMessage(const std::vector<Message>& log, const std::string& prefix) {
    for (const Message& m : log) {
        if (m.second.rfind(prefix, 0) == 0) return true;
    }
    return false;
}

struct StorageCase {
    const char* name;
    bool reserve;
    bool ufs;
    const char* detectionLine;
    const char* motorNode;  // what the motor driver receives; nullptr: no motor step at all
};

// Distinct records at both offsets show which one the start reads.
const Motor kEmmcRecord = {11, 12, 13, 14, 15, 16};
const Motor kUfsRecord = {21, 22, 23, 24, 25, 26};

const StorageCase kStorageCases[] = {
        {"EmmcWithReserve", true, false, "gIsReserveIntegrate=1, gIsEmmcStorage=1",
         "11,12,13,14,15,16"},
        {"UfsWithReserve", true, true, "gIsReserveIntegrate=1, gIsEmmcStorage=0",
         "21,22,23,24,25,26"},
        {"EmmcWithoutReserve", false, false, "gIsReserveIntegrate=0, gIsEmmcStorage=1", nullptr},
        {"UfsWithoutReserve", false, true, "gIsReserveIntegrate=0, gIsEmmcStorage=0", nullptr},
};

class StorageDetectionTest : public CalibrationTest,
                             public ::testing::WithParamInterface<StorageCase> {};

TEST_P(StorageDetectionTest, SetsTheFlagsAndReadsTheMatchingMotorRecord) {
    const StorageCase& c = GetParam();
    if (c.reserve) {
        createReservePartition();
        createMotorRecord(kMotorRecordEmmc, kEmmcRecord);
        createMotorRecord(kMotorRecordUfs, kUfsRecord);
    }
    if (c.ufs) makeUfsStorage();
    writeFile(kMotorNode, "");

    auto service = startService();

    std::vector<Message> log = serviceLog();
    ASSERT_FALSE(log.empty());
    EXPECT_EQ(log.front(), debug(c.detectionLine));
    EXPECT_EQ(gIsReserveIntegrate, c.reserve);
    EXPECT_EQ(gIsEmmcStorage, !c.ufs);
    EXPECT_EQ(readFile(kMotorNode), c.motorNode ? c.motorNode : "");
    EXPECT_EQ(hasMessage(log, "motor calibration data "), c.motorNode != nullptr);
    if (c.reserve) {
        expectPartitionUnchangedExcept();
    }
}

INSTANTIATE_TEST_SUITE_P(Storage, StorageDetectionTest, ::testing::ValuesIn(kStorageCases),
                         CaseName());

TEST_F(CalibrationTest, ReserveFlagOnceSetStaysSet) {
    createReservePartition();
    startService();
    ASSERT_TRUE(gIsReserveIntegrate);
    std::filesystem::remove(hostPath(kReservePartition));

    // A second object without resetting: the flag of a running process is never cleared.
    auto again = ndk::SharedRefBase::make<aidl::vendor::zenth::hardware::misc::ZenthMisc>();

    EXPECT_TRUE(gIsReserveIntegrate);
    EXPECT_TRUE(contains(ANDROID_LOG_DEBUG, aidl::vendor::zenth::hardware::misc::kMiscLogTag,
                         "gIsReserveIntegrate=1, gIsEmmcStorage=1"));
}

struct MotorCase {
    const char* name;
    Motor values;
    bool nodeExists;
    std::vector<Message> motorLog;  // the lines after the detection line, up to the next step
    const char* node;               // the motor driver's content afterwards
};

const MotorCase kMotorCases[] = {
        {"Mixed",
         {1, -2, 3, 0, 0, 7},
         true,
         {debug("motor calibration data 1,-2,3,0,0,7"), debug("write 12 bytes"),
          debug("motor calbration data write count = 12")},
         "1,-2,3,0,0,7"},
        {"Extremes",
         {INT_MIN, INT_MAX, -1, 0, 0, 0},
         true,
         {debug("motor calibration data -2147483648,2147483647,-1,0,0,0"), debug("write 31 bytes"),
          debug("motor calbration data write count = 31")},
         "-2147483648,2147483647,-1,0,0,0"},
        {"OnlyLastValueSet",
         {0, 0, 0, 0, 0, 1},
         true,
         {debug("motor calibration data 0,0,0,0,0,1"), debug("write 11 bytes"),
          debug("motor calbration data write count = 11")},
         "0,0,0,0,0,1"},
        {"AllZero",
         {0, 0, 0, 0, 0, 0},
         true,
         {debug("motor calibration data 0,0,0,0,0,0"), debug("invalid motor hall cali data")},
         ""},
        {"NoMotorDriver",
         {1, 2, 3, 4, 5, 6},
         false,
         {debug("motor calibration data 1,2,3,4,5,6"), debug(openFailure(kMotorNode, ENOENT)),
          debug("motor calbration data write count = -1")},
         nullptr},
};

class MotorRestoreTest : public CalibrationTest, public ::testing::WithParamInterface<MotorCase> {};

TEST_P(MotorRestoreTest, WritesTheRecordAsTextOrRefusesAnEmptyOne) {
    const MotorCase& c = GetParam();
    createReservePartition();
    createMotorRecord(kMotorRecordEmmc, c.values);
    makeDir("/sys/class/motor");
    if (c.nodeExists) writeFile(kMotorNode, "");
    // The other two steps find nothing and stay out of the way.
    writeFile(kTriStateData, "");
    writeFile(kMagneticData, "");

    auto service = startService();

    std::vector<Message> expected = {debug("gIsReserveIntegrate=1, gIsEmmcStorage=1")};
    expected.insert(expected.end(), c.motorLog.begin(), c.motorLog.end());
    expected.push_back(debug("no file /proc/magnetic_cover/magcvr_data_handle"));
    EXPECT_EQ(serviceLog(), expected);
    if (c.nodeExists) {
        EXPECT_EQ(readFile(kMotorNode), c.node);
    } else {
        EXPECT_FALSE(exists(kMotorNode)) << "the driver node was created";
    }
}

INSTANTIATE_TEST_SUITE_P(Records, MotorRestoreTest, ::testing::ValuesIn(kMotorCases), CaseName());

// Tri-state key and magnetic cover: a persist file forwarded to its driver, cut to the
// driver's length.
struct ForwardCase {
    const char* name;
    const char* persistFile;
    const char* driverNode;
    std::optional<std::string> stored;  // nullopt: no persist file
    std::string driverAfter;            // the driver starts out holding "keep"
    bool noFileLine;
};

const std::string kSemicolons200 = [] {
    std::string s;
    while (s.size() < 200) s += "1;";
    return s;
}();
const std::string kCommas128 = [] {
    std::string s;
    while (s.size() < 128) s += "1,";
    return s;
}();

const ForwardCase kForwardCases[] = {
        {"TriStateSeparators", kTriStateData, kTriStateNode, "12;34;56", "12,34,56", true},
        {"TriStateLongFileCut", kTriStateData, kTriStateNode, kSemicolons200, kCommas128, true},
        {"TriStateKeepsNul", kTriStateData, kTriStateNode, std::string("a;\0b;", 5),
         std::string("a,\0b,", 5), true},
        {"TriStateEmptyFile", kTriStateData, kTriStateNode, "", "keep", true},
        {"TriStateMissingFile", kTriStateData, kTriStateNode, std::nullopt, "keep", true},
        {"MagneticLongFileCut", kMagneticData, kMagneticNode, "0123456789;b", "01234567", false},
        {"MagneticShortFile", kMagneticData, kMagneticNode, "1;2", "1;2p", false},
        {"MagneticEmptyFile", kMagneticData, kMagneticNode, "", "keep", true},
        {"MagneticMissingFile", kMagneticData, kMagneticNode, std::nullopt, "keep", true},
};

class ForwardRestoreTest : public CalibrationTest,
                           public ::testing::WithParamInterface<ForwardCase> {};

TEST_P(ForwardRestoreTest, HandsTheStoredBytesToTheDriver) {
    const ForwardCase& c = GetParam();
    makeDir(kPersistDir);
    if (c.stored) writeFile(c.persistFile, *c.stored);
    writeFile(c.driverNode, "keep");

    auto service = startService();

    EXPECT_EQ(readFile(c.driverNode), c.driverAfter);
    if (c.stored) {
        EXPECT_EQ(readFile(c.persistFile), *c.stored) << "the stored file changed";
    }
    EXPECT_EQ(count(ANDROID_LOG_DEBUG, aidl::vendor::zenth::hardware::misc::kMiscLogTag,
                    "no file /proc/magnetic_cover/magcvr_data_handle"),
              c.noFileLine ? 1u : 0u);
}

INSTANTIATE_TEST_SUITE_P(Files, ForwardRestoreTest, ::testing::ValuesIn(kForwardCases), CaseName());

}  // namespace
