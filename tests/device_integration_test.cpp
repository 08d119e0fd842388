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
// path the daemon touches has an SELinux label of the service's policy; the service's instance,
// version and executable are the same for the policy, init, VINTF, the interface module and the
// build; the host stand-ins serve the frozen interface. (Owners and modes are not checked here:
// the emulated phone boots from the init and ueventd files, so the whole-process tests see
// them as a phone would.)

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <utility>
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
const fs::path kManifest = kTree / "aidl/vendor.zenth.hardware.ZenthMisc-V1-service.xml";
const fs::path kInterfaces = kTree / "interfaces";

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

// Every match of the regex's first group in text.
std::vector<std::string> all(const std::string& text, const std::string& pattern) {
    std::vector<std::string> found;
    const std::regex regex(pattern);
    for (std::sregex_iterator it(text.begin(), text.end(), regex), end; it != end; ++it) {
        found.push_back((*it)[1]);
    }
    return found;
}

// The strings of a module's top-level property, a list ("srcs: [...]") or a single string.
std::vector<std::string> strings(const std::string& body, const std::string& property) {
    return all(search(body, "\n    " + property + R"(: (\[[^\]]*\]|"[^"]*"))")[1],
               R"re("([^"]*)")re");
}

// The body of the first Android.bp module of this type: bpfmt ends each at a line's start.
std::string module(const fs::path& bp, const std::string& type) {
    return search(readFile(bp), "(?:^|\n)" + type + R"( \{([\s\S]*?\n)\})")[1];
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
            search(readFile(kManifest),
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

    const std::string binary = module(kTree / "aidl/Android.bp", "cc_binary");
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

// The ueventd fragment (which the emulated phone boots from) ships as a vendor file of its
// own, which the board's ueventd file imports, never in place of the board's file.
TEST(DeviceIntegrationTest, TheUeventdFragmentShipsAsAVendorFileOfItsOwn) {
    const std::string prebuilt = module(kTree / "aidl/Android.bp", "prebuilt_etc");
    EXPECT_NE(prebuilt.find("vendor: true"), std::string::npos);
    const std::vector<std::string> src = strings(prebuilt, "src");
    ASSERT_EQ(src.size(), 1u);
    EXPECT_TRUE(fs::exists(kTree / "aidl" / src[0])) << src[0];

    const std::string product = readFile(kTree / "zenth_misc.mk");
    const std::vector<std::string> packages =
            all(search(product, R"(PRODUCT_PACKAGES \+=((?:.*\\\n)*.*))")[1], R"(([^\s\\]+))");
    for (const std::string& name :
         {strings(module(kTree / "aidl/Android.bp", "cc_binary"), "name").at(0), src[0]}) {
        EXPECT_EQ(std::count(packages.begin(), packages.end(), name), 1) << name;
    }
    EXPECT_EQ(product.find("/etc/ueventd.rc"), std::string::npos);
}

// The interface module is the stand-ins' interface (and so the manifest's and the matrix's HAL),
// frozen at the version the daemon and the device test link; the stand-ins serve that version.
TEST(DeviceIntegrationTest, TheFrozenInterfaceIsTheOneDeclaredLinkedAndServed) {
    const std::string interface = module(kInterfaces / "Android.bp", "aidl_interface");
    const std::string name = strings(interface, "name").at(0);
    EXPECT_EQ(strings(interface, "stability"), std::vector<std::string>{"vintf"});
    EXPECT_NE(interface.find("vendor_available: true"), std::string::npos);
    EXPECT_NE(interface.find("frozen: true"), std::string::npos);
    const std::vector<std::string> versions = all(interface, R"re(version: "(\d+)")re");
    ASSERT_FALSE(versions.empty());
    const std::string version = versions.back();
    EXPECT_EQ(version, std::to_string(IZenthMisc::version));

    for (const fs::path& user : {kTree / "aidl/Android.bp", kTree / "tests/vts/Android.bp"}) {
        EXPECT_NE(readFile(user).find('"' + name + "-V" + version + "-ndk\""), std::string::npos)
                << user;
    }

    const std::string descriptor = IZenthMisc::descriptor;
    EXPECT_EQ(descriptor.substr(0, descriptor.rfind('.')), name);
    std::string folder = name;
    std::replace(folder.begin(), folder.end(), '.', '/');
    const fs::path frozen = kInterfaces / "aidl_api" / name / version;
    const std::string dump =
            readFile(frozen / folder / (descriptor.substr(descriptor.rfind('.') + 1) + ".aidl"));
    EXPECT_EQ(search(dump, R"(\npackage (\S+);)")[1], name);
    EXPECT_TRUE(std::regex_search(dump, std::regex(R"(@VintfStability\s+interface )")));
    // Transaction codes follow the methods' order of declaration.
    const std::vector<std::pair<std::string, uint32_t>> served = {
            {"initialize", IZenthMisc::TRANSACTION_initialize},
            {"isMiscNodeSupport", IZenthMisc::TRANSACTION_isMiscNodeSupport},
            {"miscReadNodeFile", IZenthMisc::TRANSACTION_miscReadNodeFile},
            {"miscWriteNodeFile", IZenthMisc::TRANSACTION_miscWriteNodeFile},
            {"saveCalibrationData", IZenthMisc::TRANSACTION_saveCalibrationData},
    };
    const std::vector<std::string> methods = all(dump, R"(\n  \S+ (\w+)\()");
    ASSERT_EQ(methods.size(), served.size());
    for (size_t i = 0; i < served.size(); ++i) {
        EXPECT_EQ(methods[i], served[i].first);
        EXPECT_EQ(served[i].second, FIRST_CALL_TRANSACTION + i) << served[i].first;
    }
    const std::vector<std::string> hashes = all(readFile(frozen / ".hash"), R"((\S+)\s*)");
    ASSERT_FALSE(hashes.empty());
    EXPECT_EQ(hashes.back(), IZenthMisc::hash);
}

}  // namespace
