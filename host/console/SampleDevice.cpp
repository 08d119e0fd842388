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

#include "SampleDevice.h"

#include <sys/types.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "MiscNodeTable.h"
#include "ReservePartition.h"
#include "zenth_host/EmulatedDevice.h"

namespace zenth_console {

namespace fs = std::filesystem;
namespace misc = aidl::vendor::zenth::hardware::misc;
using misc::gMiscNodeTable;
using misc::kCounterFieldSize;
using misc::kReservePartitionPath;

namespace {

constexpr mode_t kWritable = 0644;
constexpr mode_t kReadOnly = 0444;
constexpr mode_t kPersist = 0664;

struct SampleNode {
    const char* content;
    mode_t mode;
};

// Nodes that differ from a writable "0\n"; the ones a driver only reports are read-only.
const std::map<std::string, SampleNode>& sampleNodes() {
    static const auto* nodes = new std::map<std::string, SampleNode>{
            {"/proc/colorctrl/temperature", {"27\n", kReadOnly}},
            {"/proc/colorctrl/voltage", {"3312\n", kReadOnly}},
            {"/proc/colorctrl/cover_color", {"2\n", kWritable}},
            {"/proc/devinfo/audio_mainboard",
             {"Device version: AMB-02\nDevice manufacture: zenth\n", kReadOnly}},
            {"/proc/devinfo/distribution",
             {"Device version: CN\nDevice manufacture: zenth\n", kReadOnly}},
            {"/proc/devinfo/lcd",
             {"Device version: AMOLED-6.7\nDevice manufacture: panelco\n", kReadOnly}},
            {"/proc/devinfo/mainboard",
             {"Device version: MB-EVT3\nDevice manufacture: zenth\n", kReadOnly}},
            {"/proc/devinfo/tp",
             {"Device version: TP-0x1a\nDevice manufacture: touchco\n", kReadOnly}},
            {"/proc/devinfo/zenth_board_type", {"7\n", kReadOnly}},
            {"/proc/tristatekey/hall_data", {"112,-43,87\n", kReadOnly}},
            {"/proc/tristatekey/hall_data_calib", {"", kWritable}},
            {"/proc/tristatekey/tri_state", {"3\n", kReadOnly}},
            {"/proc/tristatekey/tri_hall", {"1\n", kReadOnly}},
            {"/proc/tristatekey/dump_register",
             {"reg[0x00]=0x21 reg[0x01]=0x08 reg[0x02]=0x40\n", kReadOnly}},
            {"/proc/tristatekey/hall_debug_info", {"up:112 mid:-43 down:87\n", kReadOnly}},
            {"/sys/class/qcom-haptics/lra_frequency_hz", {"170\n", kReadOnly}},
            {"/sys/class/leds/red/support", {"1\n", kReadOnly}},
            {"/sys/class/leds/red/trigger", {"[none] timer\n", kWritable}},
            {"/sys/class/leds/red/color", {"ff0000\n", kWritable}},
            {"/sys/class/leds/red/led_num", {"1\n", kReadOnly}},
            // Binary: it cannot travel as an interface String.
            {"/sys/class/leds/red/effectdata", {"\x02\x10\xff\x80\x40\x01", kWritable}},
            {"/sys/class/leds/green/trigger", {"[none] timer\n", kWritable}},
            {"/sys/class/leds/green/led_num", {"1\n", kReadOnly}},
            {"/sys/class/leds/blue/trigger", {"[none] timer\n", kWritable}},
            {"/sys/class/leds/blue/led_num", {"1\n", kReadOnly}},
            {"/sys/class/leds/white/support", {"1\n", kReadOnly}},
            {"/sys/class/leds/aw22xxx_led/abnormal_reset_count", {"0\n", kReadOnly}},
            {"/sys/class/leds/aw22xxx_led/funcpme_irq_count", {"0\n", kReadOnly}},
            {"/sys/class/leds/aw22xxx_led/wtd_irq_count", {"0\n", kReadOnly}},
            {"/proc/cs_press/fw_info", {"fw_version: 0x0212\n", kReadOnly}},
            {"/proc/cs_press/local_fw_info", {"fw_version: 0x0212\n", kReadOnly}},
            {"/proc/cs_press/health_info", {"press_irq:0 i2c_err:0\n", kReadOnly}},
            {"/proc/fpga/status", {"1\n", kReadOnly}},
            {"/proc/fpga/info", {"fpga version: 0x0310\nbuild: 2024-05-11\n", kReadOnly}},
            {"/proc/fpga/health_info", {"crc_err:0 i2c_err:1 reset:2\n", kReadOnly}},
            {"/proc/fpga/dump_info", {"reg[0x10]=0x01 reg[0x11]=0x00\n", kReadOnly}},
            {"/proc/fpga/work_state", {"1\n", kReadOnly}},
            {"/proc/fpga/heartbeat_switch", {"1\n", kWritable}},
            {"/proc/fpga/monitor_time", {"600\n", kWritable}},
            {"/proc/magnetic_cover/magcvr_data_handle", {"", kWritable}},
            {"/proc/magnetic_cover/magcvr_farmax_th", {"300\n", kWritable}},
            {"/proc/magnetic_cover/magcvr_healthinfo", {"irq:0 err:0\n", kReadOnly}},
            {"/proc/magnetic_cover/magcvr_cali_support", {"1\n", kReadOnly}},
            {"/proc/pogopin/kbd_battery_power_level", {"83\n", kReadOnly}},
            {"/proc/pogopin/kbd_battery_charge_current", {"0\n", kReadOnly}},
            {"/sys/class/leds/fan/rpm", {"0\n", kReadOnly}},
            {"/sys/class/leds/fan/device_id", {"", kWritable}},
            {"/sys/class/leds/fan/check_period", {"30\n", kWritable}},
            {"/sys/class/ex_gpio/chipid", {"0x35\n", kReadOnly}},
            {"/sys/class/ex_gpio/get_gpio_status", {"0x0f\n", kReadOnly}},
            {"/sys/class/ex_gpio/monitor_info", {"i2c:3 rs:1 pw:7\n", kReadOnly}},
    };
    return *nodes;
}

// Files outside the node table: driver nodes written at start, the fault node and the
// persisted calibration of an earlier session.
struct ExtraFile {
    const char* path;
    std::string content;
    mode_t mode;
};

std::vector<ExtraFile> extraFiles() {
    return {
            {"/sys/class/motor/hall_calibration", "", kWritable},
            {"/sys/class/leds/fan/rpm_table", "", kWritable},
            {"/proc/fpga/errinfoto_op", "", kReadOnly},
            {"/mnt/vendor/persist/engineermode/tri_state_hall_data", "35;-12;48;-20", kPersist},
            {"/mnt/vendor/persist/engineermode/tri_state_hall_calib_flag", "1", kPersist},
            {"/mnt/vendor/persist/engineermode/magneticCoverCalibrationData", "0321,118", kPersist},
            {"/mnt/vendor/persist/engineermode/magneticCoverCalibrationFlag", "1", kPersist},
    };
}

// Big enough for every region of the partition.
constexpr off_t kReservePartitionSize = 6 * 1024 * 1024;

// The folder the fault log directory is created in.
constexpr const char* kFaultLogParent = "/mnt/vendor/zenthreserve";

class Seeder {
  public:
    explicit Seeder(const std::string& root) : root_(root) {}

    fs::path hostPath(const std::string& devicePath) const { return fs::path(root_ + devicePath); }

    void makeDir(const std::string& devicePath) const {
        fs::create_directories(hostPath(devicePath));
    }

    void writeFile(const std::string& devicePath, const std::string& bytes, mode_t mode) const {
        fs::path path = hostPath(devicePath);
        fs::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
        fs::permissions(path, static_cast<fs::perms>(mode));
    }

    void writeAt(std::fstream& image, off_t offset, const std::string& bytes) const {
        image.seekp(offset);
        image.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }

  private:
    std::string root_;
};

// A 16-byte counter field: the text, zero-padded.
std::string field(const std::string& text) {
    std::string bytes = text.substr(0, kCounterFieldSize);
    bytes.resize(kCounterFieldSize, '\0');
    return bytes;
}

std::string int32le(const std::vector<int32_t>& values) {
    std::string bytes;
    for (int32_t value : values) {
        auto u = static_cast<uint32_t>(value);
        for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>((u >> shift) & 0xFF);
    }
    return bytes;
}

std::string fpgaOpInfoBlock() {
    // "ec:" then the last fault code, 7 raw bytes big-endian.
    std::string ec = std::string("ec:") + std::string("\0\0\0\0\0\x12\x34", misc::kFaultCodeSize);
    return field("fpga_op_info") + field("up:37") + field("rb:4") + field("i2c:1") + field("sr:2") +
           field("hr:0") + field(ec) + field("bf:0");
}

std::string exgpioArea() {
    // i2c and rs differ from the previous counts, so the first start reports them; but the
    // leading text is still erased flash, which no interface String can carry.
    return std::string(kCounterFieldSize, '\xff') + field("i2c:3") + field("rs:1") + field("pw:7") +
           field("rsv:0") + field("pi2c:2") + field("prs:1");
}

// The sample stores on eMMC.
void seedReservePartition(const Seeder& seeder) {
    seeder.writeFile(kReservePartitionPath, "", 0644);
    fs::resize_file(seeder.hostPath(kReservePartitionPath), kReservePartitionSize);
    std::fstream image(seeder.hostPath(kReservePartitionPath),
                       std::ios::in | std::ios::out | std::ios::binary);
    const int fan = misc::kFanIdentityRegion.emmcOffset;
    seeder.writeAt(image, misc::kMotorHallRecord.emmcOffset,
                   int32le({1203, -877, 455, 12, -3, 980}));
    seeder.writeAt(image, fan, "473918000003");
    seeder.writeAt(image, fan + misc::kFanRpmTableOffset, "0:0,1:2100,2:3200,3:4300,4:5400,5:6500");
    seeder.writeAt(image, misc::kExgpioCounterArea.emmcOffset, exgpioArea());
    seeder.writeAt(image, misc::kFpgaOpInfoOffset, fpgaOpInfoBlock());
}

void seedNodeTable(const Seeder& seeder) {
    for (const auto& row : gMiscNodeTable) {
        const std::string path = row.path;
        if (path == kReservePartitionPath) continue;  // the partition image below
        if (path == "/proc/devinfo") {
            seeder.makeDir(path);
            continue;
        }
        auto sample = sampleNodes().find(path);
        if (sample == sampleNodes().end()) {
            seeder.writeFile(path, "0\n", kWritable);
        } else {
            seeder.writeFile(path, sample->second.content, sample->second.mode);
        }
    }
}

}  // namespace

bool deviceFolderIsEmpty(const std::string& rootFolder) {
    std::error_code error;
    return !fs::exists(rootFolder, error) || fs::is_empty(rootFolder, error);
}

void seedSampleDevice(const std::string& rootFolder) {
    Seeder seeder(rootFolder);
    seedNodeTable(seeder);
    for (const ExtraFile& extra : extraFiles())
        seeder.writeFile(extra.path, extra.content, extra.mode);
    seeder.makeDir(kFaultLogParent);
    seedReservePartition(seeder);
    // The device as an earlier session left it: booted, its persisted calibration the daemon's.
    emulated::setRoot(rootFolder);
    emulated::boot::run();
    for (const ExtraFile& extra : extraFiles()) emulated::boot::place(extra.path);
}

}  // namespace zenth_console
