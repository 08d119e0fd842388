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

// The statistics service lookup, the counter field parse and the sending of an atom.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "StatsClient.h"
#include "support/ReporterTest.h"

namespace {

namespace misc = ::aidl::vendor::zenth::hardware::misc;
using Strings = std::vector<std::string>;
using Service = ReporterTest::Service;

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
        {"NoNumber", "up:", "up", false, 0, "parse value failed\n"},
        {"SixteenCharacterKey", "abcdefghijklmnop", "up", false, 0, "parse value failed\n"},
        {"LongerKey", "upper:5", "up", false, 0, "parse up value failed\n"},
        {"ShorterKey", "up:5", "upp", false, 0, "parse upp value failed\n"},
};

class ParseCounterFieldTest : public ReporterTest,
                              public ::testing::WithParamInterface<ParseCase> {};

TEST_P(ParseCounterFieldTest, ParsesKeyAndNumberWithinTheField) {
    const ParseCase& c = GetParam();
    // Digits and a colon right behind the field would change the result if read.
    std::string bytes = ReporterTest::field(c.field) + "9:9";
    int32_t value = 0;

    EXPECT_EQ(misc::parseCounterField(bytes.data(), c.key, &value), c.parsed);
    EXPECT_EQ(value, c.value);
    Strings expected;
    if (c.message != nullptr) expected.push_back(std::string("E ") + c.message);
    EXPECT_EQ(reporterMessages(), expected);
}

INSTANTIATE_TEST_SUITE_P(Fields, ParseCounterFieldTest, ::testing::ValuesIn(kParseCases),
                         [](const auto& info) { return std::string(info.param.name); });

using GetStatsServiceTest = ReporterTest;

TEST_F(GetStatsServiceTest, ManifestIsNotConsultedOnceDeclared) {
    setService(Service::NotDeclared);
    bool declared = false;
    EXPECT_EQ(misc::getStatsService(&declared), nullptr);
    EXPECT_FALSE(declared);

    declared = true;
    auto stats = misc::getStatsService(&declared);
    ASSERT_NE(stats, nullptr);
    EXPECT_TRUE(stats->isRemote());  // the service lives in a process of its own
    EXPECT_EQ(reporterMessages(), Strings{"E Stats service is not registered."});
}

struct TextCase {
    const char* name;
    std::string text;  // at most 16 bytes, as a leading text is
    bool sent;
};

// An atom's string travels as UTF-16: text that is not strict UTF-8 cannot be sent.
const TextCase kTextCases[] = {
        {"Ascii", "FPGA-7", true},
        {"TwoToFourBytes", "\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80\xf4\x8f\xbf\xbf", true},
        {"StrayContinuation", "a\x80", false},
        {"Overlong", "\xe0\x80\xaf", false},
        {"LeadC0", "\xc0\xaf", false},
        {"LeadC1", "\xc1\xbf", false},
        {"LeadF5", "\xf5\x80\x80\x80", false},
        {"Surrogate", "\xed\xa0\x80", false},
        {"Truncated", "ab\xe2\x82", false},
        {"ErasedFlash", std::string(16, '\xff'), false},
};

class DoReportEventTest : public ReporterTest, public ::testing::WithParamInterface<TextCase> {};

TEST_P(DoReportEventTest, OnlyUtf8TextIsSent) {
    const TextCase& c = GetParam();
    setService(Service::Running);
    bool declared = true;

    misc::doReportEvent(misc::getStatsService(&declared), 7, c.text.c_str(), {-1}, "unsent");

    EXPECT_EQ(describedAtoms(), c.sent ? Strings{"7 '" + c.text + "' -1"} : Strings{});
    EXPECT_EQ(count("unsent"), c.sent ? 0u : 1u);
}

INSTANTIATE_TEST_SUITE_P(Texts, DoReportEventTest, ::testing::ValuesIn(kTextCases),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
