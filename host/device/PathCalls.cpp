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

// The C library calls that take a path, interposed so that device paths land in the root.

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdarg>
#include <cstring>
#include <string>

#include "DeviceInternal.h"
#include "RealCalls.h"
#include "zenth_host/EmulatedDevice.h"

using emulated::internal::mapPath;

namespace {

bool needsMode(int flags) {
    return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
}

mode_t modeArgument(int flags, va_list arguments) {
    return needsMode(flags) ? static_cast<mode_t>(va_arg(arguments, int)) : 0;
}

int fail(int error) {
    errno = error;
    return -1;
}

bool exists(const std::string& hostPath) {
    struct stat status;
    return __real_stat(hostPath.c_str(), &status) == 0;
}

// `creates`: O_CREAT and nothing at the path before the call.
template <typename RealOpen>
int openChecked(const std::string& mapped, int flags, mode_t mode, bool creates, RealOpen realOpen) {
    if (int error = emulated::internal::openDenied(mapped, flags)) return fail(error);
    int fd = realOpen(mapped.c_str(), flags, mode & ~emulated::credentials().umask);
    if (fd >= 0 && creates) emulated::internal::recordCreated(mapped);
    return fd;
}

// While a crash model is armed every descriptor is followed; an open that creates or
// truncates is a write-side call.
template <typename RealOpen>
int openFollowed(const std::string& mapped, int flags, mode_t mode, bool creates,
                 RealOpen realOpen) {
    using namespace emulated::internal;
    auto lock = writeSideLock();
    const bool writes = (flags & (O_CREAT | O_TRUNC)) != 0;
    if (writes) beforeWriteSide(mapped);
    int fd = openChecked(mapped, flags, mode, creates, realOpen);
    if (fd >= 0) trackDescriptor(fd, mapped);
    if (writes) {
        const bool truncates = (flags & O_TRUNC) != 0;
        const char* call = (flags & O_CREAT) == 0 ? "open O_TRUNC"
                           : truncates            ? "open O_CREAT|O_TRUNC"
                                                  : "open O_CREAT";
        afterWriteSide(call, mapped,
                       truncates || creates ? WriteEffect::Truncate : WriteEffect::Data);
    }
    return fd;
}

template <typename RealOpen>
int openMapped(const char* path, int flags, mode_t mode, RealOpen realOpen) {
    std::string mapped;
    if (!mapPath(path, &mapped)) return realOpen(path, flags, mode);
    const bool creates = (flags & O_CREAT) != 0 && !exists(mapped);
    int fd = emulated::internal::crashModelArmed()
                     ? openFollowed(mapped, flags, mode, creates, realOpen)
                     : openChecked(mapped, flags, mode, creates, realOpen);
    if (fd >= 0 && std::strcmp(path, emulated::fault_node::kPath) == 0 &&
        !emulated::internal::adoptFaultNodeDescriptor(fd)) {
        __real_close(fd);
        return fail(EMFILE);
    }
    return fd;
}

int realOpen(const char* path, int flags, mode_t mode) {
    return __real_open(path, flags, mode);
}

int realOpen64(const char* path, int flags, mode_t mode) {
    return __real_open64(path, flags, mode);
}

// The open flags of an fopen mode; -1 for a mode fopen refuses.
int fopenFlags(const char* mode) {
    if (std::strchr("rwa", mode[0]) == nullptr || mode[0] == '\0') return -1;
    int flags =
            mode[0] == 'r' ? O_RDONLY : O_WRONLY | O_CREAT | (mode[0] == 'w' ? O_TRUNC : O_APPEND);
    if (std::strchr(mode, '+') != nullptr) flags = (flags & ~O_ACCMODE) | O_RDWR;
    if (std::strchr(mode, 'x') != nullptr) flags |= O_EXCL;
    if (std::strchr(mode, 'e') != nullptr) flags |= O_CLOEXEC;
    return flags;
}

// One path argument, no descriptor: map, check, call.
template <typename Denied, typename Call>
auto withPath(const char* path, Denied denied, Call call) {
    std::string mapped;
    if (!mapPath(path, &mapped)) return call(path);
    if (int error = denied(mapped)) {
        errno = error;
        return decltype(call(path))(-1);
    }
    return call(mapped.c_str());
}

template <typename Remove>
int removeMapped(const char* name, const char* path, Remove realRemove) {
    using namespace emulated::internal;
    std::string mapped;
    if (!mapPath(path, &mapped)) return realRemove(path);
    return writeSide(name, mapped, WriteEffect::Entry, [&] {
        if (int error = entryChangeDenied(mapped)) return fail(error);
        if (realRemove(mapped.c_str()) != 0) return -1;
        forget(mapped);
        return 0;
    });
}

}  // namespace

extern "C" {

int __wrap_open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    mode_t mode = modeArgument(flags, arguments);
    va_end(arguments);
    return openMapped(path, flags, mode, realOpen);
}

int __wrap_open64(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    mode_t mode = modeArgument(flags, arguments);
    va_end(arguments);
    return openMapped(path, flags, mode, realOpen64);
}

int __wrap___open_2(const char* path, int flags) {
    return openMapped(path, flags, 0, realOpen);
}

int __wrap___open64_2(const char* path, int flags) {
    return openMapped(path, flags, 0, realOpen64);
}

// Opened as open opens, so that it gets the same checks and records, then handed to stdio.
FILE* __wrap_fopen(const char* path, const char* mode) {
    std::string mapped;
    if (!mapPath(path, &mapped)) return __real_fopen(path, mode);
    const int flags = fopenFlags(mode);
    if (flags < 0) {
        errno = EINVAL;
        return nullptr;
    }
    const bool creates = (flags & O_CREAT) != 0 && !exists(mapped);
    int fd = openChecked(mapped, flags, 0666, creates, realOpen);
    if (fd < 0) return nullptr;
    FILE* file = fdopen(fd, mode);
    if (file == nullptr) {
        const int error = errno;
        __real_close(fd);
        errno = error;
    }
    return file;
}

FILE* __wrap_fopen64(const char* path, const char* mode) {
    return __wrap_fopen(path, mode);
}

int __wrap_access(const char* path, int mode) {
    return withPath(
            path,
            [mode](const std::string& mapped) {
                return mode == F_OK ? emulated::internal::lookupDenied(mapped)
                                    : emulated::internal::accessDenied(mapped, mode);
            },
            [mode](const char* p) { return __real_access(p, mode); });
}

int __wrap_stat(const char* path, struct stat* buf) {
    return withPath(path, emulated::internal::lookupDenied,
                    [buf](const char* p) { return __real_stat(p, buf); });
}

int __wrap_stat64(const char* path, struct stat64* buf) {
    return withPath(path, emulated::internal::lookupDenied,
                    [buf](const char* p) { return __real_stat64(p, buf); });
}

int __wrap_lstat(const char* path, struct stat* buf) {
    return withPath(path, emulated::internal::lookupDenied,
                    [buf](const char* p) { return __real_lstat(p, buf); });
}

int __wrap_lstat64(const char* path, struct stat64* buf) {
    return withPath(path, emulated::internal::lookupDenied,
                    [buf](const char* p) { return __real_lstat64(p, buf); });
}

int __wrap_chmod(const char* path, mode_t mode) {
    using namespace emulated::internal;
    std::string mapped;
    if (!mapPath(path, &mapped)) return __real_chmod(path, mode);
    return writeSide("chmod", mapped, WriteEffect::Data, [&] {
        int error = changeMode(mapped, mode);
        return error == 0 ? 0 : fail(error);
    });
}

int __wrap_mkdir(const char* path, mode_t mode) {
    using namespace emulated::internal;
    std::string mapped;
    if (!mapPath(path, &mapped)) return __real_mkdir(path, mode);
    return writeSide("mkdir", mapped, WriteEffect::Entry, [&] {
        if (int error = entryChangeDenied(mapped)) return fail(error);
        if (__real_mkdir(mapped.c_str(), mode & ~emulated::credentials().umask) != 0) return -1;
        recordCreated(mapped);
        return 0;
    });
}

int __wrap_remove(const char* path) {
    return removeMapped("remove", path, __real_remove);
}

int __wrap_unlink(const char* path) {
    return removeMapped("unlink", path, __real_unlink);
}

int __wrap_rmdir(const char* path) {
    return removeMapped("rmdir", path, __real_rmdir);
}

DIR* __wrap_opendir(const char* path) {
    std::string mapped;
    if (!mapPath(path, &mapped)) return __real_opendir(path);
    if (int error = emulated::internal::listingDenied(mapped)) {
        errno = error;
        return nullptr;
    }
    return __real_opendir(mapped.c_str());
}

}  // extern "C"
