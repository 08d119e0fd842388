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

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <cstdint>

#include <android/log.h>

#include "MiscNodeTable.h"
#include "NodeInterface.h"
#include "ReservePartition.h"
#include "ZenthFpgaInternal.h"

namespace aidl::vendor::zenth::hardware::misc {

std::mutex gFpgaOpInfoMutex;

namespace {

constexpr long kCountLimit = 99999999999L;

// Fault code: bits 54..0 of a tagged value, big-endian after the "ec:" key.
constexpr unsigned long kFaultCodeMask = ~kFaultTagMask;

// Node view of node flag 288: the fields from "up" on, less the last 8 bytes.
constexpr int kOpInfoViewOffset = fpgaOpInfoFieldOffset(kFpgaUpField);
constexpr int kOpInfoViewSize = kFpgaOpInfoViewLength;
constexpr size_t kViewCodeStart = kOpRecordOffset - kOpInfoViewOffset + kFaultCodePos;  // 83
constexpr size_t kViewCodeEnd = kViewCodeStart + kFaultCodeSize;                        // 90
constexpr size_t kViewShiftedBytes = 16;
constexpr size_t kViewShift = 2;
constexpr size_t kCodeTextSize = 32;
// A 55-bit code is at most 14 hexadecimal digits; with its NUL and the moved bytes, the
// rewritten view stays inside the buffer the node table sizes.
constexpr size_t kLongestCodeText = 14 + 1;
static_assert(kViewCodeEnd + kViewShift + kViewShiftedBytes <= static_cast<size_t>(kOpInfoViewSize));
static_assert(kViewCodeStart + kLongestCodeText <= static_cast<size_t>(kOpInfoViewSize));
// Formatting the code can neither fail nor be cut short.
static_assert(kLongestCodeText <= kCodeTextSize);

// Enable-info area: header, then the "sr" and the "hr" info text.
constexpr int kEnableHeaderOffset = kFpgaEnableInfoOffset;
constexpr int kEnableSrOffset = kEnableHeaderOffset + kCounterFieldSize;
constexpr int kEnableHrOffset = kEnableSrOffset + kCounterFieldSize;
static_assert(kEnableHrOffset + kCounterFieldSize ==
              kFpgaEnableInfoOffset + kFpgaEnableInfoArea.length);
constexpr char kEnableHeader[kCounterFieldSize] = "fpga_op_info_e";  // two NULs after the name
constexpr int kEnableViewSize = kFpgaOpInfoEnViewLength;

unsigned long long readBigEndian(const char* bytes, int size) {
    unsigned long long result = 0;
    for (int i = 0; i < size; ++i) {
        result = (result << 8) | static_cast<uint8_t>(bytes[i]);
    }
    return result;
}

void bumpCount(char* record, const CountField& field) {
    long count = strtol(record + field.pos, nullptr, 10);
    if (count < 0) {
        count = 0;
    } else if (count < kCountLimit) {
        ++count;
    } else {
        count = kCountLimit;
    }
    snprintf(record + field.pos, field.size, "%ld", count);
}

void storeFaultCode(char* record, unsigned long value) {
    unsigned long code = value & kFaultCodeMask;
    for (int i = kFaultCodeSize - 1; i >= 0; --i) {
        record[kFaultCodePos + i] = static_cast<char>(code & 0xFF);
        code >>= 8;
    }
}

// Replaces the raw fault code of a node-288 view by its hexadecimal text.
void getFpgaOpEcData(char* cb_data) {
    __android_log_print(ANDROID_LOG_DEBUG, nullptr, "getFpgaOpEcData start:%zu, end:%zu\n",
                        kViewCodeStart, kViewCodeEnd);
    unsigned long long code = readBigEndian(cb_data + kViewCodeStart, kFaultCodeSize);
    __android_log_print(ANDROID_LOG_DEBUG, nullptr, "read_data_ec = 0x%llx", code);
    if (code == 0) {
        __android_log_print(ANDROID_LOG_DEBUG, nullptr, "getFpgaOpEcData is 0");
    }
    char text[kCodeTextSize] = {};
    int len = snprintf(text, sizeof(text), "%llx", code);
    __android_log_print(ANDROID_LOG_DEBUG, nullptr, "getFpgaOpEcData len=%d, temp_buffer=%s", len,
                        text);
    // The text can be longer than the raw code: the bytes after the code move up by two
    // before the text is copied in.
    memmove(cb_data + kViewCodeEnd + kViewShift, cb_data + kViewCodeEnd, kViewShiftedBytes);
    memcpy(cb_data + kViewCodeStart, text, static_cast<size_t>(len) + 1);
}

// Places the 16-character working copy in its field, writing the header first if missing.
int writeEnableInfo(const char* path, const std::string& work) {
    // One spare byte keeps the header text terminated for the log line.
    char header[kCounterFieldSize + 1] = {};
    int got = readInterface(path, kEnableHeaderOffset, header, static_cast<int>(sizeof(header)) - 1);
    __android_log_print(ANDROID_LOG_DEBUG, nullptr,
                        "writeFpgaOpInfo readInterface first cb_data = %s", header);

    int target;
    if (work.find("sr") != std::string::npos) {
        target = kEnableSrOffset;
    } else if (work.find("hr") != std::string::npos) {
        target = kEnableHrOffset;
    } else {
        // A text naming neither field has nowhere to go; the area stays as it is.
        __android_log_print(ANDROID_LOG_ERROR, nullptr,
                            "writeFpgaOpInfo info = %s has neither sr nor hr", work.c_str());
        return -1;
    }

    if (got >= 1 && memcmp(header, kEnableHeader, kCounterFieldSize) == 0) {
        __android_log_print(ANDROID_LOG_DEBUG, nullptr, "writeFpgaOpInfo info = %s", work.c_str());
    } else if (writeInterface(path, kEnableHeaderOffset, kEnableHeader, kCounterFieldSize) < 1) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr,
                            "writeFpgaOpInfo first writeInterface failed");
        return -1;
    } else {
        __android_log_print(ANDROID_LOG_DEBUG, nullptr, "writeFpgaOpInfo first Info = %s",
                            work.c_str());
    }
    return writeInterface(path, target, work.data(),
                          static_cast<int>(strnlen(work.data(), kCounterFieldSize)));
}

}  // namespace

int fpgaOpWrite(unsigned long value) {
    const CountField* count = nullptr;
    if (value >= 1 && value <= 3) {
        count = &kCountFields[value - 1];
    } else if (!isTaggedFaultValue(value)) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "mode is not support");
        return -1;
    }

    // One spare byte keeps the record's texts terminated for the log line.
    char record[kOpRecordSize + 1] = {};
    int written;
    {
        std::lock_guard<std::mutex> lock(gFpgaOpInfoMutex);
        int got = readInterface(kReservePartitionPath, kOpRecordOffset, record, kOpRecordSize);
        if (got < 0) {
            __android_log_print(ANDROID_LOG_ERROR, nullptr, "readInterface %s error",
                                kReservePartitionPath);
            return -1;
        }
        __android_log_print(ANDROID_LOG_DEBUG, nullptr, "fpgaOpWrite: %s %s %s ec:0x%llx count:%d",
                            record, record + kCounterFieldSize, record + 2 * kCounterFieldSize,
                            readBigEndian(record + kFaultCodePos, kFaultCodeSize), got);
        if (count != nullptr) {
            bumpCount(record, *count);
        } else {
            storeFaultCode(record, value);
        }
        written = writeInterface(kReservePartitionPath, kOpRecordOffset, record, kOpRecordSize);
    }
    if (written < 0) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "Failed to write partition file");
        return -1;
    }
    return 0;
}

int ZenthFpga::readFpgaOpInfoEn(const char* path, char* cb_data, int nodeFlag) {
    int count;
    if (nodeFlag == FPGA_OP_INFO_NODE) {
        __android_log_print(ANDROID_LOG_DEBUG, nullptr, "FPGA_OP_INFO_NODE");
        count = readInterface(path, kOpInfoViewOffset, cb_data, kOpInfoViewSize);
    } else {
        __android_log_print(ANDROID_LOG_DEBUG, nullptr, "FPGA_OP_INFO_EN_NODE");
        count = readInterface(path, kEnableSrOffset, cb_data, kEnableViewSize);
    }
    __android_log_print(ANDROID_LOG_DEBUG, nullptr, "count = %d", count);
    if (nodeFlag == FPGA_OP_INFO_NODE) {
        // The code text is placed even when the read failed.
        getFpgaOpEcData(cb_data);
    }
    return count;
}

int ZenthFpga::writeFpgaOpInfoEn(const char* path, const std::string& info) {
    std::string work = info;
    work.resize(kCounterFieldSize, '\0');
    int result = writeEnableInfo(path, work);
    __android_log_print(ANDROID_LOG_DEBUG, nullptr, "writeFpgaOpInfo count = %d", result);
    return result;
}

}  // namespace aidl::vendor::zenth::hardware::misc
