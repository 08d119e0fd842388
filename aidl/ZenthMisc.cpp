#include "ZenthMisc.h"

#include <android/log.h>

namespace aidl::vendor::zenth::hardware::misc {

bool gIsReserveIntegrate = false;
bool gIsEmmcStorage = true;

ZenthMisc::ZenthMisc() {}

ndk::ScopedAStatus ZenthMisc::initialize(ZenthMiscStatus* /*_aidl_return*/) {
    __android_log_print(ANDROID_LOG_ERROR, kMiscLogTag, "zenth misc initialize enter");
    return ndk::ScopedAStatus::ok();
}

}  // namespace aidl::vendor::zenth::hardware::misc
