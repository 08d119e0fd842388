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

#include "zenthmisc-impl/ZenthFpga.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <string.h>
#include <unistd.h>

#include <cstdint>

#include <android-base/unique_fd.h>
#include <android/log.h>

#include "DetachedThread.h"
#include "ZenthFpgaInternal.h"

namespace aidl::vendor::zenth::hardware::misc {

namespace {

// The driver makes this node readable for each fault; its first 8 bytes hold the fault value.
constexpr const char* kFaultNodePath = "/proc/fpga/errinfoto_op";

enum class WaitResult { kReadable, kRetry, kFatal };

WaitResult waitReadable(struct pollfd* pfd) {
    pfd->revents = 0;
    int ret = poll(pfd, 1, -1);
    if (ret == 0) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "poll timeout");
        return WaitResult::kRetry;
    }
    if (ret < 0) {
        if (errno == EINTR) {
            return WaitResult::kRetry;
        }
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "poll error");
        return WaitResult::kFatal;
    }
    if ((pfd->revents & POLLIN) == 0) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "poll revents error %d ,%d", ret,
                            pfd->events);
        return WaitResult::kRetry;
    }
    return WaitResult::kReadable;
}

// Runs until the node fails; every value read is handed to both consumers.
void watchFaultNode(int fd) {
    struct pollfd pfd = {fd, POLLIN, 0};
    uint64_t value = 0;
    for (;;) {
        WaitResult waited = waitReadable(&pfd);
        if (waited == WaitResult::kRetry) {
            continue;
        }
        if (waited == WaitResult::kFatal) {
            return;
        }
        if (lseek(fd, 0, SEEK_SET) == -1) {
            __android_log_print(ANDROID_LOG_ERROR, nullptr, "%s Lseek err:%s", kFaultNodePath,
                                strerror(errno));
            return;
        }
        ssize_t count = read(fd, &value, sizeof(value));
        if (count < 0) {
            if (errno == EINTR) {
                continue;
            }
            __android_log_print(ANDROID_LOG_ERROR, nullptr, "buf read err");
            return;
        }
        __android_log_print(ANDROID_LOG_DEBUG, nullptr, "poll value = 0x%llx ret:%d\r\n",
                            static_cast<unsigned long long>(value), static_cast<int>(count));
        // Detached so that a slow consumer never holds up the next read of the fault node.
        startDetachedThread(fpgaOpWrite, static_cast<unsigned long>(value));
        startDetachedThread(LogSaveFunc, static_cast<unsigned long>(value));
        // A short read of the next event must leave the missing high-order bytes 0.
        value = 0;
    }
}

}  // namespace

ZenthFpga::ZenthFpga() {
    __android_log_print(ANDROID_LOG_DEBUG, nullptr, "ZenthFpga::ZenthFpga\n");
}

ZenthFpga::~ZenthFpga() {
    __android_log_print(ANDROID_LOG_DEBUG, nullptr, "ZenthFpga::~ZenthFpga\n");
}

void ZenthFpga::startFpgaThread() {
    // Devices without the node have no FPGA fault reporting.
    if (access(kFaultNodePath, F_OK) != 0) {
        return;
    }
    __android_log_print(ANDROID_LOG_DEBUG, nullptr, "startFpgaThread come in start");
    startDetachedThread(fpgaWriteOpFunc);
    __android_log_print(ANDROID_LOG_DEBUG, nullptr, "startFpgaThread come end");
}

int fpgaWriteOpFunc() {
    __android_log_print(ANDROID_LOG_DEBUG, nullptr, "fpgaWriteOpFunc come in");
    ::android::base::unique_fd fd(open(kFaultNodePath, O_RDONLY));
    if (!fd.ok()) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "Can't open file %s", kFaultNodePath);
        return -1;
    }
    watchFaultNode(fd.get());
    return -1;
}

}  // namespace aidl::vendor::zenth::hardware::misc
