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

// The pieces a device build puts together agree with the daemon and with each other: every
// path the daemon touches has an SELinux label of the service's policy, and the service's
// instance, version and executable are the same for the policy, init, VINTF and the build.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <aidl/vendor/zenth/hardware/misc/IZenthMisc.h>

#include "MiscNodeTable.h"

namespace {

namespace fs = std::filesystem;
using aidl::vendor::zenth::hardware::misc::gMiscNodeTable;
using aidl::vendor::zenth::hardware::misc::IZenthMisc;

const fs::path kTree = ZENTH_SOURCE_DIR;
const fs::path kPolicy = kTree / "sepolicy";
const fs::path kServiceRc = kTree / "aidl/vendor.zenth.hardware.ZenthMisc-V1-service.rc";

std::string readFile(const fs::path& path) {
    std::ifstream in(path);
    EXPECT_TRUE(in) << path;
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// The groups of each line of the file that matches pattern whole.
std::vector<std::vector<std::string>> rows(const fs::path& file, const std::string& pattern) {
    std::vector<std::vector<std::string>> found;
    const std::regex regex(pattern);
    std::istringstream text(readFile(file));
    std::smatch match;
    for (std::string line; std::getline(text, line);) {
        if (std::regex_match(line, match, regex)) found.emplace_back(match.begin(), match.end());
    }
    return found;
}

// The groups of the first match of pattern in text; empty strings where nothing matches.
std::vector<std::string> search(const std::string& text, const std::string& pattern) {
    const std::regex regex(pattern);
    std::vector<std::string> groups(regex.mark_count() + 1);
    std::smatch match;
    if (!std::regex_search(text, match, regex)) return groups;
    for (size_t i = 0; i < groups.size(); ++i) groups[i] = match[i];
    return groups;
}

std::string policyStatements() {
    std::string all;
    for (const auto& entry : fs::directory_iterator(kPolicy)) {
        if (entry.path().extension() == ".te") all += readFile(entry.path());
    }
    return all;
}

// A file_contexts regex, or a path prefix: a genfs_contexts path (the kernel matches it as a
// plain prefix) or a board template's link.
struct Label {
    std::string pattern;
    bool isRegex;
    std::string type;

    bool covers(const std::string& path) const {
        return isRegex ? std::regex_match(path, std::regex(pattern)) : path.rfind(pattern, 0) == 0;
    }
};

std::vector<Label> policyLabels() {
    std::vector<Label> labels;
    for (const auto& row :
         rows(kPolicy / "file_contexts", R"((\S+)\s+(?:\S+\s+)?u:object_r:(\w+):s0)")) {
        labels.push_back({row[1], true, row[2]});
    }
    for (const auto& row :
         rows(kPolicy / "genfs_contexts", R"(genfscon (proc|sysfs) (\S+)\s+u:object_r:(\w+):s0)")) {
        labels.push_back({(row[1] == "proc" ? "/proc" : "/sys") + row[2], false, row[3]});
    }
    for (const auto& row :
         rows(kPolicy / "genfs_contexts.board-template",
              R"(# (/sys/class/\S+):\s+genfscon sysfs <target> u:object_r:(\w+):s0)")) {
        labels.push_back({row[1] + "/", false, row[2]});
    }
    return labels;
}

// The node table's paths and every absolute path literal of the daemon's sources.
std::set<std::string> pathsTheDaemonTouches() {
    std::set<std::string> paths;
    for (const auto& row : gMiscNodeTable) paths.insert(row.path);
    const std::regex literal(R"re("(/[^"\s/]+/[^"\s]*)")re");
    for (const auto& entry : fs::directory_iterator(kTree / "aidl")) {
        const std::string source = readFile(entry.path());
        for (std::sregex_iterator it(source.begin(), source.end(), literal), end; it != end; ++it) {
            paths.insert((*it)[1]);
        }
    }
    return paths;
}

TEST(DeviceIntegrationTest, EveryPathTheDaemonTouchesHasALabelOfItsPolicy) {
    const std::vector<Label> labels = policyLabels();
    for (const std::string& path : pathsTheDaemonTouches()) {
        EXPECT_TRUE(std::any_of(labels.begin(), labels.end(),
                                [&](const Label& label) { return label.covers(path); }))
                << path << " has no file_contexts, genfs_contexts or board template line";
    }
    const std::string statements = policyStatements();
    for (const Label& label : labels) {
        EXPECT_TRUE(std::regex_search(statements, std::regex("type " + label.type + "[,;]")))
                << label.pattern << " is labelled " << label.type << ", which no type declares";
    }
}

TEST(DeviceIntegrationTest, InstanceAndVersionAreTheSameEverywhere) {
    const std::string instance = std::string(IZenthMisc::descriptor) + "/default";
    const std::string versioned = instance + "@" + std::to_string(IZenthMisc::version);
    const auto services = rows(kPolicy / "service_contexts", R"((\S+)\s+u:object_r:\w+:s0)");
    ASSERT_EQ(services.size(), 1u);
    EXPECT_EQ(services[0][1], instance);
    EXPECT_EQ(search(readFile(kServiceRc), R"(interface aidl (\S+))")[1], instance);

    const std::vector<std::string> manifest =
            search(readFile(kTree / "aidl/vendor.zenth.hardware.ZenthMisc-V1-service.xml"),
                   R"(<name>(\S+)</name>\s*<version>(\d+)</version>\s*<fqname>(\S+)</fqname>)");
    EXPECT_EQ(manifest[1] + "." + manifest[3] + "@" + manifest[2], versioned);
    const std::vector<std::string> matrix = search(
            readFile(kTree / "aidl/compatibility_matrix.zenth_misc.xml"),
            R"(<name>(\S+)</name>\s*<version>(\d+)</version>\s*<interface>\s*<name>(\S+)</name>)"
            R"(\s*<instance>(\S+)</instance>)");
    EXPECT_EQ(matrix[1] + "." + matrix[3] + "/" + matrix[4] + "@" + matrix[2], versioned);
}

TEST(DeviceIntegrationTest, InitStartsTheInstalledAndLabelledExecutable) {
    const std::string executable = search(readFile(kServiceRc), R"(service \S+ (\S+))")[1];

    const std::string binary =
            search(readFile(kTree / "aidl/Android.bp"), R"(cc_binary \{([^}]*)\})")[1];
    EXPECT_NE(binary.find("vendor: true"), std::string::npos);
    EXPECT_EQ(executable, "/vendor/bin/" +
                                  search(binary, R"re(relative_install_path: "(\S+)")re")[1] + "/" +
                                  search(binary, R"re(name: "(\S+)")re")[1]);

    const std::string domain = search(policyStatements(), R"(init_daemon_domain\((\w+)\))")[1];
    const std::vector<Label> labels = policyLabels();
    const auto label = std::find_if(labels.begin(), labels.end(),
                                    [&](const Label& label) { return label.covers(executable); });
    ASSERT_NE(label, labels.end()) << executable;
    EXPECT_EQ(label->type, domain + "_exec");
}

}  // namespace
