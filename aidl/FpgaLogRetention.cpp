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

#include "ZenthFpgaInternal.h"

#include <dirent.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>

#include <algorithm>
#include <tuple>
#include <vector>

#include <android/log.h>

namespace aidl::vendor::zenth::hardware::misc {

namespace {

// The reserve file system is small: only the newest entries are kept.
constexpr size_t kMaxFpgaLogEntries = 10;

std::string entryPath(const std::string& name) {
    return std::string(kFpgaLogDir) + "/" + name;
}

// Every entry whose status can be queried counts, whatever its type.
std::vector<FileEntry> listEntries(DIR* dir) {
    std::vector<FileEntry> entries;
    while (struct dirent* entry = readdir(dir)) {
        if (strcmp(entry->d_name, ".") == 0 || strcmp(entry->d_name, "..") == 0) {
            continue;
        }
        std::string path = entryPath(entry->d_name);
        struct stat st;
        if (stat(path.c_str(), &st) != 0) {
            __android_log_print(ANDROID_LOG_ERROR, nullptr, "Failed to get file status for: %s",
                                path.c_str());
            continue;
        }
        entries.push_back(FileEntry{entry->d_name, st.st_mtim});
    }
    return entries;
}

}  // namespace

bool compareFiles(const FileEntry& a, const FileEntry& b) {
    return std::tie(a.modTime.tv_sec, a.modTime.tv_nsec) <
           std::tie(b.modTime.tv_sec, b.modTime.tv_nsec);
}

int DeleteOldLog() {
    DIR* dir = opendir(kFpgaLogDir);
    if (dir == nullptr) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "Failed to open directory: %s", kFpgaLogDir);
        return -1;
    }
    std::vector<FileEntry> entries = listEntries(dir);
    closedir(dir);

    std::sort(entries.begin(), entries.end(), compareFiles);
    // A failed removal is not made up for by removing a newer entry.
    for (size_t i = 0; i + kMaxFpgaLogEntries < entries.size(); ++i) {
        std::string path = entryPath(entries[i].fileName);
        if (remove(path.c_str()) == 0) {
            __android_log_print(ANDROID_LOG_DEBUG, nullptr, "Deleted file: %s", path.c_str());
        } else {
            __android_log_print(ANDROID_LOG_ERROR, nullptr, "Failed to delete file: %s",
                                path.c_str());
        }
    }
    return 0;
}

}  // namespace aidl::vendor::zenth::hardware::misc
