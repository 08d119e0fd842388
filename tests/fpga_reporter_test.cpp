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

// The FPGA health reporter: one delayed pass that sends atom 100196 and resets the reboot count.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include <zenth_host/EmulatedDevice.h>

#include "support/ReporterTest.h"
#include "zenthmisc-impl/ZenthFpga.h"

namespace {

using ::aidl::vendor::zenth::hardware::misc::counterField;
using ::aidl::vendor::zenth::hardware::misc::ZenthFpga;
using Strings = std::vector<std::string>;
using Service = ReporterTest::Service;

constexpr off_t kBlock = 5324800;
constexpr off_t kRebootField = kBlock + 32;
constexpr const char* kProbe = "/proc/fpga/status";
const std::string kStart = "E Another thread to delay report fpga info";
const std::string kNoService = "E misc fpga unable to get Stats service";
const std::string kReset = "E reset reboot val\n";
const std::string kSend = "D doReportEvent\n";
// The node access logs the reboot field's write-back under the same tag.
const std::string kWriteBack = "D write 16 bytes";

class FpgaReporterTest : public ReporterTest {
  protected:
    void SetUp() override {
        ReporterTest::SetUp();
        writeFile(kProbe, "");
    }

    void writeBlock(const Strings& fields) {
        createReservePartition();
        std::string bytes;
        for (const std::string& text : fields) bytes += counterField(text);
        writePartition(kBlock, bytes);
    }

    void writeBlockWithReboots(const std::string& rebootField,
                               const std::string& leading = "FPGA-7") {
        writeBlock({leading, "up:1", rebootField, "i2c:4", "sr:0", "hr:2", "ec:5", "bf:0"});
    }

    void run() {
        runReporter([this] { fpga_.fpgaReportStats(); });
    }

    ZenthFpga fpga_;
};

TEST_F(FpgaReporterTest, MalformedFieldsCountAsZero) {
    // The fault code is stored as raw bytes, so the ec field does not parse as a number.
    // Erased flash as the leading text crosses the parcel, and arrives empty.
    const std::string erased(16, '\xff');
    writeBlock({erased, "up12", "rb:1", "i2c:4", "xx:9", "hr:2",
                std::string("ec:\0\0\0\0\0\x12\x34", 10), "bf:6"});
    setService(Service::Running);

    run();

    EXPECT_EQ(describedAtoms(), Strings{"100196 '' 0 1 4 0 2 0 6"});
    EXPECT_EQ(reporterMessages(),
              (Strings{kStart, "E " + erased + " up12 rb:1 i2c:4 xx:9 hr:2 ec: bf:6\n",
                       "E parse value failed\n", "E parse sr value failed\n",
                       "E parse value failed\n", kSend, kReset, kWriteBack}));
}

struct RebootCase {
    const char* name;
    std::string stored;
    int32_t reported;
    std::string written;
    bool reset;
};

const RebootCase kRebootCases[] = {
        {"Counted", "rb:3", 3, "rb:0", true},
        {"One", "rb:1", 1, "rb:0", true},
        // Stale bytes after the NUL go as well: the field is written whole.
        {"Zero", std::string("rb:0\0stale", 10), 0, "rb:0", false},
        {"Negative", "rb:-2", -2, "rb:-2", false},
};

class FpgaRebootCountTest : public FpgaReporterTest,
                            public ::testing::WithParamInterface<RebootCase> {};

TEST_P(FpgaRebootCountTest, SendsEveryCounterThenWritesTheRebootFieldBack) {
    const RebootCase& c = GetParam();
    // A leading text filling its field has no NUL of its own.
    const std::string leading = "FPGA-7 lot 12345";
    writeBlockWithReboots(c.stored, leading);
    setService(Service::Running);

    run();

    EXPECT_EQ(emulated::sleeping::calls(), std::vector<unsigned>{5000000});
    EXPECT_EQ(describedAtoms(),
              Strings{"100196 '" + leading + "' 1 " + std::to_string(c.reported) + " 4 0 2 5 0"});
    Strings messages = {
            kStart, "E " + leading + " up:1 " + c.stored.c_str() + " i2c:4 sr:0 hr:2 ec:5 bf:0\n",
            kSend};
    if (c.reset) messages.push_back(kReset);
    messages.push_back(kWriteBack);
    EXPECT_EQ(reporterMessages(), messages);
    EXPECT_EQ(readPartition(kRebootField, 16), counterField(c.written));
    expectPartitionUnchangedExcept({{kRebootField, 16}});
}

INSTANTIATE_TEST_SUITE_P(Fields, FpgaRebootCountTest, ::testing::ValuesIn(kRebootCases),
                         [](const auto& info) { return std::string(info.param.name); });

struct ServiceCase {
    const char* name;
    Service service;
    std::string leading;
    Strings messages;
};

const std::string kFields = " up:1 rb:3 i2c:4 sr:0 hr:2 ec:5 bf:0\n";
// A text whose last sequence the end cuts off cannot be written into the call's parcel.
const std::string kCutOff = "FPGA-7 \xe2\x82";
// clang-format off
const ServiceCase kServiceCases[] = {
        {"NotDeclared", Service::NotDeclared, "FPGA-7",
         {kStart, "E Stats service is not registered.", "E FPGA-7" + kFields, kNoService, kReset, kWriteBack}},
        {"NotRunning", Service::DeclaredNotRunning, "FPGA-7",
         {kStart, "E FPGA-7" + kFields, kNoService, kReset, kWriteBack}},
        {"AtomNotSent", Service::Running, kCutOff,
         {kStart, "E " + kCutOff + kFields, kSend, "E Unable to report fpga info to Stats service",
          kReset, kWriteBack}},
};
// clang-format on

class FpgaServiceTest : public FpgaReporterTest,
                        public ::testing::WithParamInterface<ServiceCase> {};

// Reboots that could not be reported are not reported at a later start either.
TEST_P(FpgaServiceTest, RebootCountIsResetWithoutAReport) {
    const ServiceCase& c = GetParam();
    writeBlockWithReboots("rb:3", c.leading);
    setService(c.service);

    run();

    EXPECT_EQ(reporterMessages(), c.messages);
    EXPECT_TRUE(atoms().empty());
    EXPECT_EQ(readPartition(kRebootField, 16), counterField("rb:0"));
}

INSTANTIATE_TEST_SUITE_P(Services, FpgaServiceTest, ::testing::ValuesIn(kServiceCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(FpgaReporterTest, UnreadableBlockSendsZerosAndStillWritesBack) {
    writeBlockWithReboots("rb:5");
    // Writable but not readable: only the read fails.
    std::filesystem::permissions(hostPath(kReservePartition), std::filesystem::perms::owner_write);
    setService(Service::Running);

    run();

    std::filesystem::permissions(
            hostPath(kReservePartition),
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    EXPECT_EQ(describedAtoms(), Strings{"100196 '' 0 0 0 0 0 0 0"});
    EXPECT_EQ(reporterMessages(),
              (Strings{kStart,
                       "D open /dev/block/by-name/zenthreserve1 failed! err:Permission denied",
                       "E getMessage readInterface /dev/block/by-name/zenthreserve1 error", kSend,
                       kWriteBack}));
    EXPECT_EQ(readPartition(kRebootField, 16), counterField("rb:0"));
}

TEST_F(FpgaReporterTest, EmptyReadIsNoReadFailure) {
    createReservePartition();
    std::filesystem::resize_file(hostPath(kReservePartition), kBlock);  // ends at the block
    setService(Service::Running);

    run();

    EXPECT_EQ(count("getMessage readInterface /dev/block/by-name/zenthreserve1 error"), 0u);
    EXPECT_EQ(count("parse value failed\n"), 7u);
}

TEST_F(FpgaReporterTest, WithoutTheFpgaNothingIsReadOrSent) {
    std::filesystem::remove(hostPath(kProbe));
    setService(Service::Running);

    run();

    // No partition exists: any attempt to open it would log a line of its own.
    EXPECT_EQ(lines().size(), 2u);
    EXPECT_EQ(reporterMessages(), (Strings{kStart, "E fpga is not support!\n"}));
    EXPECT_TRUE(atoms().empty());
}

}  // namespace
