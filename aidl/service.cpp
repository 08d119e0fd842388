/*
 * Process entry of the misc hardware service: restores calibration, starts the
 * background work of the FPGA and the expander GPIO chip, runs the fan probe,
 * registers IZenthMisc and lends the main thread to the binder thread pool.
 */

#define LOG_TAG "vendor.zenth.hardware.ZenthMisc-V1-service"

#include <string>

#include <android-base/logging.h>
#include <android/binder_manager.h>
#include <android/binder_process.h>
#include <android/log.h>

#include "ZenthExgpio.h"
#include "ZenthFan.h"
#include "ZenthFpga.h"
#include "ZenthMisc.h"

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
    binder_status_t status;
    {
        ndk::SpAIBinder binder = misc->asBinder();
        status = AServiceManager_addService(binder.get(), instance.c_str());
    }

    // A refused registration is fatal: no client could ever reach the service.
    CHECK(status == STATUS_OK);

    ABinderProcess_joinThreadPool();
    return 1;  // the thread pool never returns in normal operation
}
