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

#include "DeviceChanges.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "CalibrationStore.h"
#include "FaultRecord.h"
#include "Figures.h"
#include "LoadCalls.h"
#include "ZenthFpgaInternal.h"

namespace bench {

namespace {

namespace fs = std::filesystem;

// Regions that the valid calls, the fault recording and the reporters write.
struct WrittenRegion {
    int offset;
    int length;
};
constexpr WrittenRegion kWrittenRegions[] = {
        {misc::kMotorHallRecord.emmcOffset, misc::kMotorHallRecord.length},
        {misc::fpgaOpInfoFieldOffset(misc::kFpgaRebootField), misc::kCounterFieldSize},
        {kFaultRecordOffset, kFaultRecordSize},
        {misc::kFpgaEnableInfoOffset, misc::kFpgaEnableInfoArea.length},
        {misc::kExgpioCounterArea.emmcOffset + misc::exgpio::kPrevI2c * misc::kCounterFieldSize,
         2 * misc::kCounterFieldSize},
};

// The nodes every start writes: the calibration restore and the fan probe.
const char* const kRestoredNodes[] = {
        "/sys/class/motor/hall_calibration",       "/proc/tristatekey/hall_data_calib",
        "/proc/magnetic_cover/magcvr_data_handle", "/sys/class/leds/fan/device_id",
        "/sys/class/leds/fan/rpm_table",
};
constexpr const char* kTriStateFlagPath =
        "/mnt/vendor/persist/engineermode/tri_state_hall_calib_flag";

bool isOneOf(const std::string& bytes, const std::vector<std::string>& allowed) {
    return std::find(allowed.begin(), allowed.end(), bytes) != allowed.end();
}

void checkPartition(const std::string& before, const std::string& after,
                    std::vector<std::string>* changes) {
    std::vector<bool> written(before.size(), false);
    for (const auto& region : kWrittenRegions) {
        std::fill_n(written.begin() + region.offset, region.length, true);
    }
    for (size_t i = 0; i < before.size(); ++i) {
        if (!written[i] && before[i] != after[i]) {
            changes->push_back(format("partition byte %.0f", static_cast<double>(i)));
            break;
        }
    }
    auto bytes = [](const std::string& image, int offset, int length) {
        return image.substr(static_cast<size_t>(offset), static_cast<size_t>(length));
    };
    const int motor = misc::kMotorHallRecord.emmcOffset;
    const int motorLength = misc::kMotorHallRecord.length;
    const std::string saved(reinterpret_cast<const char*>(load::kSavedMotorValues), motorLength);
    if (!isOneOf(bytes(after, motor, motorLength), {bytes(before, motor, motorLength), saved})) {
        changes->push_back("motor record");
    }
    const std::string none = misc::counterField("");
    const int enable = misc::kFpgaEnableInfoOffset;
    const int size = misc::kCounterFieldSize;
    if (!isOneOf(bytes(after, enable, size), {none, misc::counterField("fpga_op_info_e")}) ||
        !isOneOf(bytes(after, enable + size, size),
                 {none, misc::counterField(load::kEnableSrText)}) ||
        !isOneOf(bytes(after, enable + 2 * size, size),
                 {none, misc::counterField(load::kEnableHrText)})) {
        changes->push_back("enable-info area");
    }
}

void checkFiles(const DeviceState& before, const DeviceState& after,
                std::vector<std::string>* changes) {
    std::map<std::string, std::string> expected = before.files;
    std::map<std::string, std::string> found = after.files;
    for (const char* node : kRestoredNodes) {
        expected.erase(node);
        found.erase(node);
    }
    expected[misc::kTriStateHallDataPath] = load::kSavedTriStateData;
    expected[kTriStateFlagPath] = "1";
    for (const auto& [path, content] : found) {
        auto it = expected.find(path);
        if (it == expected.end()) {
            changes->push_back(path + " created");
            continue;
        }
        if (it->second != content) changes->push_back(path + " changed");
        expected.erase(it);
    }
    for (const auto& [path, content] : expected) changes->push_back(path + " gone");
}

}  // namespace

DeviceState deviceState(const zenth_host::DeviceTree& device) {
    DeviceState state;
    state.partition = device.readPartition(0, misc::kReservePartitionSize);
    const fs::path root = device.root();
    for (auto it = fs::recursive_directory_iterator(root); it != fs::recursive_directory_iterator();
         ++it) {
        const std::string path = "/" + fs::relative(it->path(), root).string();
        // The emulation's own records ("/.ownership") are no part of the device.
        if (path == misc::kReservePartitionPath || path == misc::kFpgaLogDir ||
            path.rfind("/.", 0) == 0) {
            it.disable_recursion_pending();
            continue;
        }
        std::stringstream content;
        if (it->is_directory()) {
            content << "<dir>";
        } else {
            content << std::ifstream(it->path(), std::ios::binary).rdbuf();
        }
        state.files[path] = content.str();
    }
    return state;
}

std::vector<std::string> changesBeyondTheLoad(const DeviceState& before, const DeviceState& after) {
    std::vector<std::string> changes;
    checkPartition(before.partition, after.partition, &changes);
    checkFiles(before, after, &changes);
    return changes;
}

}  // namespace bench
