#include "ZenthExgpio.h"

#include <android/log.h>

namespace aidl::vendor::zenth::hardware::misc {

ZenthExgpio::ZenthExgpio() {
    __android_log_print(ANDROID_LOG_DEBUG, nullptr, "ZenthExgpio::ZenthExgpio\n");
}

ZenthExgpio::~ZenthExgpio() {
    __android_log_print(ANDROID_LOG_DEBUG, nullptr, "ZenthExgpio::~ZenthExgpio\n");
}

void ZenthExgpio::exgpioReportStats() {}

}  // namespace aidl::vendor::zenth::hardware::misc
