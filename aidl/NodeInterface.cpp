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

#include "NodeInterface.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include <android-base/unique_fd.h>
#include <android/log.h>

#include "MiscLogTag.h"

namespace aidl::vendor::zenth::hardware::misc {

int readInterface(const char* path, int offset, void* buffer, int length) {
    ::android::base::unique_fd fd(open(path, O_RDONLY));
    if (!fd.ok()) {
        __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "open %s failed! err:%s", path,
                            strerror(errno));
        return -1;
    }
    if (lseek(fd.get(), static_cast<off_t>(offset), SEEK_SET) == -1) {
        __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "read failed! size:%d", -1);
        return -1;
    }
    ssize_t count = read(fd.get(), buffer, static_cast<size_t>(length));
    if (count == -1) {
        __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "read no content! size:%d", -1);
        return -1;
    }
    return static_cast<int>(count);
}

int writeInterface(const char* path, int offset, const char* buffer, int length) {
    ::android::base::unique_fd fd(open(path, O_WRONLY));
    if (!fd.ok()) {
        __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "open %s failed! err:%s", path,
                            strerror(errno));
        return -1;
    }
    if (lseek(fd.get(), static_cast<off_t>(offset), SEEK_SET) == -1) {
        __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "lseek failed! size:%d", -1);
        return -1;
    }
    ssize_t count = write(fd.get(), buffer, static_cast<size_t>(length));
    if (count != -1) {
        __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "write %d bytes",
                            static_cast<int>(count));
        fsync(fd.get());
    } else {
        __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "write failed! size:%d", -1);
    }
    return static_cast<int>(count);
}

}  // namespace aidl::vendor::zenth::hardware::misc
