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

// The positioned single read and write that every node and partition access goes through.

#include <android/log.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "NodeInterface.h"
#include "ZenthMisc.h"
#include "support/DeviceTest.h"
#include "zenth_host/EmulatedDevice.h"

using aidl::vendor::zenth::hardware::misc::kMiscLogTag;
using aidl::vendor::zenth::hardware::misc::readInterface;
using aidl::vendor::zenth::hardware::misc::writeInterface;

namespace {

constexpr const char* kNode = "/sys/class/zenth_test/node";
constexpr const char* kMissingNode = "/proc/zenth_test/missing";
constexpr char kUntouched = '#';

enum class Setup { File, Directory, Missing, ReadOnlyFile, WriteOnlyFile, FullDevice };

struct NodeSetup {
    Setup kind;
    std::string content;
};

class NodeInterfaceTest : public DeviceTest {
  protected:
    // Creates the node as the case describes and returns its device path.
    std::string prepare(const NodeSetup& setup) {
        switch (setup.kind) {
            case Setup::File:
                writeFile(kNode, setup.content);
                return kNode;
            case Setup::Directory:
                makeDir(kNode);
                return kNode;
            case Setup::Missing:
                makeDir("/proc/zenth_test");  // so that only the node itself is missing
                return kMissingNode;
            case Setup::ReadOnlyFile:
                writeFile(kNode, setup.content, 0444);
                return kNode;
            case Setup::WriteOnlyFile:
                writeFile(kNode, setup.content, 0200);
                return kNode;
            case Setup::FullDevice:
                // Accepts the open and the seek, fails every write with ENOSPC.
                makeDir("/sys/class/zenth_test");
                std::filesystem::create_symlink("/dev/full", hostPath(kNode));
                return kNode;
        }
        return kNode;
    }

    // Every line of these functions is debug level under the service tag.
    void expectOnlyLog(const std::vector<std::string>& messages) {
        std::vector<std::string> logged;
        for (const LogLine& line : lines()) {
            EXPECT_EQ(line.priority, ANDROID_LOG_DEBUG) << line.message;
            EXPECT_EQ(line.tag, kMiscLogTag) << line.message;
            logged.push_back(line.message);
        }
        EXPECT_EQ(logged, messages);
    }

    void expectSynced(bool synced, const std::string& devicePath) {
        std::vector<std::string> expected;
        if (synced) expected.push_back(std::filesystem::canonical(hostPath(devicePath)).string());
        EXPECT_EQ(emulated::syncedFiles(), expected);
    }
};

std::string openFailure(const char* path, int error) {
    return std::string("open ") + path + " failed! err:" + std::strerror(error);
}

struct ReadCase {
    const char* name;
    NodeSetup setup;
    int offset;
    int length;
    int result;
    std::string bufferStart;  // the rest of the buffer keeps kUntouched
    std::vector<std::string> log;
};

const ReadCase kReadCases[] = {
        {"ContentShorterThanLength", {Setup::File, "abc"}, 0, 8, 3, "abc", {}},
        {"FromOffset", {Setup::File, "0123456789"}, 4, 3, 3, "456", {}},
        {"NulInsideContent",
         {Setup::File, std::string("a\0b", 3)},
         0,
         8,
         3,
         std::string("a\0b", 3),
         {}},
        {"OffsetPastEnd", {Setup::File, "abc"}, 100, 8, 0, "", {}},
        {"Directory", {Setup::Directory, ""}, 0, 8, -1, "", {"read no content! size:-1"}},
        {"Missing", {Setup::Missing, ""}, 0, 8, -1, "", {openFailure(kMissingNode, ENOENT)}},
        {"NotReadable", {Setup::WriteOnlyFile, "abc"}, 0, 8, -1, "", {openFailure(kNode, EACCES)}},
        {"NegativeOffset", {Setup::File, "abc"}, -1, 8, -1, "", {"read failed! size:-1"}},
};

class ReadInterfaceTest : public NodeInterfaceTest,
                          public ::testing::WithParamInterface<ReadCase> {};

TEST_P(ReadInterfaceTest, ReadsOnceAndClosesTheNode) {
    const ReadCase& c = GetParam();
    std::string path = prepare(c.setup);
    std::string buffer(16, kUntouched);
    int descriptors = openDescriptorCount();

    EXPECT_EQ(readInterface(path.c_str(), c.offset, buffer.data(), c.length), c.result);

    EXPECT_EQ(openDescriptorCount(), descriptors);
    std::string expected = c.bufferStart + std::string(16 - c.bufferStart.size(), kUntouched);
    EXPECT_EQ(buffer, expected);
    expectOnlyLog(c.log);
}

INSTANTIATE_TEST_SUITE_P(Cases, ReadInterfaceTest, ::testing::ValuesIn(kReadCases),
                         [](const auto& info) { return std::string(info.param.name); });

struct WriteCase {
    const char* name;
    NodeSetup setup;
    int offset;
    std::string data;
    int result;
    std::optional<std::string> contentAfter;  // nullopt: the node must not exist
    std::vector<std::string> log;
    bool synced;
};

const WriteCase kWriteCases[] = {
        {"OverwritesWithoutTruncating",
         {Setup::File, "0ello"},
         0,
         "1",
         1,
         "1ello",
         {"write 1 bytes"},
         true},
        {"AtOffset", {Setup::File, "hello"}, 3, "LO", 2, "helLO", {"write 2 bytes"}, true},
        {"NulInsideData",
         {Setup::File, "xxxxx"},
         0,
         std::string("a\0b", 3),
         3,
         std::string("a\0bxx", 5),
         {"write 3 bytes"},
         true},
        {"ZeroBytes", {Setup::File, "hello"}, 0, "", 0, "hello", {"write 0 bytes"}, true},
        {"MissingIsNotCreated",
         {Setup::Missing, ""},
         0,
         "1",
         -1,
         std::nullopt,
         {openFailure(kMissingNode, ENOENT)},
         false},
        {"ReadOnly",
         {Setup::ReadOnlyFile, "hello"},
         0,
         "1",
         -1,
         "hello",
         {openFailure(kNode, EACCES)},
         false},
        {"NegativeOffset",
         {Setup::File, "hello"},
         -1,
         "1",
         -1,
         "hello",
         {"lseek failed! size:-1"},
         false},
        {"WriteFails",
         {Setup::FullDevice, ""},
         0,
         "1",
         -1,
         std::nullopt,
         {"write failed! size:-1"},
         false},
};

class WriteInterfaceTest : public NodeInterfaceTest,
                           public ::testing::WithParamInterface<WriteCase> {};

TEST_P(WriteInterfaceTest, WritesOnceAndClosesTheNode) {
    const WriteCase& c = GetParam();
    std::string path = prepare(c.setup);
    int descriptors = openDescriptorCount();

    EXPECT_EQ(writeInterface(path.c_str(), c.offset, c.data.data(), static_cast<int>(c.data.size())),
              c.result);

    EXPECT_EQ(openDescriptorCount(), descriptors);
    expectSynced(c.synced, path);
    if (c.setup.kind != Setup::FullDevice) {
        ASSERT_EQ(exists(path), c.contentAfter.has_value());
        if (c.contentAfter) {
            EXPECT_EQ(readFile(path), *c.contentAfter);
        }
    }
    expectOnlyLog(c.log);
}

INSTANTIATE_TEST_SUITE_P(Cases, WriteInterfaceTest, ::testing::ValuesIn(kWriteCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(NodeInterfaceTest, PartitionRegionRoundTripsAndNothingElseChanges) {
    createReservePartition();
    constexpr int kOffset = 5324832;
    const std::string record("rb:0\0\0\0\0\0\0\0\0\0\0\0\0", 16);

    EXPECT_EQ(writeInterface(kReservePartition, kOffset, record.data(), 16), 16);

    expectPartitionUnchangedExcept({{kOffset, 16}});
    EXPECT_EQ(readPartition(kOffset, 16), record);
    char back[16] = {};
    EXPECT_EQ(readInterface(kReservePartition, kOffset, back, 16), 16);
    EXPECT_EQ(std::string(back, 16), record);
}

}  // namespace
