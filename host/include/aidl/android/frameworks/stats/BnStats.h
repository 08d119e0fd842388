/*
 * Server-side base class of IStats (stand-in of the generated header).
 */
#pragma once

#include <cstdint>
#include <string>

#include <aidl/android/frameworks/stats/IStats.h>
#include <android/binder_interface_utils.h>

namespace aidl {
namespace android {
namespace frameworks {
namespace stats {

class BnStats : public ::ndk::BnCInterface<IStats> {
  public:
    BnStats();
    virtual ~BnStats();

    ::ndk::ScopedAStatus getInterfaceVersion(int32_t* _aidl_return) final;
    ::ndk::ScopedAStatus getInterfaceHash(std::string* _aidl_return) final;

  protected:
    ::ndk::SpAIBinder createBinder() override;
};

}  // namespace stats
}  // namespace frameworks
}  // namespace android
}  // namespace aidl
