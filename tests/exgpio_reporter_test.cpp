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

// The expander GPIO health reporter: remembers the i2c and rs counts and sends atom 100272
// when they changed since the last start.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include <zenth_host/EmulatedDevice.h>

#include "support/FileSizeLimit.h"
#include "support/ReporterTest.h"
#include "zenthmisc-impl/ZenthExgpio.h"

namespace {

using ::aidl::vendor::zenth::hardware::misc::counterField;
using ::aidl::vendor::zenth::hardware::misc::ZenthExgpio;
using Strings = std::vector<std::string>;
using Service = ReporterTest::Service;

constexpr off_t kEmmcArea = 5121024;
constexpr off_t kUfsArea = 5398528;
namespace misc = ::aidl::vendor::zenth::hardware::misc;
constexpr off_t kPrevI2c = misc::exgpio::kPrevI2c * misc::kCounterFieldSize;
constexpr off_t kPrevRs = misc::exgpio::kPrevRs * misc::kCounterFieldSize;
constexpr const char* kProbe = "/sys/class/ex_gpio/chipid";
const std::string kStart = "E Another thread to delay report exgpio info";
const std::string kUnchanged =
        "E misc exgpio unable to get Stats service or error count is not changed.";
const std::string kSend = "D doReportEvent\n";
// The node access logs each previous count's write-back under the same tag.
const std::string kWriteBack = "D write 16 bytes";

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

    ZenthExgpio exgpio_;
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

INSTANTIATE_TEST_SUITE_P(Counts, ExgpioChangeTest, ::testing::ValuesIn(kChangeCases),
                         [](const auto& info) { return std::string(info.param.name); });

struct ServiceCase {
    const char* name;
    Service service;
    std::string leading;
    Strings messages;
};

const std::string kFields = " i2c:3 rs:1 pw:7 pi2c:2 prs:1\n";
// A text whose last sequence the end cuts off cannot be written into the call's parcel.
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

INSTANTIATE_TEST_SUITE_P(Services, ExgpioServiceTest, ::testing::ValuesIn(kServiceCases),
                         [](const auto& info) { return std::string(info.param.name); });

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

}  // namespace
