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

#pragma once

// The C library functions behind the interposed calls. The link option --wrap=X routes
// every reference to X, this library's own included, to __wrap_X; __real_X is the original.

#include <dirent.h>
#include <poll.h>
#include <stdio.h>
#include <sys/stat.h>
#include <sys/types.h>

extern "C" {
int __real_open(const char* path, int flags, ...);
int __real_open64(const char* path, int flags, ...);
int __real___open_2(const char* path, int flags);
int __real___open64_2(const char* path, int flags);
FILE* __real_fopen(const char* path, const char* mode);
FILE* __real_fopen64(const char* path, const char* mode);
int __real_access(const char* path, int mode);
int __real_stat(const char* path, struct stat* buf);
int __real_stat64(const char* path, struct stat64* buf);
int __real_lstat(const char* path, struct stat* buf);
int __real_lstat64(const char* path, struct stat64* buf);
int __real_chmod(const char* path, mode_t mode);
int __real_mkdir(const char* path, mode_t mode);
int __real_remove(const char* path);
int __real_unlink(const char* path);
int __real_rmdir(const char* path);
DIR* __real_opendir(const char* path);

int __real_poll(struct pollfd* fds, nfds_t count, int timeout);
int __real___poll_chk(struct pollfd* fds, nfds_t count, int timeout, size_t fdslen);
off_t __real_lseek(int fd, off_t offset, int whence);
off64_t __real_lseek64(int fd, off64_t offset, int whence);
ssize_t __real_read(int fd, void* buf, size_t count);
ssize_t __real_write(int fd, const void* buf, size_t count);
ssize_t __real___read_chk(int fd, void* buf, size_t count, size_t buflen);
int __real_close(int fd);
int __real_fsync(int fd);

int __real_klogctl(int action, char* buf, int length);
int __real_usleep(useconds_t usec);
}
