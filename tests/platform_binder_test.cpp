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

// The in-process binder platform: binder identity and lifetime, service manager, status objects.

#include <android/binder_manager.h>
#include <android/binder_process.h>
#include <gtest/gtest.h>

#include <thread>

#include <aidl/android/frameworks/stats/IStats.h>
#include <aidl/vendor/zenth/hardware/misc/BnZenthMisc.h>
#include <zenth_host/FakeStats.h>
#include <zenth_host/binder_host.h>

namespace {

using aidl::android::frameworks::stats::IStats;
using aidl::vendor::zenth::hardware::misc::BnZenthMisc;
using aidl::vendor::zenth::hardware::misc::IZenthMisc;
using aidl::vendor::zenth::hardware::misc::ZenthMiscStatus;
using zenth_host::FakeStats;

constexpr const char* kMiscInstance = "vendor.zenth.hardware.misc.IZenthMisc/default";

// Counts its own destruction so that tests can see when the last reference went.
class Misc : public BnZenthMisc {
  public:
    explicit Misc(int* destroyed) : mDestroyed(destroyed) {}
    ~Misc() override { ++*mDestroyed; }

    ndk::ScopedAStatus initialize(ZenthMiscStatus*) override { return ok(); }
    ndk::ScopedAStatus isMiscNodeSupport(int32_t, int32_t, int32_t*) override { return ok(); }
    ndk::ScopedAStatus miscReadNodeFile(int32_t, int32_t, std::string*) override { return ok(); }
    ndk::ScopedAStatus miscWriteNodeFile(int32_t, int32_t, const std::string&, int32_t*) override {
        return ok();
    }
    ndk::ScopedAStatus saveCalibrationData(int32_t, const std::vector<uint8_t>&, int32_t,
                                           bool*) override {
        return ok();
    }

  private:
    static ndk::ScopedAStatus ok() { return ndk::ScopedAStatus::ok(); }
    int* mDestroyed;
};

class PlatformBinderTest : public ::testing::Test {
  protected:
    void TearDown() override { zenth_host::resetServiceManager(); }
    int mDestroyed = 0;
};

TEST_F(PlatformBinderTest, AsBinderKeepsOneBinderUntilItDies) {
    auto misc = ndk::SharedRefBase::make<Misc>(&mDestroyed);
    {
        ndk::SpAIBinder a = misc->asBinder();
        ndk::SpAIBinder b = misc->asBinder();
        EXPECT_EQ(a.get(), b.get());
        EXPECT_EQ(AIBinder_debugGetRefCount(a.get()), 2);
        // The binder keeps its object alive on its own.
        std::weak_ptr<Misc> weak = misc;
        misc.reset();
        EXPECT_FALSE(weak.expired());
        misc = weak.lock();
    }
    // The binder died with its last reference; the next one is new and works the same.
    ndk::SpAIBinder again = misc->asBinder();
    EXPECT_EQ(AIBinder_debugGetRefCount(again.get()), 1);
    EXPECT_EQ(IZenthMisc::fromBinder(again), misc);
    again = nullptr;
    misc.reset();
    EXPECT_EQ(mDestroyed, 1);
}

TEST_F(PlatformBinderTest, WeakReferenceOutlivesItsBinder) {
    auto misc = ndk::SharedRefBase::make<Misc>(&mDestroyed);
    AIBinder* binder = misc->asBinder().release();
    AIBinder_Weak* weak = AIBinder_Weak_new(binder);
    AIBinder* promoted = AIBinder_Weak_promote(weak);
    EXPECT_EQ(promoted, binder);
    AIBinder_decStrong(promoted);
    AIBinder_decStrong(binder);
    misc.reset();
    EXPECT_EQ(mDestroyed, 1);
    EXPECT_EQ(AIBinder_Weak_promote(weak), nullptr);
    AIBinder_Weak_delete(weak);
}

TEST_F(PlatformBinderTest, AsBinderFromSeveralThreadsWhileBindersDie) {
    auto misc = ndk::SharedRefBase::make<Misc>(&mDestroyed);
    auto useBinders = [&misc] {
        for (int i = 0; i < 2000; ++i) {
            ndk::SpAIBinder binder = misc->asBinder();
            ASSERT_EQ(IZenthMisc::fromBinder(binder), misc);
        }
    };
    std::thread other(useBinders);
    useBinders();
    other.join();
}

TEST_F(PlatformBinderTest, FromBinderAnswersOnlyForItsOwnInterface) {
    auto misc = ndk::SharedRefBase::make<Misc>(&mDestroyed);
    auto stats = ndk::SharedRefBase::make<FakeStats>();
    EXPECT_EQ(IZenthMisc::fromBinder(misc->asBinder()), misc);
    EXPECT_EQ(IStats::fromBinder(stats->asBinder()), stats);
    EXPECT_EQ(IStats::fromBinder(misc->asBinder()), nullptr);
    EXPECT_EQ(IStats::fromBinder(ndk::SpAIBinder()), nullptr);
}

TEST_F(PlatformBinderTest, CheckServiceHandsOutOneReferenceOrNothing) {
    EXPECT_EQ(AServiceManager_checkService(kMiscInstance), nullptr);

    auto misc = ndk::SharedRefBase::make<Misc>(&mDestroyed);
    ndk::SpAIBinder binder = misc->asBinder();
    ASSERT_EQ(AServiceManager_addService(binder.get(), kMiscInstance), EX_NONE);
    EXPECT_EQ(AIBinder_debugGetRefCount(binder.get()), 2);

    AIBinder* found = AServiceManager_checkService(kMiscInstance);
    EXPECT_EQ(found, binder.get());
    EXPECT_EQ(AIBinder_debugGetRefCount(binder.get()), 3);
    AIBinder_decStrong(found);

    // Once the service manager lets go, the service dies with the last outside reference.
    binder = nullptr;
    misc.reset();
    EXPECT_EQ(mDestroyed, 0);
    zenth_host::resetServiceManager();
    EXPECT_EQ(mDestroyed, 1);
    EXPECT_EQ(AServiceManager_checkService(kMiscInstance), nullptr);
}

TEST_F(PlatformBinderTest, DeclarationIsIndependentOfRegistration) {
    auto misc = ndk::SharedRefBase::make<Misc>(&mDestroyed);
    ASSERT_EQ(AServiceManager_addService(misc->asBinder().get(), kMiscInstance), EX_NONE);
    EXPECT_FALSE(AServiceManager_isDeclared(kMiscInstance));

    zenth_host::declareInstance(FakeStats::instanceName());
    EXPECT_TRUE(AServiceManager_isDeclared("android.frameworks.stats.IStats/default"));
    EXPECT_EQ(AServiceManager_checkService("android.frameworks.stats.IStats/default"), nullptr);

    zenth_host::undeclareInstance(FakeStats::instanceName());
    EXPECT_FALSE(AServiceManager_isDeclared("android.frameworks.stats.IStats/default"));
}

TEST_F(PlatformBinderTest, RefusedRegistrationKeepsNothing) {
    auto misc = ndk::SharedRefBase::make<Misc>(&mDestroyed);
    ndk::SpAIBinder binder = misc->asBinder();
    zenth_host::setRegistrationRefused(true);
    EXPECT_NE(AServiceManager_addService(binder.get(), kMiscInstance), EX_NONE);
    EXPECT_EQ(AIBinder_debugGetRefCount(binder.get()), 1);
    EXPECT_EQ(AServiceManager_checkService(kMiscInstance), nullptr);

    zenth_host::setRegistrationRefused(false);
    EXPECT_EQ(AServiceManager_addService(binder.get(), kMiscInstance), EX_NONE);
    EXPECT_NE(AServiceManager_addService(nullptr, kMiscInstance), EX_NONE);
}

TEST_F(PlatformBinderTest, StatusObjectsCarryTheirError) {
    EXPECT_TRUE(ndk::ScopedAStatus::ok().isOk());
    EXPECT_FALSE(ndk::ScopedAStatus().isOk());

    ndk::ScopedAStatus specific = ndk::ScopedAStatus::fromServiceSpecificError(7);
    EXPECT_FALSE(specific.isOk());
    EXPECT_EQ(specific.getExceptionCode(), EX_SERVICE_SPECIFIC);
    EXPECT_EQ(specific.getServiceSpecificError(), 7);

    ndk::ScopedAStatus transport = ndk::ScopedAStatus::fromStatus(STATUS_DEAD_OBJECT);
    EXPECT_FALSE(transport.isOk());
    EXPECT_EQ(transport.getStatus(), STATUS_DEAD_OBJECT);
    EXPECT_TRUE(ndk::ScopedAStatus::fromStatus(STATUS_OK).isOk());
}

}  // namespace
