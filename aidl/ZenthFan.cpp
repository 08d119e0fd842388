#include "ZenthFan.h"

#include <android/log.h>

#include "ZenthMisc.h"

namespace aidl::vendor::zenth::hardware::misc {

ZenthFan::ZenthFan() {}

ZenthFan::~ZenthFan() {
    __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "ZenthFan::~ZenthFan\n");
}

}  // namespace aidl::vendor::zenth::hardware::misc
