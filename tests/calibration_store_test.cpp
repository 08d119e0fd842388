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

// saveCalibrationData: validation, the persist files with their flag files, the motor
// record in the reserve partition, and the round trip through the next start.

#include <android/log.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <cerrno>
#include <optional>
#include <string>
#include <vector>

#include "ZenthMisc.h"
#include "support/CalibrationTest.h"
#include "support/FileSizeLimit.h"

using namespace zenth_test;

namespace {

constexpr int32_t kMotorType = 1000030;
constexpr int32_t kTriStateType = 1000104;
constexpr int32_t kMagneticType = 1000200;

std::vector<uint8_t> bytesOf(const std::string& text) {
    return std::vector<uint8_t>(text.begin(), text.end());
}

std::vector<uint8_t> pattern(size_t size) {
    std::vector<uint8_t> bytes(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(i * 7);  // NULs included
    return bytes;
}

Message firstLine(int32_t type, int32_t length, size_t size) {
    return debug("saveCalibrationData in_type = " + std::to_string(type) +
                 ", in_length = " + std::to_string(length) + ", size = " + std::to_string(size));
}

class CalibrationStoreTest : public CalibrationTest {
  protected:
    bool save(int32_t type, const std::vector<uint8_t>& data, int32_t length) {
        bool result = !kUnset;
        EXPECT_TRUE(service_->saveCalibrationData(type, data, length, &result).isOk());
        return result;
    }

    bool save(int32_t type, const std::vector<uint8_t>& data) {
        return save(type, data, static_cast<int32_t>(data.size()));
    }

    void start() {
        service_ = startService();
        clearLog();
    }

    // A result the method must overwrite on every path.
    static constexpr bool kUnset = true;
    std::shared_ptr<aidl::vendor::zenth::hardware::misc::ZenthMisc> service_;
};

struct ValidationCase {
    const char* name;
    size_t size;
    int32_t length;
    std::vector<Message> log;
};

const ValidationCase kValidationCases[] = {
        {"NothingReceived", 0, 0, {error("invalid calibrationData")}},
        {"AboveLimit", 4097, 4097, {firstLine(kTriStateType, 4097, 4097), error("data size error")}},
        {"NegativeLength", 10, -1, {firstLine(kTriStateType, -1, 10), error("data size error")}},
        {"LengthShort", 10, 9, {firstLine(kTriStateType, 9, 10), error("data size error")}},
        {"LengthLong", 10, 11, {firstLine(kTriStateType, 11, 10), error("data size error")}},
};

class ValidationTest : public CalibrationStoreTest,
                       public ::testing::WithParamInterface<ValidationCase> {};

TEST_P(ValidationTest, RefusesWithoutTouchingTheFiles) {
    const ValidationCase& c = GetParam();
    makeDir(kPersistDir);
    start();

    EXPECT_FALSE(save(kTriStateType, pattern(c.size), c.length));

    EXPECT_EQ(serviceLog(), c.log);
    EXPECT_FALSE(exists(kTriStateData));
    EXPECT_FALSE(exists(kTriStateFlag));
}

INSTANTIATE_TEST_SUITE_P(Lengths, ValidationTest, ::testing::ValuesIn(kValidationCases), CaseName());

// The two kinds kept in persist files.
struct FileKind {
    const char* name;
    int32_t type;
    const char* data;
    const char* flag;
    const char* announcement;
    const char* countPrefix;
};

const FileKind kTriState = {"TriState",
                            kTriStateType,
                            kTriStateData,
                            kTriStateFlag,
                            "saveTriCalibrationData ",
                            "saveTriCalibrationData write TriHallCalibrationData count = "};
const FileKind kMagnetic = {
        "Magnetic",
        kMagneticType,
        kMagneticData,
        kMagneticFlag,
        "saveMagneticCoverCalibrationData ",
        "saveMagneticCoverCalibrationData write saveMagneticCoverCalibrationData count = "};

Message countLine(const FileKind& kind, long count) {
    return debug(kind.countPrefix + std::to_string(count));
}

class FileStoreTest : public CalibrationStoreTest,
                      public ::testing::WithParamInterface<std::tuple<FileKind, size_t>> {};

TEST_P(FileStoreTest, ReplacesTheDataAndSetsTheFlag) {
    const auto& [kind, size] = GetParam();
    // Earlier files, longer than the new data and with modes the store must correct.
    writeFile(kind.data, std::string(5000, 'x'), 0600);
    writeFile(kind.flag, "0\n", 0600);
    start();
    std::vector<uint8_t> data = pattern(size);

    EXPECT_TRUE(save(kind.type, data));

    EXPECT_EQ(readFile(kind.data), std::string(data.begin(), data.end()));
    EXPECT_EQ(readFile(kind.flag), "1");
    EXPECT_EQ(modeOf(kind.data), 0664u);
    EXPECT_EQ(modeOf(kind.flag), 0664u);
    std::vector<Message> expected = {firstLine(kind.type, static_cast<int32_t>(size), size),
                                     debug(kind.announcement), debug("chmod result ret = 0"),
                                     countLine(kind, static_cast<long>(size)),
                                     debug("chmod result ret = 0")};
    EXPECT_EQ(serviceLog(), expected);
}

INSTANTIATE_TEST_SUITE_P(Kinds, FileStoreTest,
                         ::testing::Combine(::testing::Values(kTriState, kMagnetic),
                                            ::testing::Values(1, 4096)),
                         [](const auto& info) {
                             return std::string(std::get<0>(info.param).name) + "_" +
                                    std::to_string(std::get<1>(info.param));
                         });

enum class Fault {
    DataIsDirectory,
    NoPersistDir,
    ReadOnlyPersistDir,
    DataWriteFails,
    ShortDataWrite,
    FlagIsDirectory,
    FlagWriteFails,
};

struct FaultCase {
    const char* name;
    Fault fault;
    bool result;
    std::vector<Message> log;         // after the first line and the announcement
    std::optional<std::string> data;  // nullopt: no data file
    std::optional<std::string> flag;  // nullopt: no flag file
};

constexpr const char* kSent = "0123456789";

const FaultCase kFaultCases[] = {
        {"DataIsDirectory",
         Fault::DataIsDirectory,
         false,
         {debug(openFailure(kTriStateData, EISDIR)), countLine(kTriState, 0)},
         std::nullopt,
         std::nullopt},
        {"NoPersistDir",
         Fault::NoPersistDir,
         false,
         {debug(openFailure(kTriStateData, ENOENT)), countLine(kTriState, 0)},
         std::nullopt,
         std::nullopt},
        {"ReadOnlyPersistDir",
         Fault::ReadOnlyPersistDir,
         false,
         {debug(openFailure(kTriStateData, EACCES)), countLine(kTriState, 0)},
         std::nullopt,
         std::nullopt},
        // An earlier calibration's flag stays; the data file stays truncated.
        {"DataWriteFails",
         Fault::DataWriteFails,
         false,
         {debug("chmod result ret = 0"), debug("write failed! length:10"), countLine(kTriState, -1)},
         "",
         "1"},
        {"ShortDataWriteStillStores",
         Fault::ShortDataWrite,
         true,
         {debug("chmod result ret = 0"), countLine(kTriState, 3), debug("chmod result ret = 0")},
         "012",
         "1"},
        {"FlagIsDirectory",
         Fault::FlagIsDirectory,
         true,
         {debug("chmod result ret = 0"), countLine(kTriState, 10),
          debug(openFailure(kTriStateFlag, EISDIR))},
         kSent,
         std::nullopt},
        {"FlagWriteFails",
         Fault::FlagWriteFails,
         true,
         {debug("chmod result ret = 0"), countLine(kTriState, 10), debug("chmod result ret = 0"),
          debug("write failed! length:1")},
         kSent,
         std::nullopt},
};

class FileStoreFaultTest : public CalibrationStoreTest,
                           public ::testing::WithParamInterface<FaultCase> {
  protected:
    void prepare(Fault fault) {
        if (fault != Fault::NoPersistDir) makeDir(kPersistDir);
        switch (fault) {
            case Fault::DataIsDirectory:
                makeDir(kTriStateData);
                break;
            case Fault::ReadOnlyPersistDir:
                makeReadOnly(kPersistDir);
                break;
            case Fault::DataWriteFails:
                writeFile(kTriStateData, "earlier");
                writeFile(kTriStateFlag, "1");
                break;
            case Fault::FlagIsDirectory:
                makeDir(kTriStateFlag);
                break;
            case Fault::FlagWriteFails:
                // A device of its own that fails every write with ENOSPC, like /dev/full.
                if (mknod(hostPath(kTriStateFlag).c_str(), S_IFCHR | 0666, makedev(1, 7)) != 0) {
                    GTEST_SKIP() << "cannot create a device node here: " << std::strerror(errno);
                }
                break;
            default:
                break;
        }
    }

    static rlim_t fileSizeLimit(Fault fault) {
        if (fault == Fault::DataWriteFails) return 0;
        if (fault == Fault::ShortDataWrite) return 3;
        return RLIM_INFINITY;
    }
};

TEST_P(FileStoreFaultTest, ReportsAndKeepsWhatWasStored) {
    const FaultCase& c = GetParam();
    prepare(c.fault);
    if (IsSkipped()) return;
    start();

    bool result;
    {
        FileSizeLimit limit(fileSizeLimit(c.fault));
        result = save(kTriStateType, bytesOf(kSent));
    }

    EXPECT_EQ(result, c.result);
    std::vector<Message> expected = {firstLine(kTriStateType, 10, 10),
                                     debug(kTriState.announcement)};
    expected.insert(expected.end(), c.log.begin(), c.log.end());
    EXPECT_EQ(serviceLog(), expected);
    if (c.data) {
        EXPECT_EQ(readFile(kTriStateData), *c.data);
    }
    if (c.flag) {
        EXPECT_EQ(readFile(kTriStateFlag), *c.flag);
    } else if (c.fault != Fault::FlagIsDirectory && c.fault != Fault::FlagWriteFails) {
        EXPECT_FALSE(exists(kTriStateFlag));
    }
}

INSTANTIATE_TEST_SUITE_P(Faults, FileStoreFaultTest, ::testing::ValuesIn(kFaultCases), CaseName());

const Motor kMotorValues = {1, -2, 3, 0, 0, 7};

struct MotorCase {
    const char* name;
    int32_t type;
    bool reserve;
    bool ufs;
    size_t size;
    bool result;
    std::vector<Message> log;  // after the first line
    off_t written;             // -1: the partition is unchanged
};

const MotorCase kMotorCases[] = {
        {"Emmc", kMotorType, true, false, 24, true, {debug("write 24 bytes")}, kMotorRecordEmmc},
        {"Ufs", kMotorType, true, true, 24, true, {debug("write 24 bytes")}, kMotorRecordUfs},
        {"NoReserve", kMotorType, false, false, 24, false, {debug("do nothing")}, -1},
        {"Short", kMotorType, true, false, 23, false, {}, -1},
        {"Long", kMotorType, true, false, 25, false, {}, -1},
        {"UnknownType", kMotorType + 1, true, false, 24, false, {}, -1},
};

class MotorStoreTest : public CalibrationStoreTest,
                       public ::testing::WithParamInterface<MotorCase> {};

TEST_P(MotorStoreTest, WritesTheRecordInPlace) {
    const MotorCase& c = GetParam();
    if (c.reserve) createReservePartition();
    if (c.ufs) makeUfsStorage();
    makeDir(kPersistDir);
    start();
    std::string record = motorRecord(kMotorValues);
    std::vector<uint8_t> data = bytesOf(record);
    data.resize(c.size, 0x5a);
    // Without the reserve link at start, a partition appearing later is still left alone.
    if (!c.reserve) createReservePartition();

    EXPECT_EQ(save(c.type, data), c.result);

    std::vector<Message> expected = {firstLine(c.type, static_cast<int32_t>(c.size), c.size)};
    expected.insert(expected.end(), c.log.begin(), c.log.end());
    EXPECT_EQ(serviceLog(), expected);
    if (c.written >= 0) {
        EXPECT_EQ(readPartition(c.written, 24), record);
        expectPartitionUnchangedExcept({{c.written, 24}});
    } else {
        expectPartitionUnchangedExcept();
    }
    EXPECT_FALSE(exists(kTriStateData));
    EXPECT_FALSE(exists(kMagneticData));
}

INSTANTIATE_TEST_SUITE_P(Records, MotorStoreTest, ::testing::ValuesIn(kMotorCases), CaseName());

TEST_F(CalibrationStoreTest, MotorRecordThatCannotBeWrittenIsRefused) {
    createReservePartition();
    start();
    makeReadOnly(kReservePartition);

    EXPECT_FALSE(save(kMotorType, bytesOf(motorRecord(kMotorValues))));

    EXPECT_TRUE(contains(ANDROID_LOG_DEBUG, aidl::vendor::zenth::hardware::misc::kMiscLogTag,
                         openFailure(kReservePartition, EACCES)));
    expectPartitionUnchangedExcept();
}

// Saving never reaches a driver; the next start hands everything over.
class RoundTripTest : public CalibrationStoreTest, public ::testing::WithParamInterface<bool> {};

TEST_P(RoundTripTest, NextStartRestoresWhatWasSaved) {
    createReservePartition();
    if (GetParam()) makeUfsStorage();
    makeDir(kPersistDir);
    for (const char* node : {kMotorNode, kTriStateNode, kMagneticNode}) writeFile(node, "");
    start();

    EXPECT_TRUE(save(kMotorType, bytesOf(motorRecord(kMotorValues))));
    EXPECT_TRUE(save(kTriStateType, bytesOf("12;34;56")));
    EXPECT_TRUE(save(kMagneticType, bytesOf("abcdefghijkl")));
    for (const char* node : {kMotorNode, kTriStateNode, kMagneticNode}) {
        EXPECT_EQ(readFile(node), "") << node << " was written by the save";
    }

    auto next = startService();

    EXPECT_EQ(readFile(kMotorNode), "1,-2,3,0,0,7");
    EXPECT_EQ(readFile(kTriStateNode), "12,34,56");
    EXPECT_EQ(readFile(kMagneticNode), "abcdefgh");
}

INSTANTIATE_TEST_SUITE_P(Storage, RoundTripTest, ::testing::Bool(),
                         [](const auto& info) { return info.param ? "Ufs" : "Emmc"; });

}  // namespace
