/*
 * Server-side base class of IZenthMisc (stand-in of the generated header).
 */
#pragma once

#include <cstdint>
#include <string>

#include <aidl/vendor/zenth/hardware/misc/IZenthMisc.h>
#include <android/binder_interface_utils.h>

namespace aidl {
namespace vendor {
namespace zenth {
namespace hardware {
namespace misc {

class BnZenthMisc : public ::ndk::BnCInterface<IZenthMisc> {
  public:
    BnZenthMisc();
    virtual ~BnZenthMisc();

    ::ndk::ScopedAStatus getInterfaceVersion(int32_t* _aidl_return) final;
    ::ndk::ScopedAStatus getInterfaceHash(std::string* _aidl_return) final;

  protected:
    ::ndk::SpAIBinder createBinder() override;
};

}  // namespace misc
}  // namespace hardware
}  // namespace zenth
}  // namespace vendor
}  // namespace aidl
