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

// The sample phone: what the board's drivers show and what an earlier session left, as data
// handed to the device tree builder.

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "MiscNodeTable.h"
#include "ReservePartition.h"
#include "zenth_host/DeviceTree.h"
#include "zenth_host/EmulatedDevice.h"

namespace zenth_host {

namespace {

namespace misc = aidl::vendor::zenth::hardware::misc;
using misc::counterField;

constexpr mode_t kWritable = 0644;
constexpr mode_t kReadOnly = 0444;
constexpr mode_t kPersist = 0664;

struct SampleFile {
    const char* content;
    mode_t mode;
};

// Files that differ from a node table row's writable "0\n": the ones a driver only reports are
// read-only; then files outside the table (driver nodes written at start, the persisted
// calibration of an earlier session).
const std::map<std::string, SampleFile>& sampleFiles() {
    static const auto* files = new std::map<std::string, SampleFile>{
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
            {"/sys/class/motor/hall_calibration", {"", kWritable}},
            {"/sys/class/leds/fan/rpm_table", {"", kWritable}},
            {"/mnt/vendor/persist/engineermode/tri_state_hall_data", {"35;-12;48;-20", kPersist}},
            {"/mnt/vendor/persist/engineermode/tri_state_hall_calib_flag", {"1", kPersist}},
            {"/mnt/vendor/persist/engineermode/magneticCoverCalibrationData",
             {"0321,118", kPersist}},
            {"/mnt/vendor/persist/engineermode/magneticCoverCalibrationFlag", {"1", kPersist}},
    };
    return *files;
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
    std::string block;
    for (const char* text : {"fpga_op_info", "up:37", "rb:4", "i2c:1", "sr:2", "hr:0"})
        block += counterField(text);
    return block + counterField(ec) + counterField("bf:0");
}

std::string exgpioArea() {
    // i2c and rs differ from the previous counts, so the first start reports them; but the
    // leading text is still erased flash, which no interface String can carry.
    std::string area(misc::kCounterFieldSize, '\xff');
    for (const char* text : {"i2c:3", "rs:1", "pw:7", "rsv:0", "pi2c:2", "prs:1"})
        area += counterField(text);
    return area;
}

// The sample stores on eMMC.
void writeReservePartition(const DeviceTree& tree) {
    tree.createReservePartition();
    const int fan = misc::kFanIdentityRegion.emmcOffset;
    tree.writePartition(misc::kMotorHallRecord.emmcOffset, int32le({1203, -877, 455, 12, -3, 980}));
    tree.writePartition(fan, "473918000003");
    tree.writePartition(fan + misc::kFanRpmTableOffset, "0:0,1:2100,2:3200,3:4300,4:5400,5:6500");
    tree.writePartition(misc::kExgpioCounterArea.emmcOffset, exgpioArea());
    tree.writePartition(misc::kFpgaOpInfoOffset, fpgaOpInfoBlock());
}

void writeFiles(const DeviceTree& tree) {
    for (const auto& row : misc::gMiscNodeTable) {
        const std::string path = row.path;
        if (path == "/proc/devinfo") {
            tree.makeDir(path);
        } else if (path != misc::kReservePartitionPath && sampleFiles().count(path) == 0) {
            tree.writeFile(path, "0\n", kWritable);
        }
    }
    for (const auto& [path, file] : sampleFiles()) tree.writeFile(path, file.content, file.mode);
}

}  // namespace

void DeviceTree::buildSamplePhone() const {
    writeFiles(*this);
    createFaultNode();
    makeDir("/mnt/vendor/zenthreserve");  // the board's mount point of the reserve file system
    writeReservePartition(*this);
    emulated::boot::run();
}

}  // namespace zenth_host
