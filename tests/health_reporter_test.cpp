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

// The health reporters: the FPGA reporter's one delayed pass that sends atom 100196 and resets
// the reboot count, the expander GPIO reporter that remembers the i2c and rs counts and sends
// atom 100272 when they changed since the last start, and what both use: the statistics
// service lookup and the counter field parse.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include <zenth_host/EmulatedDevice.h>

#include "StatsClient.h"
#include "support/ReporterTest.h"
#include "zenthmisc-impl/ZenthExgpio.h"
#include "zenthmisc-impl/ZenthFpga.h"

namespace {

namespace misc = ::aidl::vendor::zenth::hardware::misc;
using misc::counterField;
using Strings = std::vector<std::string>;
using Service = ReporterTest::Service;

const std::string kSend = "D doReportEvent\n";
// The node access logs each write-back of a counter field under the same tag.
const std::string kWriteBack = "D write 16 bytes";

// A pass of a reporter as the statistics service looks to it, and the lines it logs.
struct ServiceCase {
    const char* name;
    Service service;
    // A leading text whose last sequence the end cuts off cannot be written into the call's
    // parcel: the atom is not sent.
    std::string leading;
    Strings messages;
};

// ---- The statistics client ----

struct ParseCase {
    const char* name;
    std::string field;  // the 16 field bytes; what follows them must never be read
    const char* key;
    bool parsed;
    int32_t value;
    const char* message;
};

const ParseCase kParseCases[] = {
        {"Plain", "up:12", "up", true, 12, nullptr},
        {"Negative", "up:-3", "up", true, -3, nullptr},
        {"BlankBeforeNumber", "up: 7", "up", true, 7, nullptr},
        {"TextAfterNumber", "up:7x", "up", true, 7, nullptr},
        {"SixteenCharacters", "up:0000000000042", "up", true, 42, nullptr},
        {"NoColon", "up12", "up", false, 0, "parse value failed\n"},
        {"EmptyKey", ":5", "up", false, 0, "parse value failed\n"},
        {"AllZero", "", "up", false, 0, "parse value failed\n"},
        {"SixteenCharacterKey", "abcdefghijklmnop", "up", false, 0, "parse value failed\n"},
        {"LongerKey", "upper:5", "up", false, 0, "parse up value failed\n"},
        {"ShorterKey", "up:5", "upp", false, 0, "parse upp value failed\n"},
};

class ParseCounterFieldTest : public ReporterTest,
                              public ::testing::WithParamInterface<ParseCase> {};

TEST_P(ParseCounterFieldTest, ParsesKeyAndNumberWithinTheField) {
    const ParseCase& c = GetParam();
    // Digits and a colon right behind the field would change the result if read.
    std::string bytes = misc::counterField(c.field) + "9:9";
    int32_t value = 0;

    EXPECT_EQ(misc::parseCounterField(bytes.data(), c.key, &value), c.parsed);
    EXPECT_EQ(value, c.value);
    Strings expected;
    if (c.message != nullptr) expected.push_back(std::string("E ") + c.message);
    EXPECT_EQ(reporterMessages(), expected);
}

INSTANTIATE_TEST_SUITE_P(Fields, ParseCounterFieldTest, ::testing::ValuesIn(kParseCases), caseName);

using GetStatsServiceTest = ReporterTest;

TEST_F(GetStatsServiceTest, ManifestIsNotConsultedOnceDeclared) {
    setService(Service::NotDeclared);
    bool declared = false;
    EXPECT_EQ(misc::getStatsService(&declared), nullptr);
    EXPECT_FALSE(declared);

    // Not asked again, so not logged again: the service is only looked up, and is not running.
    declared = true;
    EXPECT_EQ(misc::getStatsService(&declared), nullptr);
    EXPECT_EQ(reporterMessages(), Strings{"E Stats service is not registered."});
}

// ---- The FPGA reporter ----

namespace fpga {

constexpr off_t kBlock = 5324800;
constexpr off_t kRebootField = kBlock + 32;
constexpr const char* kProbe = "/proc/fpga/status";
const std::string kStart = "E Another thread to delay report fpga info";
const std::string kNoService = "E misc fpga unable to get Stats service";
const std::string kReset = "E reset reboot val\n";

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

    misc::ZenthFpga fpga_;
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

INSTANTIATE_TEST_SUITE_P(Fields, FpgaRebootCountTest, ::testing::ValuesIn(kRebootCases), caseName);

const std::string kFields = " up:1 rb:3 i2c:4 sr:0 hr:2 ec:5 bf:0\n";
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

INSTANTIATE_TEST_SUITE_P(Services, FpgaServiceTest, ::testing::ValuesIn(kServiceCases), caseName);

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

}  // namespace fpga

// ---- The expander GPIO reporter ----

namespace exgpio {

constexpr off_t kEmmcArea = 5121024;
constexpr off_t kUfsArea = 5398528;
constexpr off_t kPrevI2c = misc::exgpio::kPrevI2c * misc::kCounterFieldSize;
constexpr off_t kPrevRs = misc::exgpio::kPrevRs * misc::kCounterFieldSize;
constexpr const char* kProbe = "/sys/class/ex_gpio/chipid";
const std::string kStart = "E Another thread to delay report exgpio info";
const std::string kUnchanged =
        "E misc exgpio unable to get Stats service or error count is not changed.";

// The counter fields as read; field 4 holds bytes of another owner.
struct Counts {
    std::string i2c, rs, pw, prevI2c, prevRs;
};
const Counts kCounts = {"i2c:3", "rs:1", "pw:7", "pi2c:2", "prs:1"};

class ExgpioReporterTest : public ReporterTest {
  protected:
    void SetUp() override {
        ReporterTest::SetUp();
        writeFile(kProbe, "");
    }

    void writeArea(off_t base, const Counts& c, const std::string& leading = "EXG lead") {
        createReservePartition();
        writePartition(base, counterField(leading) + counterField(c.i2c) + counterField(c.rs) +
                                     counterField(c.pw) + counterField("other:77") +
                                     counterField(c.prevI2c) + counterField(c.prevRs));
    }

    void run() {
        runReporter([this] { exgpio_.exgpioReportStats(); });
    }

    void expectPrevious(off_t base, const std::string& prevI2c, const std::string& prevRs) {
        EXPECT_EQ(readPartition(base + kPrevI2c, 32), counterField(prevI2c) + counterField(prevRs));
        expectPartitionUnchangedExcept({{base + kPrevI2c, 32}});
    }

    misc::ZenthExgpio exgpio_;
};

class ExgpioStorageTest : public ExgpioReporterTest, public ::testing::WithParamInterface<bool> {};

TEST_P(ExgpioStorageTest, ChangedCountsAreSentAndRemembered) {
    const bool ufs = GetParam();
    const off_t base = ufs ? kUfsArea : kEmmcArea;
    if (ufs) makeUfsStorage();
    writeArea(base, kCounts);
    // The other storage kind's area must be neither read nor written.
    writePartition(ufs ? kEmmcArea : kUfsArea, counterField("wrong") + counterField("i2c:50"));
    setService(Service::Running);

    run();

    EXPECT_EQ(emulated::sleeping::calls(), std::vector<unsigned>{5000000});
    EXPECT_EQ(describedAtoms(), Strings{"100272 'EXG lead' 3 1 7"});
    EXPECT_EQ(atoms().at(0).reverseDomainName, "com.zenth");
    EXPECT_EQ(reporterMessages(),
              (Strings{kStart, "E exgpio: EXG lead i2c:3 rs:1 pw:7 pi2c:2 prs:1\n", kWriteBack,
                       kWriteBack, kSend}));
    expectPrevious(base, "pi2c:3", "prs:1");
}

INSTANTIATE_TEST_SUITE_P(Storage, ExgpioStorageTest, ::testing::Values(false, true),
                         [](const auto& info) { return info.param ? "Ufs" : "Emmc"; });

struct ChangeCase {
    const char* name;
    Counts counts;
    const char* sent;  // the atom's counters, nullptr for no atom
    std::string storedI2c, storedRs;
};

// A count text shorter than the one read leaves the bytes after its NUL as they were.
const std::string kShorter = std::string("pi2c:7\0", 7) + "3";
// Blank previous counts (a first start) count as 0.
// clang-format off
const ChangeCase kChangeCases[] = {
        {"RsChanged",  {"i2c:3", "rs:2", "pw:7", "pi2c:3", "prs:1"},   "3 2 7", "pi2c:3", "prs:2"},
        {"PwChanged",  {"i2c:3", "rs:1", "pw:9", "pi2c:3", "prs:1"},   nullptr, "pi2c:3", "prs:1"},
        {"FirstStart", {"i2c:3", "rs:0", "pw:0", "", ""},              "3 0 0", "pi2c:3", "prs:0"},
        {"FirstZero",  {"i2c:0", "rs:0", "pw:4", "", ""},              nullptr, "pi2c:0", "prs:0"},
        {"ShortText",  {"i2c:7", "rs:1", "pw:0", "pi2c:123", "prs:1"}, "7 1 0", kShorter, "prs:1"},
};
// clang-format on

class ExgpioChangeTest : public ExgpioReporterTest,
                         public ::testing::WithParamInterface<ChangeCase> {};

TEST_P(ExgpioChangeTest, OnlyI2cOrRsChangesAreSent) {
    const ChangeCase& c = GetParam();
    writeArea(kEmmcArea, c.counts);
    setService(Service::Running);

    run();

    EXPECT_EQ(describedAtoms(),
              c.sent == nullptr ? Strings{} : Strings{std::string("100272 'EXG lead' ") + c.sent});
    EXPECT_EQ(count(kUnchanged.substr(2)), c.sent == nullptr ? 1u : 0u);
    expectPrevious(kEmmcArea, c.storedI2c, c.storedRs);
}

INSTANTIATE_TEST_SUITE_P(Counts, ExgpioChangeTest, ::testing::ValuesIn(kChangeCases), caseName);

const std::string kFields = " i2c:3 rs:1 pw:7 pi2c:2 prs:1\n";
const std::string kCutOff = "EXG lead \xc3";
// clang-format off
const ServiceCase kServiceCases[] = {
        {"NotDeclared", Service::NotDeclared, "EXG lead",
         {kStart, "E Stats service is not registered.", "E exgpio: EXG lead" + kFields,
          kWriteBack, kWriteBack, kUnchanged}},
        {"AtomNotSent", Service::Running, kCutOff,
         {kStart, "E exgpio: " + kCutOff + kFields, kWriteBack, kWriteBack, kSend,
          "E Unable to report exgpio info to Stats service"}},
};
// clang-format on

class ExgpioServiceTest : public ExgpioReporterTest,
                          public ::testing::WithParamInterface<ServiceCase> {};

// A change that could not be reported is remembered all the same, and so never sent.
TEST_P(ExgpioServiceTest, CountsAreRememberedWithoutAReport) {
    const ServiceCase& c = GetParam();
    writeArea(kEmmcArea, kCounts, c.leading);
    setService(c.service);

    run();

    EXPECT_EQ(reporterMessages(), c.messages);
    EXPECT_TRUE(atoms().empty());
    expectPrevious(kEmmcArea, "pi2c:3", "prs:1");
}

INSTANTIATE_TEST_SUITE_P(Services, ExgpioServiceTest, ::testing::ValuesIn(kServiceCases), caseName);

// Erased flash is no UTF-8, yet it crosses the parcel: every four 0xff bytes become units that
// the statistics service drops.
TEST_F(ExgpioReporterTest, ErasedLeadingTextIsSentEmpty) {
    writeArea(kEmmcArea, kCounts, std::string(16, '\xff'));
    setService(Service::Running);

    run();

    EXPECT_EQ(describedAtoms(), Strings{"100272 '' 3 1 7"});
}

TEST_F(ExgpioReporterTest, IncompleteWriteBackIsReportedWithTheByteSum) {
    Counts counts = kCounts;
    counts.prevRs = "prs:0";
    writeArea(kEmmcArea, counts);
    setService(Service::Running);
    {
        // A file size limit right after field 5 makes the write of field 6 fail alone.
        FileSizeLimit limit(kEmmcArea + kPrevRs);
        run();
    }
    EXPECT_EQ(reporterMessages(),
              (Strings{kStart, "E exgpio: EXG lead i2c:3 rs:1 pw:7 pi2c:2 prs:0\n", kWriteBack,
                       "D write failed! size:-1",
                       "E update prev exgpio reserve info failed, count = 15\n", kSend}));
    EXPECT_EQ(describedAtoms(), Strings{"100272 'EXG lead' 3 1 7"});
    expectPrevious(kEmmcArea, "pi2c:3", "prs:0");
}

TEST_F(ExgpioReporterTest, OneByteReadIsParsedWithTheRestZero) {
    writeArea(kEmmcArea, kCounts);
    std::filesystem::resize_file(hostPath(kReservePartition), kEmmcArea + 1);
    setService(Service::Running);

    run();

    EXPECT_EQ(count("exgpio: E     \n"), 1u);
    EXPECT_EQ(readPartition(kEmmcArea + kPrevI2c, 32),
              counterField("pi2c:0") + counterField("prs:0"));
}

TEST_F(ExgpioReporterTest, MissingPartitionIsNeitherReadNorWritten) {
    setService(Service::Running);

    run();

    // Opening the partition would log a line of its own.
    EXPECT_EQ(lines().size(), 2u);
    EXPECT_EQ(reporterMessages(), (Strings{kStart, kUnchanged}));
    EXPECT_TRUE(atoms().empty());
}

TEST_F(ExgpioReporterTest, WithoutTheChipNothingIsReadOrSent) {
    writeArea(kEmmcArea, kCounts);
    std::filesystem::remove(hostPath(kProbe));
    setService(Service::Running);

    run();

    EXPECT_EQ(lines().size(), 2u);
    EXPECT_EQ(reporterMessages(), (Strings{kStart, "E exgpio is not support!\n"}));
    EXPECT_TRUE(atoms().empty());
    expectPartitionUnchangedExcept();
}

}  // namespace exgpio

}  // namespace
