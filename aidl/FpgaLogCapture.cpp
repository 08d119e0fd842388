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

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/klog.h>
#include <sys/stat.h>
#include <unistd.h>

#include <vector>

#include <android/log.h>

namespace aidl::vendor::zenth::hardware::misc {

namespace {

using std::chrono::steady_clock;

// At most kCapturesPerWindow dumps per kind within kExceptionWindow of the first one.
constexpr std::chrono::milliseconds kExceptionWindow{3000};
constexpr int kCapturesPerWindow = 2;

constexpr int kKlogReadAll = 3;
constexpr int kKlogSizeBuffer = 10;
// Room for lines the kernel adds between the size query and the read.
constexpr int kKlogExtraRoom = 1024;

constexpr mode_t kFpgaLogDirMode = 0766;

constexpr const char* kExceptionNames[kExceptionKindCount] = {
        "soft_rest_err",
        "hard_rest_err",
        "fault_code_record_err",
        "hard_reset_not_recovery_err",
};

// The first capture of each kind opens a window, whenever the process started.
const steady_clock::time_point kInitialWindowStart = steady_clock::now() - kExceptionWindow;

bool hasExceptionKind(unsigned long value) {
    if (value == 2 || value == 3 || value == 5) {
        return true;
    }
    // A tagged value is always far above 5.
    return isTaggedFaultValue(value);
}

int exceptionIdOf(unsigned long value) {
    return value < 6 ? static_cast<int>(value) - 2 : 2;
}

int modeNumberOf(int exception_id) {
    return exception_id + 2;
}

bool checkFpgaLogPath() {
    struct stat st;
    if (stat(kFpgaLogDir, &st) != 0) {
        if (errno != ENOENT) {
            __android_log_print(ANDROID_LOG_ERROR, nullptr, "stat %s failed: %s", kFpgaLogDir,
                                strerror(errno));
            return false;
        }
        if (mkdir(kFpgaLogDir, kFpgaLogDirMode) != 0) {
            __android_log_print(ANDROID_LOG_ERROR, nullptr, "mkdir %s failed: %s", kFpgaLogDir,
                                strerror(errno));
            return false;
        }
        return true;
    }
    if (!S_ISDIR(st.st_mode)) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "%s exists but is not a directory",
                            kFpgaLogDir);
        return false;
    }
    return true;
}

// Called with gFpgaLogMutex held, which also guards the budgets.
bool checkExceptionWithinTimeWindow(int exception_id) {
    std::unique_lock<std::mutex> windowLock(gExceptionWindowMutex);
    if (exception_id < 0 || exception_id >= kExceptionKindCount) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "Invalid exception_id: %d\n", exception_id);
        return false;
    }
    auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(
            steady_clock::now() - gExceptionWindowStart[exception_id]);
    __android_log_print(ANDROID_LOG_DEBUG, nullptr, "Elapsed time for exception_id %d: %lld ms",
                        exception_id, static_cast<long long>(elapsed.count()));
    windowLock.unlock();

    if (elapsed > kExceptionWindow) {
        std::lock_guard<std::mutex> resetLock(gExceptionWindowMutex);
        gExceptionWindowStart[exception_id] = steady_clock::now();
        gExceptionWindowBudget[exception_id] = kCapturesPerWindow - 1;
        return true;
    }
    if (gExceptionWindowBudget[exception_id] == 0) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr,
                            "checkExceptionWithinTimeWindow %d already triggered in %dms %d "
                            "times, return.",
                            modeNumberOf(exception_id), static_cast<int>(kExceptionWindow.count()),
                            kCapturesPerWindow);
        return false;
    }
    --gExceptionWindowBudget[exception_id];
    __android_log_print(ANDROID_LOG_ERROR, nullptr, "checkExceptionWithinTimeWindow %d is allow.",
                        exception_id);
    return true;
}

std::string dumpFileName(int exception_id) {
    auto now = std::chrono::system_clock::now();
    time_t seconds = std::chrono::system_clock::to_time_t(now);
    auto millis = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch());
    struct tm local;
    localtime_r(&seconds, &local);
    char stamp[32];
    strftime(stamp, sizeof(stamp), "%Y%m%d_%H%M%S", &local);
    char name[256];
    snprintf(name, sizeof(name), "%s/dmesg_%s_%03d_exception_%d_%s.log", kFpgaLogDir, stamp,
             static_cast<int>(millis.count() % 1000), modeNumberOf(exception_id),
             kExceptionNames[exception_id]);
    return name;
}

void discardDump(int fd, const std::string& path) {
    close(fd);
    if (remove(path.c_str()) != 0) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "Failed to delete file: %s", path.c_str());
    }
}

// Writes the whole kernel log ring buffer to path; true when a file was saved.
bool saveKernelLog(const std::string& path) {
    int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    if (fd < 0) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "Failed to open file %s: %s\n",
                            path.c_str(), strerror(errno));
        return false;
    }
    int size = klogctl(kKlogSizeBuffer, nullptr, 0);
    if (size < 0) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "Failed to get klogctl: %s\n",
                            strerror(errno));
        discardDump(fd, path);
        return false;
    }
    std::vector<char> buffer(static_cast<size_t>(size) + kKlogExtraRoom);
    int length = klogctl(kKlogReadAll, buffer.data(), static_cast<int>(buffer.size()));
    if (length <= 0) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "Failed to read kernel log: %s\n",
                            strerror(errno));
        discardDump(fd, path);
        return false;
    }
    // A short write or failed close goes unnoticed: the dump is best effort.
    (void)!write(fd, buffer.data(), static_cast<size_t>(length));
    close(fd);
    __android_log_print(ANDROID_LOG_DEBUG, nullptr,
                        "dmesg log saved to %s, total length: %d bytes\n", path.c_str(), length);
    return true;
}

}  // namespace

std::mutex gFpgaLogMutex;
std::mutex gExceptionWindowMutex;
std::chrono::steady_clock::time_point gExceptionWindowStart[kExceptionKindCount] = {
        kInitialWindowStart, kInitialWindowStart, kInitialWindowStart, kInitialWindowStart};
uint8_t gExceptionWindowBudget[kExceptionKindCount] = {0, 0, 0, 0};

int LogSaveFunc(unsigned long value) {
    if (!hasExceptionKind(value)) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "mode is not support err log copy");
        return -1;
    }
    int exception_id = exceptionIdOf(value);

    std::lock_guard<std::mutex> logLock(gFpgaLogMutex);
    if (!checkFpgaLogPath()) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "checkFpgaLogPath is failed.");
        return -1;
    }
    if (!checkExceptionWithinTimeWindow(exception_id)) {
        return -1;
    }
    if (saveKernelLog(dumpFileName(exception_id)) && DeleteOldLog() != 0) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "DeleteOldLog is failed.");
        return -1;
    }
    return 0;
}

}  // namespace aidl::vendor::zenth::hardware::misc
