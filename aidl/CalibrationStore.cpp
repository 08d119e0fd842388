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

#include "CalibrationStore.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>

#include <android-base/unique_fd.h>
#include <android/log.h>

#include "MiscLogTag.h"
#include "NodeInterface.h"
#include "ReservePartition.h"
#include "zenthmisc-impl/ZenthMisc.h"

namespace aidl::vendor::zenth::hardware::misc {

namespace {

constexpr int32_t kMotorHallCalibrationType = 1000030;      // 0xF425E
constexpr int32_t kTriStateHallCalibrationType = 1000104;   // 0xF42A8
constexpr int32_t kMagneticCoverCalibrationType = 1000200;  // 0xF4308
constexpr int32_t kMaxCalibrationLength = 4096;

constexpr mode_t kPersistFileMode = 0664;
constexpr char kCalibratedFlag[] = "1";

// One sensor whose calibration lives in a persist file beside a "calibrated" flag file.
struct CalibrationFileKind {
    const char* announcement;
    const char* dataPath;
    const char* flagPath;
    const char* name;
    const char* dataName;
};

constexpr CalibrationFileKind kMagneticCoverKind = {
        "saveMagneticCoverCalibrationData ",
        kMagneticCoverDataPath,
        "/mnt/vendor/persist/engineermode/magneticCoverCalibrationFlag",
        "saveMagneticCoverCalibrationData",
        "saveMagneticCoverCalibrationData",
};

constexpr CalibrationFileKind kTriStateHallKind = {
        "saveTriCalibrationData ",
        kTriStateHallDataPath,
        "/mnt/vendor/persist/engineermode/tri_state_hall_calib_flag",
        "saveTriCalibrationData",
        "TriHallCalibrationData",
};

// Replaces the file's content with one write. Returns that write's result, or 0 when the
// file could not be opened. The explicit chmod undoes the process umask.
ssize_t writePersistFile(const char* path, const void* data, int32_t length) {
    ::android::base::unique_fd fd(open(path, O_WRONLY | O_CREAT | O_TRUNC, kPersistFileMode));
    if (!fd.ok()) {
        __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "open %s failed! err:%s", path,
                            strerror(errno));
        return 0;
    }
    int ret = chmod(path, kPersistFileMode);
    __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "chmod result ret = %d", ret);
    ssize_t count = write(fd.get(), data, static_cast<size_t>(length));
    if (count == -1) {
        __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "write failed! length:%d", length);
    }
    fsync(fd.get());
    return count;
}

bool storeCalibrationFile(const CalibrationFileKind& kind, const std::vector<uint8_t>& data,
                          int32_t length) {
    __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "%s", kind.announcement);
    ssize_t count = writePersistFile(kind.dataPath, data.data(), length);
    __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "%s write %s count = %d", kind.name,
                        kind.dataName, static_cast<int>(count));
    if (count < 1) {
        return false;
    }
    // A flag that cannot be written does not undo the stored data.
    writePersistFile(kind.flagPath, kCalibratedFlag, 1);
    return true;
}

bool storeMotorHallCalibration(const std::vector<uint8_t>& data) {
    if (!gIsReserveIntegrate) {
        __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "do nothing");
        return false;
    }
    return writeInterface(kReservePartitionPath, motorHallRecordOffset(),
                          reinterpret_cast<const char*>(data.data()), kMotorHallRecord.length) > 0;
}

bool lengthIsValid(const std::vector<uint8_t>& data, int32_t length) {
    if (length > kMaxCalibrationLength ||
        static_cast<int64_t>(data.size()) != static_cast<int64_t>(length)) {
        __android_log_print(ANDROID_LOG_ERROR, kMiscLogTag, "data size error");
        return false;
    }
    return true;
}

}  // namespace

ndk::ScopedAStatus ZenthMisc::saveCalibrationData(int32_t in_type,
                                                  const std::vector<uint8_t>& in_calibrationData,
                                                  int32_t in_length, bool* _aidl_return) {
    *_aidl_return = false;
    if (in_calibrationData.empty()) {
        __android_log_print(ANDROID_LOG_ERROR, kMiscLogTag, "invalid calibrationData");
        return ndk::ScopedAStatus::ok();
    }
    __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag,
                        "saveCalibrationData in_type = %d, in_length = %d, size = %zu", in_type,
                        in_length, in_calibrationData.size());
    if (!lengthIsValid(in_calibrationData, in_length)) {
        return ndk::ScopedAStatus::ok();
    }
    if (in_type == kMagneticCoverCalibrationType) {
        *_aidl_return = storeCalibrationFile(kMagneticCoverKind, in_calibrationData, in_length);
    } else if (in_type == kTriStateHallCalibrationType) {
        *_aidl_return = storeCalibrationFile(kTriStateHallKind, in_calibrationData, in_length);
    } else if (in_type == kMotorHallCalibrationType && in_length == kMotorHallRecord.length) {
        *_aidl_return = storeMotorHallCalibration(in_calibrationData);
    }
    return ndk::ScopedAStatus::ok();
}

}  // namespace aidl::vendor::zenth::hardware::misc
