// The statistics interface types and the host's recording statistics service.

#include <android/binder_manager.h>
#include <gtest/gtest.h>

#include <thread>

#include <aidl/android/frameworks/stats/IStats.h>
#include <zenth_host/FakeStats.h>
#include <zenth_host/binder_host.h>

namespace {

using aidl::android::frameworks::stats::IStats;
using aidl::android::frameworks::stats::VendorAtom;
using aidl::android::frameworks::stats::VendorAtomValue;
using zenth_host::FakeStats;
using namespace std::chrono_literals;

VendorAtom sampleAtom(int32_t atomId) {
    VendorAtom atom;
    atom.reverseDomainName = "com.zenth.test";
    atom.atomId = atomId;
    atom.values.push_back(VendorAtomValue::make<VendorAtomValue::stringValue>("lead"));
    atom.values.push_back(VendorAtomValue::make<VendorAtomValue::intValue>(-3));
    return atom;
}

TEST(PlatformVendorAtomValueTest, EachAlternativeKeepsItsTag) {
    using Tag = VendorAtomValue::Tag;
    VendorAtomValue defaulted;
    EXPECT_EQ(defaulted.getTag(), Tag::intValue);
    EXPECT_EQ(defaulted.get<Tag::intValue>(), 0);

    auto i = VendorAtomValue::make<Tag::intValue>(12);
    auto l = VendorAtomValue::make<Tag::longValue>(int64_t{1} << 40);
    auto f = VendorAtomValue::make<Tag::floatValue>(1.5f);
    auto s = VendorAtomValue::make<Tag::stringValue>("up");
    EXPECT_EQ(i.getTag(), Tag::intValue);
    EXPECT_EQ(l.getTag(), Tag::longValue);
    EXPECT_EQ(f.getTag(), Tag::floatValue);
    EXPECT_EQ(s.getTag(), Tag::stringValue);
    EXPECT_EQ(i.get<Tag::intValue>(), 12);
    EXPECT_EQ(l.get<Tag::longValue>(), int64_t{1} << 40);
    EXPECT_EQ(f.get<Tag::floatValue>(), 1.5f);
    EXPECT_EQ(s.get<Tag::stringValue>(), "up");

    s.set<Tag::intValue>(4);
    EXPECT_EQ(s, VendorAtomValue::make<Tag::intValue>(4));
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH((void)i.get<Tag::stringValue>(), "wrong tag");
}

class PlatformFakeStatsTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(AServiceManager_addService(mStats->asBinder().get(),
                                             FakeStats::instanceName().c_str()),
                  EX_NONE);
    }
    void TearDown() override { zenth_host::resetServiceManager(); }

    // The service as a client finds it.
    std::shared_ptr<IStats> lookUp() {
        ndk::SpAIBinder binder(AServiceManager_checkService(FakeStats::instanceName().c_str()));
        return IStats::fromBinder(binder);
    }

    std::shared_ptr<FakeStats> mStats = ndk::SharedRefBase::make<FakeStats>();
};

TEST_F(PlatformFakeStatsTest, RecordsAtomsFromAnyThread) {
    std::shared_ptr<IStats> stats = lookUp();
    ASSERT_NE(stats, nullptr);
    std::thread reporter([stats] { EXPECT_TRUE(stats->reportVendorAtom(sampleAtom(1)).isOk()); });
    EXPECT_TRUE(stats->reportVendorAtom(sampleAtom(2)).isOk());
    EXPECT_TRUE(mStats->waitForAtoms(2, 5s));
    reporter.join();
    EXPECT_FALSE(mStats->waitForAtoms(3, 10ms));

    auto atoms = mStats->atoms();
    ASSERT_EQ(atoms.size(), 2u);
    EXPECT_EQ(atoms[0].atomId + atoms[1].atomId, 3);
    EXPECT_EQ(atoms[0].values, sampleAtom(1).values);
}

TEST_F(PlatformFakeStatsTest, FailingServiceStillRecords) {
    mStats->setFailing(true);
    ndk::ScopedAStatus status = lookUp()->reportVendorAtom(sampleAtom(100196));
    EXPECT_FALSE(status.isOk());
    EXPECT_EQ(status.getServiceSpecificError(), FakeStats::kFailureError);
    EXPECT_EQ(mStats->atoms().size(), 1u);
}

TEST_F(PlatformFakeStatsTest, PrintsOneLinePerAtom) {
    mStats->setPrinting(true);
    testing::internal::CaptureStdout();
    (void)lookUp()->reportVendorAtom(sampleAtom(100272));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "VendorAtom{reverseDomainName: com.zenth.test, atomId: 100272, values: "
              "[VendorAtomValue{stringValue: lead}, VendorAtomValue{intValue: -3}]}\n");
}

}  // namespace
