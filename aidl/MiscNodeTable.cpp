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

#include "MiscNodeTable.h"

#include <stdio.h>

#include <android/log.h>

#include "MiscLogTag.h"

namespace aidl::vendor::zenth::hardware::misc {

// Rows are searched in this order; the first row carrying a flag wins.
const MiscNodeEntry gMiscNodeTable[kMiscNodeCount] = {
        {40, "/proc/colorctrl/color_ctrl", 256},
        {41, "/proc/colorctrl/temperature", 256},
        {42, "/proc/colorctrl/voltage", 256},
        {43, "/proc/colorctrl/cover_color", 256},
        {44, "/proc/colorctrl/ave_aging_vol", 256},
        {80, "/proc/devinfo/audio_mainboard", 256},
        {81, "/proc/devinfo/distribution", 256},
        {82, "/proc/devinfo", 256},
        {83, "/proc/devinfo/lcd", 256},
        {84, "/proc/devinfo/mainboard", 256},
        {85, "/proc/devinfo/tp", 256},
        {86, "/proc/devinfo/zenth_board_type", 256},
        {120, "/proc/tristatekey/hall_data", 256},
        {121, "/proc/tristatekey/hall_data_calib", 256},
        {122, "/proc/tristatekey/tri_state", 256},
        {123, "/mnt/vendor/persist/engineermode/tri_state_hall_calib_flag", 256},
        {129, "/proc/tristatekey/tri_hall", 256},
        {130, "/proc/tristatekey/dump_register", 4096},
        {131, "/proc/tristatekey/hall_debug_info", 256},
        {133, "/proc/tristatekey/communicate_test", 256},
        {150, "/sys/class/qcom-haptics/lra_frequency_hz", 256},
        {151, "/sys/class/qcom-haptics/check_trig_status", 256},
        {152, "/sys/class/leds/vibrator/check_trig_status", 256},
        {180, "/sys/class/leds/red/support", 256},
        {185, "/sys/class/leds/red/brightness", 256},
        {186, "/sys/class/leds/red/trigger", 256},
        {187, "/sys/class/leds/red/br", 256},
        {188, "/sys/class/leds/red/color", 256},
        {189, "/sys/class/leds/red/led_num", 256},
        {190, "/sys/class/leds/red/l_type", 256},
        {191, "/sys/class/leds/red/effectdata", 256},
        {205, "/sys/class/leds/green/brightness", 256},
        {206, "/sys/class/leds/green/trigger", 256},
        {207, "/sys/class/leds/green/br", 256},
        {208, "/sys/class/leds/green/color", 256},
        {209, "/sys/class/leds/green/led_num", 256},
        {225, "/sys/class/leds/blue/brightness", 256},
        {226, "/sys/class/leds/blue/trigger", 256},
        {227, "/sys/class/leds/blue/br", 256},
        {228, "/sys/class/leds/blue/color", 256},
        {229, "/sys/class/leds/blue/led_num", 256},
        {245, "/sys/class/leds/white/brightness", 256},
        {246, "/sys/class/leds/white/trigger", 256},
        {247, "/sys/class/leds/white/detect", 256},
        {248, "/sys/class/leds/white/support", 256},
        {260, "/sys/class/leds/aw22xxx_led/rgb", 256},
        {261, "/sys/class/leds/aw22xxx_led/effect", 256},
        {262, "/sys/class/leds/aw22xxx_led/cfg", 256},
        {263, "/sys/class/leds/aw22xxx_led/group_rgb", 256},
        {264, "/sys/class/leds/aw22xxx_led/group_effect", 256},
        {265, "/sys/class/leds/aw22xxx_led/group_cfg", 256},
        {266, "/sys/class/leds/aw22xxx_led/abnormal_reset_count", 256},
        {267, "/sys/class/leds/aw22xxx_led/funcpme_irq_count", 256},
        {268, "/sys/class/leds/aw22xxx_led/wtd_irq_count", 256},
        {269, "/sys/class/leds/aw22xxx_led/check_period", 256},
        {240, "/proc/zenth_misc/misc_feedback", 256},
        {124, "/proc/cs_press/left_press_gear", 256},
        {125, "/proc/cs_press/right_press_gear", 256},
        {126, "/proc/cs_press/press_game_switch", 256},
        {127, "/proc/cs_press/MechanicalKeyParams", 256},
        {128, "/proc/cs_press/press_charge_state", 256},
        {140, "/proc/cs_press/camera_key_mode", 256},
        {141, "/proc/cs_press/camera_key_config", 256},
        {142, "/proc/cs_press/fw_update_file", 256},
        {143, "/proc/cs_press/fw_info", 256},
        {144, "/proc/cs_press/gpio_control", 256},
        {145, "/proc/cs_press/local_fw_info", 256},
        {146, "/proc/cs_press/health_info", 20480},
        {147, "/proc/cs_press/quick_on_close", 256},
        {148, "/proc/cs_press/game_key_mode", 256},
        {280, "/proc/fpga/status", 256},
        {281, "/proc/fpga/info", 4096},
        {282, "/proc/fpga/debug_level", 256},
        {283, "/proc/fpga/health_info", 4096},
        {287, "/proc/fpga/dump_info", 4096},
        {284, "/proc/fpga/hw_control", 256},
        {285, "/proc/fpga/work_state", 256},
        {286, "/proc/fpga/update_flag", 256},
        {FPGA_OP_INFO_NODE, "/dev/block/by-name/zenthreserve1", kFpgaOpInfoViewLength},
        {FPGA_OP_INFO_EN_NODE, "/dev/block/by-name/zenthreserve1", kFpgaOpInfoEnViewLength},
        {290, "/proc/fpga/heartbeat_switch", 256},
        {291, "/proc/fpga/monitor_time", 256},
        {360, "/proc/magnetic_cover/magcvr_data_handle", 256},
        {361, "/proc/magnetic_cover/magcvr_farmax_th", 256},
        {362, "/proc/magnetic_cover/magcvr_healthinfo", 256},
        {363, "/proc/magnetic_cover/magcvr_cali_support", 256},
        {364, "/proc/magnetic_cover_pen/magcvr_data_handle", 256},
        {320, "/proc/pogopin/kbd_battery_power_level", 256},
        {321, "/proc/pogopin/kbd_battery_charge_current", 256},
        {132, "/proc/pogopin/health_monitor", 256},
        {323, "/proc/pogopin/kbd_debug", 256},
        {400, "/sys/class/leds/fan/speed", 256},
        {401, "/sys/class/leds/fan/state", 256},
        {402, "/sys/class/leds/fan/rpm", 256},
        {403, "/sys/class/leds/fan/level", 256},
        {404, "/sys/class/leds/fan/device_id", 256},
        {405, "/sys/class/leds/fan/check_period", 256},
        {440, "/sys/class/ex_gpio/chipid", 256},
        {441, "/sys/class/ex_gpio/reg", 256},
        {442, "/sys/class/ex_gpio/get_gpio_status", 256},
        {443, "/sys/class/ex_gpio/monitor_info", 256},
        {444, "/sys/class/ex_gpio/r_reg", 256},
};

int resolveMiscNode(int32_t deviceId, int32_t nodeFlag, MiscNodeEntry* node) {
    *node = MiscNodeEntry{};
    const MiscNodeEntry* row = nullptr;
    for (const MiscNodeEntry& entry : gMiscNodeTable) {
        if (entry.nodeFlag == nodeFlag) {
            row = &entry;
            break;
        }
    }
    if (row == nullptr) {
        __android_log_print(ANDROID_LOG_ERROR, kMiscLogTag, "nodeFlag is not support");
        return -1;
    }
    if (deviceId == 0) {
        *node = *row;
        return 0;
    }
    // An instance node is the table path with the device id appended.
    int formatted = snprintf(node->path, sizeof(node->path), "%s%d", row->path, deviceId);
    node->maxLen = row->maxLen;
    if (formatted < 0) {
        return formatted;
    }
    return 0;
}

}  // namespace aidl::vendor::zenth::hardware::misc
