// Interface library of vendor.zenth.hardware.misc, version 1.

#include <aidl/vendor/zenth/hardware/misc/BnZenthMisc.h>
#include <aidl/vendor/zenth/hardware/misc/IZenthMisc.h>
#include <aidl/vendor/zenth/hardware/misc/ZenthMiscStatus.h>

#include "LocalInterface.h"

namespace aidl::vendor::zenth::hardware::misc {

namespace {

const AIBinder_Class* zenthMiscClass() {
    static const AIBinder_Class* clazz =
            ::ndk::ICInterface::defineClass(IZenthMisc::descriptor, zenth_host::noTransactions);
    return clazz;
}

}  // namespace

const char* ZenthMiscStatus::descriptor = "vendor.zenth.hardware.misc.ZenthMiscStatus";
const char* IZenthMisc::descriptor = "vendor.zenth.hardware.misc.IZenthMisc";

IZenthMisc::IZenthMisc() {}
IZenthMisc::~IZenthMisc() {}

std::shared_ptr<IZenthMisc> IZenthMisc::fromBinder(const ::ndk::SpAIBinder& binder) {
    return zenth_host::localInterface<IZenthMisc>(binder, zenthMiscClass());
}

BnZenthMisc::BnZenthMisc() {}
BnZenthMisc::~BnZenthMisc() {}

::ndk::ScopedAStatus BnZenthMisc::getInterfaceVersion(int32_t* _aidl_return) {
    *_aidl_return = IZenthMisc::version;
    return ::ndk::ScopedAStatus::ok();
}

::ndk::ScopedAStatus BnZenthMisc::getInterfaceHash(std::string* _aidl_return) {
    *_aidl_return = IZenthMisc::hash;
    return ::ndk::ScopedAStatus::ok();
}

::ndk::SpAIBinder BnZenthMisc::createBinder() {
    return zenth_host::newLocalBinder(zenthMiscClass(), this);
}

}  // namespace aidl::vendor::zenth::hardware::misc
