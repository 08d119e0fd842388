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

#define LOG_TAG "vendor.zenth.hardware.ZenthMisc-V1-service"

#include <string>

#include <android-base/logging.h>
#include <android/binder_manager.h>
#include <android/binder_process.h>
#include <android/log.h>

#include "zenthmisc-impl/ZenthExgpio.h"
#include "zenthmisc-impl/ZenthFan.h"
#include "zenthmisc-impl/ZenthFpga.h"
#include "zenthmisc-impl/ZenthMisc.h"

using aidl::vendor::zenth::hardware::misc::IZenthMisc;
using aidl::vendor::zenth::hardware::misc::ZenthExgpio;
using aidl::vendor::zenth::hardware::misc::ZenthFan;
using aidl::vendor::zenth::hardware::misc::ZenthFpga;
using aidl::vendor::zenth::hardware::misc::ZenthMisc;

int main() {
    __android_log_print(ANDROID_LOG_ERROR, LOG_TAG, "service zenth misc aidl started!");
    // Calls are served by the main thread alone, so interface calls never overlap.
    ABinderProcess_setThreadPoolMaxThreadCount(0);
    std::shared_ptr<ZenthMisc> misc = ndk::SharedRefBase::make<ZenthMisc>();
    ZenthFpga fpga;
    ZenthExgpio exgpio;
    fpga.startFpgaThread();
    fpga.fpgaReportStats();
    exgpio.exgpioReportStats();
    ZenthFan fan;
    std::string instance = std::string() + IZenthMisc::descriptor + "/default";
    binder_status_t status = AServiceManager_addService(misc->asBinder().get(), instance.c_str());
    // A refused registration is fatal: no client could ever reach the service.
    CHECK(status == STATUS_OK);

    ABinderProcess_joinThreadPool();
    return 1;  // the thread pool never returns in normal operation
}
