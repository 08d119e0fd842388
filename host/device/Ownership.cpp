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

// Owners, groups and modes of the device's paths, and the kernel's permission checks for the
// daemon's credentials.

#include <errno.h>
#include <fcntl.h>
#include <linux/capability.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <sstream>
#include <string>

#include "DeviceInternal.h"
#include "RealCalls.h"
#include "zenth_host/EmulatedDevice.h"

namespace emulated {
namespace internal {
namespace {

constexpr int kRead = 4;
constexpr int kWrite = 2;
constexpr int kSearch = 1;

// Which file a record is for: its inode and, where the file system keeps it, its birth time,
// so that a record never passes to a new file that reuses the inode of a removed one.
struct Identity {
    uint64_t inode = 0;
    int64_t bornSeconds = 0;
    uint32_t bornNanoseconds = 0;

    bool operator==(const Identity& other) const {
        return inode == other.inode && bornSeconds == other.bornSeconds &&
               bornNanoseconds == other.bornNanoseconds;
    }
};

struct Record {
    Identity file;
    uid_t uid = 0;
    gid_t gid = 0;
    bool setsMode = false;
    mode_t mode = 0;
};

// Records live in the root folder, out of the daemon's sight (no device path maps there):
// one symbolic link per path, named after it, whose target is "inode born-seconds
// born-nanoseconds uid gid mode|-". A link holds its record without a write of file data, so
// no file size limit of the daemon stops it, and replacing it by rename is atomic for every
// process on the device. A record counts while the file it names lives.
constexpr const char* kRecordFolder = "/.ownership";

std::string recordName(const std::string& root, std::string devicePath) {
    std::replace(devicePath.begin(), devicePath.end(), '/', '%');
    return root + kRecordFolder + "/" + devicePath;
}

bool readRecord(const std::string& root, const std::string& devicePath, Record* record) {
    char target[128];
    const ssize_t length =
            readlink(recordName(root, devicePath).c_str(), target, sizeof(target) - 1);
    if (length <= 0) return false;
    target[length] = '\0';
    std::istringstream fields(target);
    std::string mode;
    fields >> record->file.inode >> record->file.bornSeconds >> record->file.bornNanoseconds >>
            record->uid >> record->gid >> mode;
    record->setsMode = mode != "-";
    if (record->setsMode) record->mode = static_cast<mode_t>(std::stoul(mode, nullptr, 8));
    return !fields.fail();
}

void writeRecord(const std::string& root, const std::string& devicePath, const Record& record) {
    static std::atomic<unsigned> sequence{0};
    std::ostringstream target;
    target << record.file.inode << ' ' << record.file.bornSeconds << ' '
           << record.file.bornNanoseconds << ' ' << record.uid << ' ' << record.gid << ' ';
    if (record.setsMode) {
        target << std::oct << record.mode;
    } else {
        target << '-';
    }
    __real_mkdir((root + kRecordFolder).c_str(), 0755);
    const std::string name = recordName(root, devicePath);
    const std::string fresh =
            name + "." + std::to_string(getpid()) + "." + std::to_string(sequence.fetch_add(1));
    if (symlink(target.str().c_str(), fresh.c_str()) != 0) return;
    if (rename(fresh.c_str(), name.c_str()) != 0) unlink(fresh.c_str());
}

// Follows symbolic links, as the calls it stands in for do.
bool statusOf(const std::string& hostPath, struct statx* status, Identity* identity) {
    if (statx(AT_FDCWD, hostPath.c_str(), 0, STATX_BASIC_STATS | STATX_BTIME, status) != 0) {
        return false;
    }
    *identity = {status->stx_ino, 0, 0};
    if ((status->stx_mask & STATX_BTIME) != 0) {
        identity->bornSeconds = status->stx_btime.tv_sec;
        identity->bornNanoseconds = status->stx_btime.tv_nsec;
    }
    return true;
}

bool lookUp(const std::string& root, const std::string& devicePath, struct statx* status,
            Attributes* attributes, Identity* identity) {
    if (!statusOf(root + devicePath, status, identity)) return false;
    *attributes = {0, 0, static_cast<mode_t>(status->stx_mode & 07777)};
    Record record;
    if (readRecord(root, devicePath, &record) && record.file == *identity) {
        attributes->uid = record.uid;
        attributes->gid = record.gid;
        if (record.setsMode) attributes->mode = record.mode;
    }
    return true;
}

bool lookUp(const std::string& root, const std::string& devicePath, struct statx* status,
            Attributes* attributes) {
    Identity ignored;
    return lookUp(root, devicePath, status, attributes, &ignored);
}

bool inGroup(const Credentials& who, gid_t gid) {
    return who.gid == gid || std::count(who.groups.begin(), who.groups.end(), gid) > 0;
}

// The kernel's check without CAP_DAC_OVERRIDE: the first class the process falls in decides.
int permission(const Attributes& file, bool isDirectory, int wanted) {
    const Credentials& who = credentials();
    if (who.has(CAP_DAC_OVERRIDE)) return 0;
    if (who.has(CAP_DAC_READ_SEARCH)) wanted &= isDirectory ? kWrite : ~kRead;
    int granted = file.mode & 07;
    if (who.uid == file.uid) {
        granted = (file.mode >> 6) & 07;
    } else if (inGroup(who, file.gid)) {
        granted = (file.mode >> 3) & 07;
    }
    return (granted & wanted) == wanted ? 0 : EACCES;
}

std::string parentOf(const std::string& path) {
    size_t slash = path.find_last_of('/');
    return slash == 0 || slash == std::string::npos ? "/" : path.substr(0, slash);
}

// Search permission on every folder from the device's root down to the path's parent.
// Missing folders are left to the call, which fails as the kernel would.
int searchDenied(const std::string& root, const std::string& devicePath) {
    for (size_t slash = devicePath.find('/', 1); slash != std::string::npos;
         slash = devicePath.find('/', slash + 1)) {
        struct statx status;
        Attributes folder;
        if (!lookUp(root, devicePath.substr(0, slash), &status, &folder) ||
            !S_ISDIR(status.stx_mode)) {
            return 0;
        }
        if (int error = permission(folder, true, kSearch)) return error;
    }
    return 0;
}

// Runs check(root, devicePath) after the search check; 0 for a path outside the root.
template <typename Check>
int withRecords(const std::string& hostPath, Check check) {
    const std::string currentRoot = root();
    const std::string devicePath = devicePathOf(currentRoot, hostPath);
    if (devicePath.empty()) return 0;
    if (int error = searchDenied(currentRoot, devicePath)) return error;
    return check(currentRoot, devicePath);
}

int targetDenied(const std::string& root, const std::string& devicePath, int wanted) {
    struct statx status;
    Attributes file;
    if (!lookUp(root, devicePath, &status, &file)) return 0;
    return permission(file, S_ISDIR(status.stx_mode), wanted);
}

// What a driver refuses whatever the mode: opening a node for a transfer it does not support
// (the host file's owner bits).
int driverRefuses(const std::string& devicePath, const struct statx& status, int wanted) {
    if (!isKernelNode(devicePath) || !S_ISREG(status.stx_mode)) return 0;
    if ((wanted & kRead) != 0 && (status.stx_mode & S_IRUSR) == 0) return EACCES;
    if ((wanted & kWrite) != 0 && (status.stx_mode & S_IWUSR) == 0) return EACCES;
    return 0;
}

// Records an owner unless nothing changes (boot runs at every start).
void recordOwner(const std::string& root, const std::string& devicePath, uid_t uid, gid_t gid,
                 bool setsMode, mode_t mode) {
    struct statx status;
    Attributes now;
    Identity identity;
    if (!lookUp(root, devicePath, &status, &now, &identity)) return;
    Record earlier;
    if (!setsMode && readRecord(root, devicePath, &earlier) && earlier.file == identity &&
        earlier.setsMode) {
        setsMode = true;  // a chown keeps the mode a kernel node was given
        mode = earlier.mode;
    }
    if (now.uid == uid && now.gid == gid && (!setsMode || now.mode == mode)) return;
    writeRecord(root, devicePath, {identity, uid, gid, setsMode, mode});
}

}  // namespace

bool isKernelNode(const std::string& devicePath) {
    return devicePath.rfind("/proc/", 0) == 0 || devicePath.rfind("/sys/", 0) == 0;
}

int openDenied(const std::string& hostPath, int flags) {
    return withRecords(hostPath, [flags](const std::string& root, const std::string& devicePath) {
        struct statx status;
        Attributes file;
        if (!lookUp(root, devicePath, &status, &file)) {
            if ((flags & O_CREAT) == 0) return 0;
            return targetDenied(root, parentOf(devicePath), kWrite | kSearch);
        }
        int wanted = 0;
        const int access = flags & O_ACCMODE;
        if (access == O_RDONLY || access == O_RDWR) wanted |= kRead;
        if (access == O_WRONLY || access == O_RDWR || (flags & O_TRUNC) != 0) wanted |= kWrite;
        const bool isDirectory = S_ISDIR(status.stx_mode);
        if (isDirectory && (wanted & kWrite) != 0) return 0;  // EISDIR comes first
        if (int error = permission(file, isDirectory, wanted)) return error;
        return driverRefuses(devicePath, status, wanted);
    });
}

int accessDenied(const std::string& hostPath, int mode) {
    return withRecords(hostPath, [&](const std::string& root, const std::string& devicePath) {
        int wanted = 0;
        if ((mode & R_OK) != 0) wanted |= kRead;
        if ((mode & W_OK) != 0) wanted |= kWrite;
        if ((mode & X_OK) != 0) wanted |= kSearch;
        return targetDenied(root, devicePath, wanted);
    });
}

int lookupDenied(const std::string& hostPath) {
    return withRecords(hostPath, [](const std::string&, const std::string&) { return 0; });
}

int entryChangeDenied(const std::string& hostPath) {
    return withRecords(hostPath, [](const std::string& root, const std::string& devicePath) {
        return targetDenied(root, parentOf(devicePath), kWrite | kSearch);
    });
}

int listingDenied(const std::string& hostPath) {
    return withRecords(hostPath, [](const std::string& root, const std::string& devicePath) {
        return targetDenied(root, devicePath, kRead);
    });
}

int changeMode(const std::string& hostPath, mode_t mode) {
    return withRecords(hostPath, [&](const std::string& root, const std::string& devicePath) {
        struct statx status;
        Attributes file;
        if (!lookUp(root, devicePath, &status, &file)) return ENOENT;
        if (credentials().uid != file.uid && !credentials().has(CAP_FOWNER)) return EPERM;
        if (!isKernelNode(devicePath)) {
            return __real_chmod(hostPath.c_str(), mode) == 0 ? 0 : errno;
        }
        recordOwner(root, devicePath, file.uid, file.gid, true, mode & 07777);
        return 0;
    });
}

void recordCreated(const std::string& hostPath) {
    const Credentials& who = credentials();
    gid_t gid = who.gid;
    Attributes parent;
    const std::string folder = hostPath.substr(0, hostPath.find_last_of('/'));
    if (attributesOfHost(folder, &parent) && (parent.mode & S_ISGID) != 0) gid = parent.gid;
    record(hostPath, who.uid, gid, false, 0);
}

void record(const std::string& hostPath, uid_t uid, gid_t gid, bool setsMode, mode_t mode) {
    const std::string currentRoot = root();
    const std::string devicePath = devicePathOf(currentRoot, hostPath);
    if (!devicePath.empty()) recordOwner(currentRoot, devicePath, uid, gid, setsMode, mode);
}

void forget(const std::string& hostPath) {
    const std::string currentRoot = root();
    const std::string devicePath = devicePathOf(currentRoot, hostPath);
    if (!devicePath.empty()) unlink(recordName(currentRoot, devicePath).c_str());
}

bool attributesOfHost(const std::string& hostPath, Attributes* attributes) {
    const std::string currentRoot = root();
    const std::string devicePath = devicePathOf(currentRoot, hostPath);
    struct statx status;
    return !devicePath.empty() && lookUp(currentRoot, devicePath, &status, attributes);
}

}  // namespace internal

void copyDevice(const std::string& fromRoot, const std::string& toRoot) {
    namespace fs = std::filesystem;
    using namespace internal;
    const fs::path records = fromRoot + kRecordFolder;
    fs::create_directories(toRoot);
    for (const auto& entry : fs::directory_iterator(fromRoot)) {
        if (entry.path() == records) continue;
        fs::copy(entry.path(), toRoot / entry.path().filename(),
                 fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    }
    std::error_code none;
    for (const auto& link : fs::directory_iterator(records, none)) {
        std::string devicePath = link.path().filename().string();
        std::replace(devicePath.begin(), devicePath.end(), '%', '/');
        Record record;
        struct statx status;
        Identity from, to;
        if (readRecord(fromRoot, devicePath, &record) &&
            statusOf(fromRoot + devicePath, &status, &from) && record.file == from &&
            statusOf(toRoot + devicePath, &status, &to)) {
            record.file = to;
            writeRecord(toRoot, devicePath, record);
        }
    }
}

}  // namespace emulated
