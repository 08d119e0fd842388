#include <unistd.h>

#include <android/log.h>

#include "MiscNodeTable.h"
#include "ZenthMisc.h"

namespace aidl::vendor::zenth::hardware::misc {

ndk::ScopedAStatus ZenthMisc::isMiscNodeSupport(int32_t in_deviceId, int32_t in_nodeFlag,
                                                int32_t* _aidl_return) {
    __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag,
                        "isMiscNodeSupport in_deviceId = %d,in_nodeFlag = %d", in_deviceId,
                        in_nodeFlag);
    MiscNodeEntry node;
    int resolved = resolveMiscNode(in_deviceId, in_nodeFlag, &node);
    if (resolved != 0) {
        *_aidl_return = resolved;
    } else {
        // Existence only: a node the service may not open still counts as supported.
        *_aidl_return = access(node.path, F_OK) == 0 ? 1 : -1;
    }
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus ZenthMisc::miscReadNodeFile(int32_t /*in_deviceId*/, int32_t /*in_nodeFlag*/,
                                               std::string* _aidl_return) {
    _aidl_return->clear();
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus ZenthMisc::miscWriteNodeFile(int32_t /*in_deviceId*/, int32_t /*in_nodeFlag*/,
                                                const std::string& /*in_data*/,
                                                int32_t* _aidl_return) {
    *_aidl_return = -1;
    return ndk::ScopedAStatus::ok();
}

}  // namespace aidl::vendor::zenth::hardware::misc
