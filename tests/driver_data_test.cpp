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

// The data the daemon keeps for its drivers. Calibration data: the service object's start
// (storage detection and the hand-over of stored calibration to the motor, tri-state key and
// magnetic cover drivers) and saveCalibrationData, which stores what the next start hands
// over. The fan probe: the fan variant from the hardware id of the reserve partition, and the
// RPM table handed to the driver.

#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "MiscLogTag.h"
#include "ReservePartition.h"
#include "support/DeviceTest.h"
#include "zenth_host/EmulatedDevice.h"
#include "zenthmisc-impl/ZenthFan.h"
#include "zenthmisc-impl/ZenthMisc.h"

namespace aidl::vendor::zenth::hardware::misc {
namespace {

constexpr const char* kPersistDir = "/mnt/vendor/persist/engineermode";
const std::string kTriStateData = "/mnt/vendor/persist/engineermode/tri_state_hall_data";
const std::string kTriStateFlag = "/mnt/vendor/persist/engineermode/tri_state_hall_calib_flag";
const std::string kMagneticData = "/mnt/vendor/persist/engineermode/magneticCoverCalibrationData";
const std::string kMagneticFlag = "/mnt/vendor/persist/engineermode/magneticCoverCalibrationFlag";
const std::string kMotorNode = "/sys/class/motor/hall_calibration";
const std::string kTriStateNode = "/proc/tristatekey/hall_data_calib";
const std::string kMagneticNode = "/proc/magnetic_cover/magcvr_data_handle";
const std::string kNoMagneticFile = "D no file /proc/magnetic_cover/magcvr_data_handle\n";
constexpr off_t kMotorEmmc = 4303872;
constexpr off_t kMotorUfs = 4407296;
constexpr int32_t kMotorType = 1000030;
constexpr int32_t kTriStateType = 1000104;
constexpr int32_t kMagneticType = 1000200;

// The motor record as it lies in the partition: six little-endian 32-bit values.
std::string motorRecord(const std::array<int32_t, 6>& values) {
    std::string bytes(sizeof(values), '\0');
    std::memcpy(bytes.data(), values.data(), sizeof(values));
    return bytes;
}

// The first line of a start: the storage it detected.
std::string detection(bool reserve, bool emmc) {
    return std::string("D gIsReserveIntegrate=") + (reserve ? "1" : "0") +
           ", gIsEmmcStorage=" + (emmc ? "1" : "0") + "\n";
}

class CalibrationTest : public DeviceTest {
  protected:
    void TearDown() override {
        resetStorageFlags();
        DeviceTest::TearDown();
    }
    // The flags outlive a service object (a set reserve flag is never cleared), so each
    // start begins from the values of a fresh process.
    static void resetStorageFlags() {
        gIsReserveIntegrate = false;
        gIsEmmcStorage = true;
    }
    std::shared_ptr<ZenthMisc> startService() {
        resetStorageFlags();
        return ndk::SharedRefBase::make<ZenthMisc>();
    }
    std::string serviceLog() const { return messages(kMiscLogTag); }
};

// ---- The start ----

TEST_F(CalibrationTest, StartDetectsTheStorageAndReadsTheMatchingMotorRecord) {
    for (bool ufs : {false, true}) {
        for (bool reserve : {false, true}) {
            SCOPED_TRACE(std::string(reserve ? "reserve" : "no reserve") +
                         (ufs ? ", UFS" : ", eMMC"));
            std::filesystem::remove(hostPath(kReservePartition));
            std::filesystem::remove(hostPath(misc::kUfsBlockDevicePath));
            if (reserve) {
                createReservePartition();
                writePartition(kMotorEmmc, motorRecord({11, 12, 13, 14, 15, 16}));
                writePartition(kMotorUfs, motorRecord({21, 22, 23, 24, 25, 26}));
            }
            if (ufs) makeUfsStorage();
            writeFile(kMotorNode, "");
            clearLog();

            auto service = startService();

            const std::string log = serviceLog();
            EXPECT_EQ(log.rfind(detection(reserve, !ufs), 0), 0u);
            EXPECT_EQ(gIsReserveIntegrate, reserve);
            EXPECT_EQ(gIsEmmcStorage, !ufs);
            EXPECT_EQ(readFile(kMotorNode), !reserve ? ""
                                            : ufs    ? "21,22,23,24,25,26"
                                                     : "11,12,13,14,15,16");
            EXPECT_EQ(log.find("D motor") != std::string::npos, reserve);
            if (reserve) expectPartitionUnchangedExcept();
        }
    }
    // A later object never clears the flag of a running process.
    std::filesystem::remove(hostPath(kReservePartition));
    ndk::SharedRefBase::make<ZenthMisc>();
    EXPECT_TRUE(gIsReserveIntegrate);
}

TEST_F(CalibrationTest, StartWritesTheMotorRecordAsTextOrRefusesAnEmptyOne) {
    struct Case {
        std::string record;  // what the partition holds from the eMMC record's offset on
        std::string log;     // between the detection line and the magnetic cover's
        const char* node;    // the motor driver's content afterwards; nullptr: no driver
    };
    const Case cases[] = {
            {motorRecord({1, -2, 3, 0, 0, 7}),
             "D motor calibration data 1,-2,3,0,0,7\nD write 12 bytes\n"
             "D motor calbration data write count = 12\n",
             "1,-2,3,0,0,7"},
            {motorRecord({0, 0, 0, 0, 0, 1}),
             "D motor calibration data 0,0,0,0,0,1\nD write 11 bytes\n"
             "D motor calbration data write count = 11\n",
             "0,0,0,0,0,1"},
            // The partition ends one byte into the record: the unread values stay zero.
            {"\x05",
             "D motor calibration data 5,0,0,0,0,0\nD write 11 bytes\n"
             "D motor calbration data write count = 11\n",
             "5,0,0,0,0,0"},
            {motorRecord({0, 0, 0, 0, 0, 0}),
             "D motor calibration data 0,0,0,0,0,0\nD invalid motor hall cali data\n", ""},
            {motorRecord({1, 2, 3, 4, 5, 6}),
             "D motor calibration data 1,2,3,4,5,6\n" + openFailure(kMotorNode, ENOENT) +
                     "D motor calbration data write count = -1\n",
             nullptr},
    };
    // The other two steps find nothing and stay out of the way.
    writeFile(kTriStateData, "");
    writeFile(kMagneticData, "");
    for (const Case& c : cases) {
        SCOPED_TRACE(c.log);
        writeFile(kReservePartition, std::string(kMotorEmmc, '\0') + c.record);
        std::filesystem::remove_all(hostPath("/sys/class/motor"));
        makeDir("/sys/class/motor");
        if (c.node != nullptr) writeFile(kMotorNode, "");
        clearLog();

        auto service = startService();

        EXPECT_EQ(serviceLog(), detection(true, true) + c.log + kNoMagneticFile);
        EXPECT_EQ(exists(kMotorNode), c.node != nullptr) << "the driver node was created";
        if (c.node != nullptr) {
            EXPECT_EQ(readFile(kMotorNode), c.node);
        }
    }
}

// Tri-state key and magnetic cover: a persist file forwarded to its driver, cut to the
// driver's length.
std::string repeat(const std::string& piece, size_t size) {
    std::string text;
    while (text.size() < size) text += piece;
    return text.substr(0, size);
}

TEST_F(CalibrationTest, StartHandsTheStoredFilesToTheirDrivers) {
    struct Case {
        std::string persistFile;
        std::string driverNode;
        std::optional<std::string> stored;  // nullopt: no persist file
        std::string driverAfter;            // the driver starts out holding "keep"
    };
    const Case cases[] = {
            {kTriStateData, kTriStateNode, "12;34;56", "12,34,56"},
            {kTriStateData, kTriStateNode, repeat("1;", 200), repeat("1,", 128)},
            {kTriStateData, kTriStateNode, std::string("a;\0b;", 5), std::string("a,\0b,", 5)},
            {kTriStateData, kTriStateNode, ";", ",eep"},
            {kTriStateData, kTriStateNode, "", "keep"},
            {kMagneticData, kMagneticNode, "0123456789;b", "01234567"},
            {kMagneticData, kMagneticNode, ";", ";eep"},
            {kMagneticData, kMagneticNode, std::nullopt, "keep"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.persistFile + " holding " + c.stored.value_or("nothing"));
        std::filesystem::remove_all(hostPath(kPersistDir));
        makeDir(kPersistDir);
        if (c.stored) writeFile(c.persistFile, *c.stored);
        writeFile(c.driverNode, "keep");
        clearLog();

        auto service = startService();

        EXPECT_EQ(readFile(c.driverNode), c.driverAfter);
        if (c.stored) {
            EXPECT_EQ(readFile(c.persistFile), *c.stored) << "the stored file changed";
        }
        const bool magneticForwarded = c.driverNode == kMagneticNode && c.driverAfter != "keep";
        EXPECT_EQ(serviceLog().find(kNoMagneticFile) == std::string::npos, magneticForwarded);
    }
}

// ---- saveCalibrationData ----

std::vector<uint8_t> bytesOf(const std::string& text) {
    return std::vector<uint8_t>(text.begin(), text.end());
}

std::vector<uint8_t> pattern(size_t size) {
    std::vector<uint8_t> bytes(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(i * 7);  // NULs included
    return bytes;
}

std::string firstLine(int32_t type, int32_t length, size_t size) {
    return "D saveCalibrationData in_type = " + std::to_string(type) +
           ", in_length = " + std::to_string(length) + ", size = " + std::to_string(size) + "\n";
}

class CalibrationStoreTest : public CalibrationTest {
  protected:
    void start() {
        service_ = startService();
        clearLog();
    }
    bool save(int32_t type, const std::vector<uint8_t>& data, int32_t length) {
        bool result = true;  // every path must overwrite it
        EXPECT_TRUE(service_->saveCalibrationData(type, data, length, &result).isOk());
        return result;
    }
    bool save(int32_t type, const std::vector<uint8_t>& data) {
        return save(type, data, static_cast<int32_t>(data.size()));
    }

    std::shared_ptr<ZenthMisc> service_;
};

TEST_F(CalibrationStoreTest, InvalidLengthsAreRefusedWithoutTouchingTheFiles) {
    makeDir(kPersistDir);
    start();
    struct Case {
        size_t size;
        int32_t length;
        std::string log;
    };
    const std::string refused = "E data size error\n";
    const Case cases[] = {
            {0, 0, "E invalid calibrationData\n"},
            {4097, 4097, firstLine(kTriStateType, 4097, 4097) + refused},
            {10, -1, firstLine(kTriStateType, -1, 10) + refused},
            {10, 9, firstLine(kTriStateType, 9, 10) + refused},
            {10, 11, firstLine(kTriStateType, 11, 10) + refused},
    };
    for (const Case& c : cases) {
        clearLog();
        EXPECT_FALSE(save(kTriStateType, pattern(c.size), c.length)) << c.length;
        EXPECT_EQ(serviceLog(), c.log);
    }
    EXPECT_FALSE(exists(kTriStateData));
    EXPECT_FALSE(exists(kTriStateFlag));
}

TEST_F(CalibrationStoreTest, FileKindsReplaceAndSyncTheirDataAndSetTheirFlag) {
    struct Kind {
        int32_t type;
        std::string data;
        std::string flag;
        std::string announcement;  // with the count line's start
    };
    const Kind kinds[] = {
            {kTriStateType, kTriStateData, kTriStateFlag,
             "D saveTriCalibrationData \nD chmod result ret = 0\n"
             "D saveTriCalibrationData write TriHallCalibrationData count = "},
            {kMagneticType, kMagneticData, kMagneticFlag,
             "D saveMagneticCoverCalibrationData \nD chmod result ret = 0\n"
             "D saveMagneticCoverCalibrationData write saveMagneticCoverCalibrationData count = "},
    };
    start();
    for (const Kind& kind : kinds) {
        // Earlier files, longer than the new data and with modes the store must correct.
        writeFile(kind.data, std::string(5000, 'x'), 0600);
        writeFile(kind.flag, "0\n", 0600);
        for (size_t size : {4096, 1}) {
            SCOPED_TRACE(kind.data + " " + std::to_string(size));
            clearLog();
            const size_t synced = emulated::syncedFiles().size();
            const std::vector<uint8_t> data = pattern(size);

            EXPECT_TRUE(save(kind.type, data));

            EXPECT_EQ(readFile(kind.data), std::string(data.begin(), data.end()));
            EXPECT_EQ(readFile(kind.flag), "1");
            EXPECT_EQ(modeOf(kind.data), 0664u);
            EXPECT_EQ(modeOf(kind.flag), 0664u);
            const std::vector<std::string> all = emulated::syncedFiles();
            EXPECT_EQ(std::vector<std::string>(all.begin() + synced, all.end()),
                      (std::vector<std::string>{hostPath(kind.data), hostPath(kind.flag)}));
            EXPECT_EQ(serviceLog(), firstLine(kind.type, static_cast<int32_t>(size), size) +
                                            kind.announcement + std::to_string(size) +
                                            "\nD chmod result ret = 0\n");
        }
    }
}

TEST_F(CalibrationStoreTest, FileStoreReportsFailuresAndKeepsWhatWasStored) {
    enum Fault { NoPersistDir, DataWriteFails, ShortDataWrite, FlagIsDirectory, FlagWriteFails };
    struct Case {
        Fault fault;
        bool result;
        std::string log;                  // after the first line and the announcement
        std::optional<std::string> data;  // nullopt: no data file
        std::optional<std::string> flag;  // nullopt: no flag file
    };
    const std::string sent = "0123456789";
    const std::string chmod = "D chmod result ret = 0\n";
    const std::string count = "D saveTriCalibrationData write TriHallCalibrationData count = ";
    const Case cases[] = {
            {NoPersistDir, false, openFailure(kTriStateData, ENOENT) + count + "0\n", std::nullopt,
             std::nullopt},
            // An earlier calibration's flag stays; the data file stays truncated.
            {DataWriteFails, false, chmod + "D write failed! length:10\n" + count + "-1\n", "", "1"},
            {ShortDataWrite, true, chmod + count + "3\n" + chmod, "012", "1"},
            {FlagIsDirectory, true, chmod + count + "10\n" + openFailure(kTriStateFlag, EISDIR),
             sent, std::nullopt},
            {FlagWriteFails, true, chmod + count + "10\n" + chmod + "D write failed! length:1\n",
             sent, std::nullopt},
    };
    start();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.log);
        std::filesystem::remove_all(hostPath(kPersistDir));
        if (c.fault != NoPersistDir) makeDir(kPersistDir);
        if (c.fault == DataWriteFails) {
            writeFile(kTriStateData, "earlier");
            writeFile(kTriStateFlag, "1");
        }
        if (c.fault == FlagIsDirectory) makeDir(kTriStateFlag);
        // A device of its own that fails every write with ENOSPC, like /dev/full.
        if (c.fault == FlagWriteFails &&
            mknod(hostPath(kTriStateFlag).c_str(), S_IFCHR | 0666, makedev(1, 7)) != 0) {
            GTEST_SKIP() << "cannot create a device node here: " << std::strerror(errno);
        }
        if (c.fault == FlagWriteFails) emulated::boot::place(kTriStateFlag);  // the daemon's
        clearLog();

        bool result;
        {
            FileSizeLimit limit(c.fault == DataWriteFails   ? 0
                                : c.fault == ShortDataWrite ? 3
                                                            : RLIM_INFINITY);
            result = save(kTriStateType, bytesOf(sent));
        }

        EXPECT_EQ(result, c.result);
        EXPECT_EQ(serviceLog(),
                  firstLine(kTriStateType, 10, 10) + "D saveTriCalibrationData \n" + c.log);
        EXPECT_EQ(exists(kTriStateData), c.data.has_value());
        if (c.data) {
            EXPECT_EQ(readFile(kTriStateData), *c.data);
        }
        if (c.flag) {
            EXPECT_EQ(readFile(kTriStateFlag), *c.flag);
        }
    }
}

TEST_F(CalibrationStoreTest, MotorRecordIsWrittenInPlace) {
    struct Case {
        int32_t type;
        bool reserve;
        bool ufs;
        size_t size;
        rlim_t sizeLimit;  // of the partition image
        std::string log;   // after the first line
        off_t written;
        size_t writtenLength;  // 0: refused, the partition is unchanged
    };
    const Case cases[] = {
            {kMotorType, true, false, 24, RLIM_INFINITY, "D write 24 bytes\n", kMotorEmmc, 24},
            {kMotorType, true, true, 24, RLIM_INFINITY, "D write 24 bytes\n", kMotorUfs, 24},
            {kMotorType, true, false, 24, kMotorEmmc + 1, "D write 1 bytes\n", kMotorEmmc, 1},
            {kMotorType, true, false, 24, kMotorEmmc, "D write failed! size:-1\n", kMotorEmmc, 0},
            {kMotorType, false, false, 24, RLIM_INFINITY, "D do nothing\n", kMotorEmmc, 0},
            {kMotorType, true, false, 23, RLIM_INFINITY, "", kMotorEmmc, 0},
            {kMotorType, true, false, 25, RLIM_INFINITY, "", kMotorEmmc, 0},
            {kMotorType + 1, true, false, 24, RLIM_INFINITY, "", kMotorEmmc, 0},
    };
    makeDir(kPersistDir);
    const std::string record = motorRecord({1, -2, 3, 0, 0, 7});
    for (const Case& c : cases) {
        SCOPED_TRACE(firstLine(c.type, 0, c.size) + c.log);
        std::filesystem::remove(hostPath(kReservePartition));
        std::filesystem::remove(hostPath(misc::kUfsBlockDevicePath));
        if (c.reserve) createReservePartition();
        if (c.ufs) makeUfsStorage();
        start();
        std::vector<uint8_t> data = bytesOf(record);
        data.resize(c.size, 0x5a);
        // Without the reserve link at start, a partition appearing later is still left alone.
        if (!c.reserve) createReservePartition();

        {
            FileSizeLimit limit(c.sizeLimit);
            EXPECT_EQ(save(c.type, data), c.writtenLength > 0);
        }

        EXPECT_EQ(serviceLog(), firstLine(c.type, static_cast<int32_t>(c.size), c.size) + c.log);
        EXPECT_EQ(readPartition(c.written, c.writtenLength), record.substr(0, c.writtenLength));
        expectPartitionUnchangedExcept({{c.written, c.writtenLength}});
        EXPECT_FALSE(exists(kTriStateData));
        EXPECT_FALSE(exists(kMagneticData));
    }
}

// ---- The fan probe ----

constexpr const char* kDeviceIdNode = "/sys/class/leds/fan/device_id";
constexpr const char* kRpmTableNode = "/sys/class/leds/fan/rpm_table";
constexpr off_t kFanRegionEmmc = 5107712;
constexpr off_t kFanRegionUfs = 5369856;
constexpr off_t kRpmTable = 64;
const std::string kReserveEmmc = detection(true, true);

class FanProbeTest : public CalibrationTest {
  protected:
    // Runs the probe and returns its service-tag lines, less the destructor's last one.
    std::string probe() {
        clearLog();
        {
            ZenthFan fan;  // probes as it starts; its destructor logs last
        }
        std::string log = messages(kMiscLogTag);
        const std::string last = "D ZenthFan::~ZenthFan\n\n";
        EXPECT_EQ(log.substr(log.size() - last.size()), last);
        return log.substr(0, log.size() - last.size());
    }
};

TEST_F(FanProbeTest, HardwareIdSelectsTheDeviceId) {
    const std::pair<std::string, const char*> cases[] = {
            {"473918000001", "0"}, {"473918000005", "0"}, {"473918000003", "1"},
            {"473918000004", "1"}, {"473918000002", "x"}, {"573918000001", "x"},
            {"47391800", "x"},  // the node holds "x" before the probe
    };
    createReservePartition();
    for (const auto& [hardwareId, deviceId] : cases) {
        writePartition(kFanRegionEmmc, hardwareId + std::string(12 - hardwareId.size(), '\0'));
        writeFile(kDeviceIdNode, "x");
        const std::string outcome = deviceId[0] == 'x' ? "D invalid data\n"
                                                       : std::string("D set fan device_id = ") +
                                                                 deviceId + "\nD write 1 bytes\n";
        EXPECT_EQ(probe(), kReserveEmmc + "D fan device_id support = 1\nD read fan hw id = " +
                                   hardwareId + "\n" + outcome + "D fan rpm_table support = 0\n");
        EXPECT_EQ(readFile(kDeviceIdNode), deviceId);
    }
}

// A different variant and table in the other storage kind's region show which one is read;
// the service object's flag claims the opposite storage, and the probe must not use it.
TEST_F(FanProbeTest, ReadsTheRegionOfItsStorageKindAndWritesNoPartitionByte) {
    createReservePartition();
    for (bool ufs : {false, true}) {
        const off_t region = ufs ? kFanRegionUfs : kFanRegionEmmc;
        const off_t other = ufs ? kFanRegionEmmc : kFanRegionUfs;
        writePartition(region, "473918000003");
        writePartition(region + kRpmTable, std::string("1000,2000\0", 10));
        writePartition(other, "473918000001");
        writePartition(other + kRpmTable, std::string("9999\0", 5));
        if (ufs) makeUfsStorage();
        writeFile(kDeviceIdNode, "");
        writeFile(kRpmTableNode, "");
        gIsEmmcStorage = ufs;

        const std::string log = probe();

        EXPECT_EQ(log.rfind(detection(true, !ufs), 0), 0u);
        EXPECT_EQ(readFile(kDeviceIdNode), "1");
        EXPECT_EQ(readFile(kRpmTableNode), "1000,2000");
        expectPartitionUnchangedExcept();
    }
}

TEST_F(FanProbeTest, RpmTableIsWrittenAsTextUpToItsEnd) {
    struct Case {
        std::string region;  // bytes at region offset 64 onwards
        std::string shown;   // the text in the log line and the bytes written
    };
    const Case cases[] = {
            {std::string("3000,4000\0garbage", 17), "3000,4000"},
            {std::string(128, 'r') + "OVER", std::string(128, 'r')},  // the 129th byte is not read
            {std::string("\0rest", 5), ""},
    };
    createReservePartition();
    for (const Case& c : cases) {
        writePartition(kFanRegionEmmc + kRpmTable, c.region);
        writeFile(kRpmTableNode, "");
        EXPECT_EQ(probe(), kReserveEmmc +
                                   "D fan device_id support = 0\nD fan rpm_table support = 1\n"
                                   "D read fan rpm table info = " +
                                   c.shown + "\nD write " + std::to_string(c.shown.size()) +
                                   " bytes\n");
        EXPECT_EQ(readFile(kRpmTableNode), c.shown);
    }
}

// A partition that ends inside the region: whatever a read returns, down to one byte, is
// used; a read that returns nothing ends the step.
TEST_F(FanProbeTest, ShortReadsOfTheRegionAreUsed) {
    writeFile(kDeviceIdNode, "x");
    writeFile(kRpmTableNode, "keep");
    writeFile(kReservePartition, std::string(kFanRegionEmmc, '\0') + "4");
    EXPECT_EQ(probe(), kReserveEmmc +
                               "D fan device_id support = 1\nD read fan hw id = 4\nD invalid data\n"
                               "D fan rpm_table support = 1\n");
    writeFile(kReservePartition,
              std::string(kFanRegionEmmc, '\0') + "473918000001" + std::string(52, '\0') + "7");
    EXPECT_EQ(probe(), kReserveEmmc +
                               "D fan device_id support = 1\nD read fan hw id = 473918000001\n"
                               "D set fan device_id = 0\nD write 1 bytes\n"
                               "D fan rpm_table support = 1\nD read fan rpm table info = 7\n"
                               "D write 1 bytes\n");
    EXPECT_EQ(readFile(kDeviceIdNode), "0");
    EXPECT_EQ(readFile(kRpmTableNode), "7eep");
}

// Each step runs only with its node and the reserve partition.
TEST_F(FanProbeTest, StepsWithoutTheirNodeOrTheReserveOnlyLog) {
    writeFile(kDeviceIdNode, "");
    writeFile(kRpmTableNode, "");
    EXPECT_EQ(probe(), detection(false, true) +
                               "D fan device_id support = 1\n"
                               "D fan rpm_table support = 1\n");
    EXPECT_EQ(readFile(kDeviceIdNode), "");
    EXPECT_EQ(readFile(kRpmTableNode), "");
    std::filesystem::remove_all(hostPath("/sys/class/leds"));
    createReservePartition();
    writePartition(kFanRegionEmmc, "473918000004");
    writePartition(kFanRegionEmmc + kRpmTable, "10,20");
    EXPECT_EQ(probe(), kReserveEmmc + "D fan device_id support = 0\nD fan rpm_table support = 0\n");
    EXPECT_FALSE(exists(kDeviceIdNode));
}

}  // namespace
}  // namespace aidl::vendor::zenth::hardware::misc
