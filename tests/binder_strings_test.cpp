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

// A client calls the daemon through a proxy, as on a phone. Text they send each other crosses
// a parcel as UTF-16, converted as a phone converts it: bytes that are no UTF-8 arrive changed,
// and only a sequence cut off by the end of the text fails the call. The proxy asks for the
// interface's version and hash once and keeps the answers.

#include <android/binder_manager.h>
#include <android/binder_process.h>

#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <zenth_host/binder_host.h>

#include "support/DeviceTest.h"
#include "zenthmisc-impl/ZenthMisc.h"

namespace {

using ::aidl::vendor::zenth::hardware::misc::IZenthMisc;
using ::aidl::vendor::zenth::hardware::misc::ZenthMisc;

constexpr int32_t kRedBrightness = 185;
constexpr const char* kNode = "/sys/class/leds/red/brightness";

struct TextCase {
    const char* name;
    std::string sent;
    std::string arrives;  // a failed call delivers nothing
    bool fails;
};

// clang-format off
const TextCase kTextCases[] = {
        {"Ascii",             "255",                           "255",                     false},
        {"Utf8",              "\xc3\xa9\xf0\x9f\x98\x80",      "\xc3\xa9\xf0\x9f\x98\x80", false},
        {"StrayContinuation", "\x80",                          "\xc2\x80",                false},
        {"OverlongForm",      "a\xc1\xbf",                     "a\x7f",                   false},
        {"LoneSurrogate",     "a\xed\xa0\x80z",                "az",                      false},
        {"BinaryNode",        "\x02\x10\xff\x80\x40\x01",      "\x02\x10",                false},
        {"ErasedFlash",       std::string(16, '\xff'),         "",                        false},
        {"CutOffAtTheEnd",    "ab\xc3",                        "",                        true},
        {"FifteenErased",     std::string(15, '\xff'),         "",                        true},
};
// clang-format on

class BinderStringsTest : public DeviceTest, public ::testing::WithParamInterface<TextCase> {
  protected:
    void SetUp() override {
        DeviceTest::SetUp();
        writeFile(kNode, "");
        service_ = ndk::SharedRefBase::make<ZenthMisc>();
        ASSERT_EQ(AServiceManager_addService(service_->asBinder().get(), instance().c_str()),
                  EX_NONE);
        server_ = std::thread(ABinderProcess_joinThreadPool);
    }
    void TearDown() override {
        zenth_host::releaseThreadPool();
        server_.join();
        zenth_host::resetServiceManager();
        service_.reset();
        DeviceTest::TearDown();
    }

    static std::string instance() { return std::string(IZenthMisc::descriptor) + "/default"; }

    // Runs the call from a client process of its own, through a proxy of the service.
    template <typename Call>
    ndk::ScopedAStatus fromClient(const Call& call) {
        zenth_host::OutsideProcess client;
        auto proxy = IZenthMisc::fromBinder(
                ndk::SpAIBinder(AServiceManager_checkService(instance().c_str())));
        return call(*proxy);
    }

    void expectArrived(const ndk::ScopedAStatus& status, const std::string& arrived) {
        const TextCase& c = GetParam();
        EXPECT_EQ(status.getExceptionCode(), c.fails ? EX_TRANSACTION_FAILED : EX_NONE);
        EXPECT_EQ(status.getStatus(), c.fails ? STATUS_BAD_VALUE : STATUS_OK);
        EXPECT_EQ(arrived, c.arrives);
    }

    std::shared_ptr<ZenthMisc> service_;
    std::thread server_;
};

TEST_P(BinderStringsTest, ClientToDaemon) {
    int32_t written = 0;
    ndk::ScopedAStatus status = fromClient([&](IZenthMisc& misc) {
        return misc.miscWriteNodeFile(0, kRedBrightness, GetParam().sent, &written);
    });
    expectArrived(status, readFile(kNode));
}

TEST_P(BinderStringsTest, DaemonToClient) {
    writeFile(kNode, GetParam().sent);
    std::string read;
    ndk::ScopedAStatus status = fromClient(
            [&](IZenthMisc& misc) { return misc.miscReadNodeFile(0, kRedBrightness, &read); });
    expectArrived(status, read);
}

TEST_F(BinderStringsTest, TheProxyAsksForVersionAndHashOnce) {
    int32_t version = 0;
    std::string hash;
    size_t sent = 0;
    ndk::ScopedAStatus status = fromClient([&](IZenthMisc& misc) {
        const size_t before = zenth_host::transactionsSent();
        for (int call = 0; call < 2; ++call) {
            EXPECT_TRUE(misc.getInterfaceVersion(&version).isOk());
            EXPECT_TRUE(misc.getInterfaceHash(&hash).isOk());
        }
        sent = zenth_host::transactionsSent() - before;
        return ndk::ScopedAStatus::ok();
    });
    EXPECT_EQ(sent, 2u);
    EXPECT_EQ(version, IZenthMisc::version);
    EXPECT_EQ(hash, IZenthMisc::hash);
}

INSTANTIATE_TEST_SUITE_P(Texts, BinderStringsTest, ::testing::ValuesIn(kTextCases),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
