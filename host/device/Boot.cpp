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

// The device as the kernel, ueventd and init leave it before the service starts, and the
// service's start as init makes it: the init and ueventd files read as the phone's init and
// ueventd read them, and the one place that decides what owner, group and mode a path gets.

#define EXCLUDE_FS_CONFIG_STRUCTURES
#include <fnmatch.h>
#include <private/android_filesystem_config.h>
#include <sys/capability.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "DeviceInternal.h"
#include "RealCalls.h"
#include "zenth_host/EmulatedDevice.h"

namespace emulated {
namespace {

namespace fs = std::filesystem;

// ueventd: a device node line ("/dev/... mode user group") or a sysfs attribute line
// ("/sys/... attribute mode user group"); the path may hold wildcards.
struct PermissionLine {
    std::string path;
    std::string attribute;  // empty for a device node
    mode_t mode;
    uid_t uid;
    gid_t gid;
};

// init: mkdir, chown or chmod, in the order init runs them.
struct OwnershipAction {
    enum class Kind { Mkdir, Chown, Chmod };
    Kind kind;
    std::string path;
    bool setsMode = false;
    mode_t mode = 0;
    bool setsOwner = false;
    uid_t uid = 0;
    bool setsGroup = false;
    gid_t gid = 0;
};

struct InitFiles {
    std::vector<PermissionLine> permissions;
    std::vector<OwnershipAction> actions;
    bool hasService = false;
    Credentials service;
    // What init or ueventd would log and skip.
    std::vector<std::string> problems;
};

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

// Names starting with "ueventd" are ueventd files, the others init files.
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

struct Placement {
    bool placed = false;
    uid_t uid = 0;
    gid_t gid = 0;
    bool setsMode = false;
    mode_t mode = 0;

    void set(uid_t user, gid_t group, mode_t permissions) {
        placed = setsMode = true;
        uid = user;
        gid = group;
        mode = permissions;
    }
};

bool under(const std::string& devicePath, const char* prefix) {
    return devicePath.rfind(prefix, 0) == 0;
}

bool matches(const std::string& pattern, const std::string& path) {
    return fnmatch(pattern.c_str(), path.c_str(), FNM_PATHNAME) == 0;
}

// What the kernel's drivers give a node when they create it.
void kernelDefault(const std::string& devicePath, bool isDirectory, Placement* placement) {
    if (isDirectory) return;
    if (under(devicePath, "/dev/")) placement->set(0, 0, 0600);
    if (under(devicePath, "/proc/")) {
        placement->placed = true;
        placement->uid = placement->gid = AID_SYSTEM;
    }
}

void ueventdLines(const std::string& devicePath, bool isDirectory, Placement* placement) {
    if (isDirectory) return;
    const size_t slash = devicePath.find_last_of('/');
    const std::string folder = devicePath.substr(0, slash);
    const std::string name = devicePath.substr(slash + 1);
    for (const auto& line : initFiles().permissions) {
        const bool node = line.attribute.empty() && matches(line.path, devicePath);
        const bool attribute =
                !line.attribute.empty() && line.attribute == name && matches(line.path, folder);
        if (node || attribute) placement->set(line.uid, line.gid, line.mode);
    }
}

void initActions(const std::string& devicePath, Placement* placement) {
    for (const OwnershipAction& action : initFiles().actions) {
        if (action.path != devicePath) continue;
        placement->placed = true;
        if (action.setsOwner) placement->uid = action.uid;
        if (action.setsGroup) placement->gid = action.gid;
        if (action.setsMode) {
            placement->setsMode = true;
            placement->mode = action.mode;
        }
    }
}

Placement placementOf(const std::string& devicePath, bool isDirectory) {
    Placement placement;
    kernelDefault(devicePath, isDirectory, &placement);
    ueventdLines(devicePath, isDirectory, &placement);
    initActions(devicePath, &placement);
    return placement;
}

void apply(const std::string& hostPath, const std::string& devicePath, const Placement& placement) {
    const bool kernelNode = internal::isKernelNode(devicePath);
    if (placement.setsMode && !kernelNode) __real_chmod(hostPath.c_str(), placement.mode);
    internal::record(hostPath, placement.uid, placement.gid, placement.setsMode && kernelNode,
                     placement.mode);
}

// init's mkdir makes what is missing; its parent must exist (a mount point, say).
void makeFolders(const std::string& root) {
    for (const OwnershipAction& action : initFiles().actions) {
        if (action.kind != OwnershipAction::Kind::Mkdir) continue;
        __real_mkdir((root + action.path).c_str(), action.mode);
    }
}

}  // namespace

const Credentials& credentials() {
    return initFiles().service;
}

namespace boot {

void run() {
    const std::string root = emulated::root();
    if (root.empty()) return;
    makeFolders(root);
    std::error_code error;
    for (auto it = fs::recursive_directory_iterator(root, error);
         it != fs::recursive_directory_iterator(); it.increment(error)) {
        const std::string hostPath = it->path().string();
        const std::string devicePath = hostPath.substr(root.size());
        if (devicePath.rfind("/.", 0) == 0) continue;  // the emulation's own records
        const Placement placement = placementOf(devicePath, it->is_directory(error));
        if (placement.placed) apply(hostPath, devicePath, placement);
    }
}

void place(const std::string& devicePath) {
    std::string hostPath;
    struct stat status;
    if (!internal::mapPath(devicePath.c_str(), &hostPath) ||
        __real_stat(hostPath.c_str(), &status) != 0) {
        return;
    }
    const std::string canonical = hostPath.substr(root().size());
    Placement placement = placementOf(canonical, S_ISDIR(status.st_mode));
    internal::Attributes folder;
    if (!placement.placed &&
        internal::attributesOfHost(hostPath.substr(0, hostPath.find_last_of('/')), &folder) &&
        folder.uid == credentials().uid) {
        placement.placed = true;  // the daemon made it
        placement.uid = credentials().uid;
        placement.gid = credentials().gid;
    }
    if (placement.placed) apply(hostPath, canonical, placement);
}

}  // namespace boot
}  // namespace emulated

namespace {

// A binary started on a device starts as init starts the service: the device booted, the
// service's credentials (see emulated::credentials) and umask 077.
struct InitStart {
    InitStart() {
        const char* root = std::getenv(emulated::kRootEnvironment);
        if (root == nullptr || root[0] == '\0') return;
        const emulated::InitFiles& files = emulated::initFiles();
        for (const std::string& problem : files.problems) {
            std::fprintf(stderr, "init: %s\n", problem.c_str());
        }
        if (!files.hasService) {
            std::fputs("init: no service to start in the init files\n", stderr);
            std::_Exit(1);
        }
        emulated::boot::run();
        umask(files.service.umask);
    }
};

const InitStart gInitStart;

}  // namespace
