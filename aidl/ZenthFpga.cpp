#include "ZenthFpga.h"

#include <android/log.h>

namespace aidl::vendor::zenth::hardware::misc {

ZenthFpga::ZenthFpga() {
    __android_log_print(ANDROID_LOG_DEBUG, nullptr, "ZenthFpga::ZenthFpga\n");
}

ZenthFpga::~ZenthFpga() {
    __android_log_print(ANDROID_LOG_DEBUG, nullptr, "ZenthFpga::~ZenthFpga\n");
}

void ZenthFpga::startFpgaThread() {}

int fpgaWriteOpFunc() {
    return -1;
}

}  // namespace aidl::vendor::zenth::hardware::misc
