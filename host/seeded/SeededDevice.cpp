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

#include <zenth_host/SeededDevice.h>

#include <android/log.h>
#include <stdlib.h>
#include <zenth_host/EmulatedDevice.h>
#include <zenth_host/host_log.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "MiscNodeTable.h"
#include "ReservePartition.h"

namespace fs = std::filesystem;
namespace misc = aidl::vendor::zenth::hardware::misc;
using misc::gMiscNodeTable;
using misc::kReservePartitionPath;

namespace zenth_host {

namespace {

constexpr off_t kFanIdentity = misc::kFanIdentityRegion.emmcOffset;
constexpr off_t kFanRpmTable = kFanIdentity + misc::kFanRpmTableOffset;

// The FPGA operation-info block as the factory formats it: one key per 16-byte field.
void seedFpgaKeys(const SeededDevice& device) {
    static constexpr const char* kFields[misc::kFpgaOpInfoFieldCount] = {
            "", "up:0", "rb:0", "i2c:0", "sr:0", "hr:0", "ec:", "bf:0"};
    off_t offset = misc::kFpgaOpInfoOffset;
    for (const char* field : kFields) {
        if (field[0] != '\0') device.writePartition(offset, field);
        offset += misc::kCounterFieldSize;
    }
}

std::string motorRecord() {
    const int32_t values[misc::kMotorHallRecordValues] = {1, -2, 3, 0, 0, 7};
    return std::string(reinterpret_cast<const char*>(values), sizeof(values));
}

void dropLine(const struct __android_log_message*) {}

}  // namespace

SeededDevice::SeededDevice() {
    std::string pattern = "/dev/shm/zenth-bench-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
        std::perror("mkdtemp /dev/shm");
        std::abort();
    }
    root_ = pattern;
    emulated::setRoot(root_);
}

SeededDevice::~SeededDevice() {
    emulated::setRoot("");
    std::error_code ignored;
    fs::remove_all(root_, ignored);
}

std::string SeededDevice::hostPath(const std::string& devicePath) const {
    return root_ + (devicePath[0] == '/' ? "" : "/") + devicePath;
}

void SeededDevice::writeFile(const std::string& devicePath, const std::string& bytes) const {
    fs::path path = hostPath(devicePath);
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
    emulated::boot::place(devicePath);
}

void SeededDevice::makeDir(const std::string& devicePath) const {
    fs::create_directories(hostPath(devicePath));
    emulated::boot::place(devicePath);
}

void SeededDevice::createReservePartition() const {
    fs::path path = hostPath(kReservePartitionPath);
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary | std::ios::trunc);
    fs::resize_file(path, kPartitionSize);
}

void SeededDevice::writePartition(off_t offset, const std::string& bytes) const {
    std::fstream file(hostPath(kReservePartitionPath),
                      std::ios::binary | std::ios::in | std::ios::out);
    file.seekp(offset);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::string SeededDevice::readPartition(off_t offset, size_t length) const {
    std::ifstream file(hostPath(kReservePartitionPath), std::ios::binary);
    file.seekg(offset);
    std::string bytes(length, '\0');
    file.read(bytes.data(), static_cast<std::streamsize>(length));
    return bytes;
}

void SeededDevice::seedSample() const {
    constexpr const char* kPersist = "/mnt/vendor/persist/";
    for (const auto& row : gMiscNodeTable) {
        if (std::strcmp(row.path, kReservePartitionPath) == 0) continue;
        if (std::strncmp(row.path, kPersist, std::strlen(kPersist)) == 0) continue;  // below
        if (row.nodeFlag == 82) {
            makeDir(row.path);
        } else {
            writeFile(row.path, "1\n");
        }
    }
    createReservePartition();
    seedFpgaKeys(*this);
    writePartition(misc::kMotorHallRecord.emmcOffset, motorRecord());
    writePartition(kFanIdentity, "473918000001");
    writePartition(kFanRpmTable, "1000,2000,3000,4000");
    writeFile("/sys/class/motor/hall_calibration", "");
    writeFile("/sys/class/leds/fan/rpm_table", "");
    writeFile(emulated::fault_node::kPath, "");
    makeDir("/mnt/vendor/zenthreserve");
    makeDir("/mnt/vendor/persist");
    emulated::boot::run();
    // Calibration an earlier session of the daemon saved, and its flag (a row of the table).
    writeFile("/mnt/vendor/persist/engineermode/tri_state_hall_calib_flag", "1\n");
    writeFile("/mnt/vendor/persist/engineermode/tri_state_hall_data", "12;34;56");
    writeFile("/mnt/vendor/persist/engineermode/magneticCoverCalibrationData", "abcdefgh");
}

void useLogger(Logger logger) {
    __android_log_set_logger(logger == Logger::NoOp ? dropLine : zenth_host::logcatLogger);
}

const char* loggerName(Logger logger) {
    return logger == Logger::NoOp ? "no-op logger" : "stderr logger";
}

long processStatus(pid_t pid, const std::string& field) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    const std::string prefix = field + ":";
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind(prefix, 0) == 0) return std::stol(line.substr(prefix.size()));
    }
    return -1;
}

long residentKiB(pid_t pid) {
    return processStatus(pid, "VmRSS");
}

}  // namespace zenth_host
