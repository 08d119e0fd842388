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

#include <string.h>
#include <unistd.h>

#include <string>
#include <vector>

#include <android/log.h>

#include "MiscLogTag.h"
#include "MiscNodeTable.h"
#include "NodeInterface.h"
#include "zenthmisc-impl/ZenthFpga.h"
#include "zenthmisc-impl/ZenthMisc.h"

namespace aidl::vendor::zenth::hardware::misc {

namespace {

// Keeps the printable characters of a reserve-partition record, closing up the gaps.
void keepPrintable(const std::vector<char>& in, std::vector<char>* out) {
    size_t next = 0;
    for (char c : in) {
        unsigned char byte = static_cast<unsigned char>(c);
        if (byte >= 0x21 && byte <= 0x7E) {
            (*out)[next++] = c;
        }
    }
}

// The text up to the first NUL, never past the end of a full buffer.
std::string boundedText(const std::vector<char>& buffer) {
    return std::string(buffer.data(), strnlen(buffer.data(), buffer.size()));
}

}  // namespace

ndk::ScopedAStatus ZenthMisc::isMiscNodeSupport(int32_t in_deviceId, int32_t in_nodeFlag,
                                                int32_t* _aidl_return) {
    __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag,
                        "isMiscNodeSupport in_deviceId = %d,in_nodeFlag = %d", in_deviceId,
                        in_nodeFlag);
    MiscNodeEntry node;
    int resolved = resolveMiscNode(in_deviceId, in_nodeFlag, &node);
    if (resolved != 0) {
        *_aidl_return = resolved;
    } else {
        // Existence only: a node the service may not open still counts as supported.
        *_aidl_return = access(node.path, F_OK) == 0 ? 1 : -1;
    }
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus ZenthMisc::miscReadNodeFile(int32_t in_deviceId, int32_t in_nodeFlag,
                                               std::string* _aidl_return) {
    __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "in_deviceId = %d,in_nodeFlag = %d",
                        in_deviceId, in_nodeFlag);
    MiscNodeEntry node;
    if (resolveMiscNode(in_deviceId, in_nodeFlag, &node) != 0) {
        _aidl_return->clear();
        return ndk::ScopedAStatus::ok();
    }
    std::vector<char> data(static_cast<size_t>(node.maxLen), 0);
    std::vector<char> filtered(static_cast<size_t>(node.maxLen), 0);
    std::string text;
    if ((in_nodeFlag & ~1) == FPGA_OP_INFO_NODE) {
        ZenthFpga fpga;
        fpga.readFpgaOpInfoEn(node.path, data.data(), in_nodeFlag);
        keepPrintable(data, &filtered);
        text = boundedText(filtered);
    } else {
        readInterface(node.path, 0, data.data(), node.maxLen);
        text = boundedText(data);
    }
    __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag, "cb_data = %s", text.c_str());
    *_aidl_return = std::move(text);
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus ZenthMisc::miscWriteNodeFile(int32_t in_deviceId, int32_t in_nodeFlag,
                                                const std::string& in_data, int32_t* _aidl_return) {
    if (in_data.empty()) {
        *_aidl_return = -1;
        return ndk::ScopedAStatus::ok();
    }
    // The node gets the text up to its first NUL.
    int len = static_cast<int>(strlen(in_data.c_str()));
    __android_log_print(ANDROID_LOG_DEBUG, kMiscLogTag,
                        "in_deviceId = %d,in_nodeFlag = %d,data = %s,len = %d", in_deviceId,
                        in_nodeFlag, in_data.c_str(), len);
    MiscNodeEntry node;
    if (resolveMiscNode(in_deviceId, in_nodeFlag, &node) != 0) {
        *_aidl_return = -1;
    } else if (in_nodeFlag == FPGA_OP_INFO_EN_NODE) {
        ZenthFpga fpga;
        *_aidl_return = fpga.writeFpgaOpInfoEn(node.path, in_data);
    } else if (in_nodeFlag == FPGA_OP_INFO_NODE) {
        // Node 288 is a view of the fault records; a plain write would land at offset 0
        // of the reserve partition.
        __android_log_print(ANDROID_LOG_ERROR, kMiscLogTag, "nodeFlag %d is read only", in_nodeFlag);
        *_aidl_return = -1;
    } else {
        *_aidl_return = writeInterface(node.path, 0, in_data.c_str(), len);
    }
    return ndk::ScopedAStatus::ok();
}

}  // namespace aidl::vendor::zenth::hardware::misc
