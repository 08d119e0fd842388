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

// The statistics service lookup and the counter field parse.

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

INSTANTIATE_TEST_SUITE_P(Fields, ParseCounterFieldTest, ::testing::ValuesIn(kParseCases),
                         [](const auto& info) { return std::string(info.param.name); });

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

}  // namespace
