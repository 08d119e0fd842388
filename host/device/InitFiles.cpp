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

#include "InitFiles.h"

#define EXCLUDE_FS_CONFIG_STRUCTURES
#include <private/android_filesystem_config.h>
#include <sys/capability.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>

namespace emulated::internal {
namespace {

// The platform's users and groups that a vendor init or ueventd file may name.
const std::map<std::string, unsigned>& androidIds() {
    static const auto* ids = new std::map<std::string, unsigned>{
            {"root", AID_ROOT},         {"system", AID_SYSTEM},
            {"radio", AID_RADIO},       {"bluetooth", AID_BLUETOOTH},
            {"graphics", AID_GRAPHICS}, {"input", AID_INPUT},
            {"audio", AID_AUDIO},       {"camera", AID_CAMERA},
            {"log", AID_LOG},           {"wifi", AID_WIFI},
            {"media", AID_MEDIA},       {"usb", AID_USB},
            {"drm", AID_DRM},           {"gps", AID_GPS},
            {"nfc", AID_NFC},           {"shell", AID_SHELL},
            {"cache", AID_CACHE},       {"diag", AID_DIAG},
            {"inet", AID_INET},         {"net_admin", AID_NET_ADMIN},
            {"readproc", AID_READPROC}, {"wakelock", AID_WAKELOCK},
            {"nobody", AID_NOBODY},
    };
    return *ids;
}

// Boot triggers in the order init fires them; the service starts after the last.
constexpr const char* kBootTriggers[] = {"early-init", "init",    "late-init", "early-fs",
                                         "fs",         "post-fs", "late-fs",   "post-fs-data"};

class Parser {
  public:
    explicit Parser(InitFiles* files) : files_(files) {}

    void parseInitFile(const std::string& name, std::istream& text) {
        bool inService = false;
        size_t trigger = std::size(kBootTriggers);  // actions of other triggers do not run
        forEachLine(name, text, [&](const std::vector<std::string>& words) {
            const std::string& keyword = words[0];
            if (keyword == "service" || keyword == "on" || keyword == "import") {
                inService = keyword == "service" && !files_->hasService;
                if (inService) beginService(words);
                trigger = keyword == "on" ? triggerIndex(words) : std::size(kBootTriggers);
            } else if (inService) {
                serviceOption(words);
            } else if (trigger < std::size(kBootTriggers)) {
                action(trigger, words);
            }
        });
    }

    void parseUeventdFile(const std::string& name, std::istream& text) {
        forEachLine(name, text, [&](const std::vector<std::string>& words) {
            const bool node = words[0].rfind("/dev/", 0) == 0 && words.size() == 4;
            const bool attribute = words[0].rfind("/sys/", 0) == 0 && words.size() == 5;
            if (!node && !attribute) return;
            PermissionLine line{words[0], attribute ? words[1] : "", 0, 0, 0};
            const size_t first = attribute ? 2 : 1;
            if (mode(words[first], &line.mode) && id(words[first + 1], &line.uid) &&
                id(words[first + 2], &line.gid)) {
                files_->permissions.push_back(line);
            }
        });
    }

    // Actions in the order init runs them: by trigger, then in file order.
    void finish() {
        std::stable_sort(actions_.begin(), actions_.end(),
                         [](const auto& a, const auto& b) { return a.first < b.first; });
        for (auto& [trigger, action] : actions_) files_->actions.push_back(action);
    }

  private:
    template <typename Handle>
    void forEachLine(const std::string& name, std::istream& text, Handle handle) {
        int number = 0;
        for (std::string line; std::getline(text, line);) {
            where_ = name + ":" + std::to_string(++number);
            std::istringstream split(line.substr(0, line.find('#')));
            std::vector<std::string> words;
            for (std::string word; split >> word;) words.push_back(word);
            if (!words.empty()) handle(words);
        }
    }

    void problem(const std::string& what) { files_->problems.push_back(where_ + ": " + what); }

    bool id(const std::string& name, unsigned* value) {
        auto found = androidIds().find(name);
        if (found == androidIds().end()) {
            problem("unknown user or group '" + name + "'");
            return false;
        }
        *value = found->second;
        return true;
    }

    bool mode(const std::string& text, mode_t* value) {
        char* end = nullptr;
        unsigned long parsed = std::strtoul(text.c_str(), &end, 8);
        if (text.empty() || *end != '\0' || parsed > 07777) {
            problem("bad mode '" + text + "'");
            return false;
        }
        *value = static_cast<mode_t>(parsed);
        return true;
    }

    static size_t triggerIndex(const std::vector<std::string>& words) {
        if (words.size() != 2) return std::size(kBootTriggers);  // property conditions
        auto found = std::find(std::begin(kBootTriggers), std::end(kBootTriggers), words[1]);
        return static_cast<size_t>(found - std::begin(kBootTriggers));
    }

    void beginService(const std::vector<std::string>& words) {
        if (words.size() < 3) return problem("service needs a name and a path");
        files_->hasService = true;
        files_->service = Credentials{};
        files_->service.umask = 077;
    }

    void serviceOption(const std::vector<std::string>& words) {
        Credentials& service = files_->service;
        if (words[0] == "user" && words.size() == 2) {
            id(words[1], &service.uid);
        } else if (words[0] == "group" && words.size() >= 2) {
            id(words[1], &service.gid);
            for (size_t i = 2; i < words.size(); ++i) {
                gid_t group = 0;
                if (id(words[i], &group)) service.groups.push_back(group);
            }
        } else if (words[0] == "capabilities") {
            for (size_t i = 1; i < words.size(); ++i) capability(words[i]);
        }
    }

    void capability(const std::string& name) {
        std::string lower = "cap_" + name;
        std::transform(lower.begin(), lower.end(), lower.begin(),
                       [](unsigned char c) { return std::tolower(c); });
        cap_value_t value = 0;
        if (cap_from_name(lower.c_str(), &value) != 0) return problem("unknown capability " + name);
        files_->service.capabilities |= uint64_t{1} << value;
    }

    void action(size_t trigger, const std::vector<std::string>& words) {
        using Kind = OwnershipAction::Kind;
        OwnershipAction action;
        const size_t n = words.size();
        if (words[0] == "mkdir" && n >= 2 && n <= 5) {
            action = {Kind::Mkdir, words[1]};
            action.setsMode = action.setsOwner = action.setsGroup = true;
            action.mode = 0755;
            if (n >= 3 && !mode(words[2], &action.mode)) return;
            if (n >= 4 && !id(words[3], &action.uid)) return;
            if (n >= 5 && !id(words[4], &action.gid)) return;
        } else if (words[0] == "chown" && (n == 3 || n == 4)) {
            action = {Kind::Chown, words[n - 1]};
            action.setsOwner = id(words[1], &action.uid);
            action.setsGroup = n == 4 && id(words[2], &action.gid);
        } else if (words[0] == "chmod" && n == 3) {
            action = {Kind::Chmod, words[2]};
            action.setsMode = mode(words[1], &action.mode);
        } else {
            return;  // no bearing on owners and modes
        }
        actions_.emplace_back(trigger, action);
    }

    InitFiles* files_;
    std::vector<std::pair<size_t, OwnershipAction>> actions_;
    std::string where_;
};

std::vector<std::string> splitList(const std::string& list) {
    std::vector<std::string> items;
    std::istringstream split(list);
    for (std::string item; std::getline(split, item, ',');) {
        if (!item.empty()) items.push_back(item);
    }
    return items;
}

}  // namespace

unsigned androidId(const std::string& name) {
    auto found = androidIds().find(name);
    return found == androidIds().end() ? 0 : found->second;
}

InitFiles parseInitFiles(const std::vector<std::string>& names) {
    InitFiles files;
    Parser parser(&files);
    for (const std::string& name : names) {
        std::ifstream text(name);
        if (!text) {
            files.problems.push_back("cannot read " + name);
            continue;
        }
        const std::string base = name.substr(name.find_last_of('/') + 1);
        if (base.rfind("ueventd", 0) == 0) {
            parser.parseUeventdFile(base, text);
        } else {
            parser.parseInitFile(base, text);
        }
    }
    parser.finish();
    return files;
}

const InitFiles& initFiles() {
    static const InitFiles* files = [] {
        const char* chosen = std::getenv(kInitFilesEnvironment);
        return new InitFiles(
                parseInitFiles(splitList(chosen != nullptr ? chosen : ZENTH_INIT_FILES)));
    }();
    return *files;
}

}  // namespace emulated::internal
