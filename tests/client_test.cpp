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

// Clients call the daemon through proxies from processes of their own, as on a phone. Text
// they send each other crosses a parcel as UTF-16, converted as a phone converts it: bytes that
// are no UTF-8 arrive changed, and only a sequence cut off by the end of the text fails the
// call. The proxy asks for the interface's version and hash once and keeps the answers. Under
// load, while the FPGA driver raises faults and the reporters run their passes, each call gets
// the result it gets alone, every count reaches the partition, and nothing there changes beyond
// what the valid calls, the recording and the reporters write.

#include <android/binder_manager.h>
#include <android/binder_process.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <zenth_host/DaemonThreads.h>
#include <zenth_host/EmulatedDevice.h>
#include <zenth_host/binder_host.h>

#include "ReservePartition.h"
#include "support/ReporterTest.h"
#include "zenthmisc-impl/ZenthExgpio.h"
#include "zenthmisc-impl/ZenthFpga.h"
#include "zenthmisc-impl/ZenthMisc.h"

namespace {

namespace misc = aidl::vendor::zenth::hardware::misc;
using misc::IZenthMisc;

const std::string kInstance = std::string(IZenthMisc::descriptor) + "/default";
constexpr int32_t kRedBrightness = 185;
constexpr const char* kRedBrightnessNode = "/sys/class/leds/red/brightness";

// The daemon's service, registered and served by a thread pool of the test's own process.
class ServedTest : public ReporterTest {
  protected:
    // Called once the device is as the service object's start must find it.
    void serve() {
        service_ = ndk::SharedRefBase::make<misc::ZenthMisc>();
        ASSERT_EQ(AServiceManager_addService(service_->asBinder().get(), kInstance.c_str()),
                  EX_NONE);
        server_ = std::thread(ABinderProcess_joinThreadPool);
    }
    void TearDown() override {
        if (server_.joinable()) {
            zenth_host::releaseThreadPool();
            server_.join();
        }
        service_.reset();
        ReporterTest::TearDown();
    }

    std::shared_ptr<misc::ZenthMisc> service_;
    std::thread server_;
};

// ---- Text across the parcel ----

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

class BinderStringsTest : public ServedTest, public ::testing::WithParamInterface<TextCase> {
  protected:
    void SetUp() override {
        ServedTest::SetUp();
        writeFile(kRedBrightnessNode, "");
        serve();
    }

    // Runs the call from a client process of its own, through a proxy of the service.
    template <typename Call>
    ndk::ScopedAStatus fromClient(const Call& call) {
        zenth_host::OutsideProcess client;
        auto proxy = IZenthMisc::fromBinder(
                ndk::SpAIBinder(AServiceManager_checkService(kInstance.c_str())));
        return call(*proxy);
    }

    void expectArrived(const ndk::ScopedAStatus& status, const std::string& arrived) {
        const TextCase& c = GetParam();
        EXPECT_EQ(status.getExceptionCode(), c.fails ? EX_TRANSACTION_FAILED : EX_NONE);
        EXPECT_EQ(status.getStatus(), c.fails ? STATUS_BAD_VALUE : STATUS_OK);
        EXPECT_EQ(arrived, c.arrives);
    }
};

TEST_P(BinderStringsTest, ClientToDaemon) {
    int32_t written = 0;
    ndk::ScopedAStatus status = fromClient([&](IZenthMisc& misc) {
        return misc.miscWriteNodeFile(0, kRedBrightness, GetParam().sent, &written);
    });
    expectArrived(status, readFile(kRedBrightnessNode));
}

TEST_P(BinderStringsTest, DaemonToClient) {
    writeFile(kRedBrightnessNode, GetParam().sent);
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

INSTANTIATE_TEST_SUITE_P(Texts, BinderStringsTest, ::testing::ValuesIn(kTextCases), caseName);

// ---- Under load ----

// Makes one call; true when its status and result are those it gets alone.
using Call = std::function<bool(IZenthMisc&)>;

constexpr int kClients = 2;
constexpr int kFaultRounds = 50;
// Each round raises one i2c, sr and hr count and a fault code.
constexpr uint64_t kFaultValues[] = {1, 2, 3, 0xAA80000000001234};
const std::string kFaultCode("ec:\0\0\0\0\0\x12\x34", 10);
constexpr int kCountFields = misc::kFpgaFaultCodeField - misc::kFpgaRebootField + 1;
constexpr int32_t kMotor = 1000030;
const std::string kMotorRecord(misc::kMotorHallRecord.length, '\x07');

Call supports(int32_t deviceId, int32_t flag, int32_t expected) {
    return [=](IZenthMisc& misc) {
        int32_t result = 0;
        return misc.isMiscNodeSupport(deviceId, flag, &result).isOk() && result == expected;
    };
}

Call reads(int32_t deviceId, int32_t flag, const std::string& expected) {
    return [=](IZenthMisc& misc) {
        std::string text = "stale";
        return misc.miscReadNodeFile(deviceId, flag, &text).isOk() && text == expected;
    };
}

// A negative `expected` stands for any refusal.
Call writes(int32_t flag, const std::string& data, int32_t expected) {
    return [=](IZenthMisc& misc) {
        int32_t result = 0;
        return misc.miscWriteNodeFile(0, flag, data, &result).isOk() &&
               (expected < 0 ? result < 0 : result == expected);
    };
}

Call saves(int32_t type, const std::string& data, bool expected) {
    return [=](IZenthMisc& misc) {
        bool saved = !expected;
        const std::vector<uint8_t> bytes(data.begin(), data.end());
        return misc.saveCalibrationData(type, bytes, static_cast<int32_t>(data.size()), &saved)
                       .isOk() &&
               saved == expected;
    };
}

const std::vector<std::pair<const char*, Call>> kCalls = {
        {"support 185", supports(0, kRedBrightness, 1)},
        {"support 0", supports(0, 0, -1)},
        {"read 185", reads(0, 185, "1")},
        {"read 1000", reads(0, 1000, "")},
        {"read -1/185", reads(-1, 185, "")},
        {"write 185", writes(185, "1", 1)},
        {"write 322", writes(322, "1", -1)},
        {"write 288", writes(288, "1", -1)},
        {"write 289 sr", writes(289, "sr:1", 4)},
        {"write 289 xx", writes(289, "xx:1", -1)},
        {"save motor", saves(kMotor, kMotorRecord, true)},
        {"save motor 23 bytes", saves(kMotor, kMotorRecord.substr(1), false)},
        {"save type 0", saves(0, "abcdefgh", false)},
};

class UnderLoadTest : public ServedTest {
  protected:
    void SetUp() override {
        ServedTest::SetUp();
        createReservePartition();
        writePartition(misc::fpgaOpInfoFieldOffset(misc::kFpgaUpField),
                       misc::counterField("up:0") + misc::counterField("rb:0") +
                               misc::counterField("i2c:0") + misc::counterField("sr:0") +
                               misc::counterField("hr:0") + misc::counterField("ec:"));
        writeFile(kRedBrightnessNode, "1");
        writeFile("/proc/fpga/status", "");
        writeFile("/sys/class/ex_gpio/chipid", "");
        makeDir("/mnt/vendor/zenthreserve");
        createFaultNode();
        setService(Service::Running);
        serve();
    }

    // A client process of its own: the whole table, again and again while `running` holds.
    void runClient(const std::atomic<bool>& running) {
        zenth_host::OutsideProcess process;
        auto service = IZenthMisc::fromBinder(
                ndk::SpAIBinder(AServiceManager_waitForService(kInstance.c_str())));
        do {
            for (const auto& [name, call] : kCalls) {
                if (!call(*service)) lastWrong_ = name;
            }
        } while (running);
    }

    std::atomic<const char*> lastWrong_{nullptr};
};

TEST_F(UnderLoadTest, CallsGetTheirOwnResultsAndEveryFaultIsCounted) {
    misc::ZenthFpga fpga;
    misc::ZenthExgpio exgpio;
    fpga.startFpgaThread();
    ASSERT_TRUE(emulated::fault_node::waitForPollCalls(1, kWait));

    std::atomic<bool> running{true};
    std::vector<std::thread> clients;
    for (int i = 0; i < kClients; ++i) clients.emplace_back([&] { runClient(running); });
    bool handled = true;
    for (int round = 0; round < kFaultRounds && handled; ++round) {
        for (uint64_t value : kFaultValues) emulated::fault_node::injectValue(value);
        fpga.fpgaReportStats();
        exgpio.exgpioReportStats();
        handled = emulated::fault_node::waitUntilIdle(kWait);
    }
    running = false;
    for (auto& client : clients) client.join();
    ASSERT_TRUE(handled) << "the watcher stopped taking fault values";
    EXPECT_EQ(lastWrong_.load(), nullptr) << "wrong: " << lastWrong_.load();

    // The recordings, captures and reporter passes are over once the daemon is idle.
    zenth_host::waitForOnewayCalls();
    ASSERT_TRUE(emulated::waitUntilIdle(kWait)) << "threads left working";
    const std::string counts = std::to_string(kFaultRounds);
    const int rebootField = misc::fpgaOpInfoFieldOffset(misc::kFpgaRebootField);
    EXPECT_EQ(readPartition(rebootField, kCountFields * misc::kCounterFieldSize),
              misc::counterField("rb:0") + misc::counterField("i2c:" + counts) +
                      misc::counterField("sr:" + counts) + misc::counterField("hr:" + counts) +
                      misc::counterField(kFaultCode));
    EXPECT_EQ(readPartition(misc::kMotorHallRecord.emmcOffset, kMotorRecord.size()), kMotorRecord);
    EXPECT_EQ(readPartition(misc::kFpgaEnableInfoOffset, misc::kFpgaEnableInfoArea.length),
              misc::counterField("fpga_op_info_e") + misc::counterField("sr:1") +
                      misc::counterField(""));
    expectPartitionUnchangedExcept(
            {{misc::kMotorHallRecord.emmcOffset, kMotorRecord.size()},
             {rebootField, kCountFields * misc::kCounterFieldSize},
             {misc::kFpgaEnableInfoOffset, misc::kFpgaEnableInfoArea.length},
             {misc::kExgpioCounterArea.emmcOffset, misc::kExgpioCounterArea.length}});
}

}  // namespace
