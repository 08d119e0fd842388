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

// The host's side of the service fuzzer (its source is the device's, aidl/fuzzer.cpp), wrapped
// around each input and each transaction at link time: the sample phone it runs on, and what
// must hold. No descriptor is left open; the reserve partition changes only where the call may
// write it (node 289's enable-info area, the motor record by motor calibration); the service
// answers OK, and refuses every write of node 288.

#include <android/binder_parcel_utils.h>
#include <zenth_host/EmulatedDevice.h>

#include <cstdint>
#include <string>

#include <aidl/vendor/zenth/hardware/misc/IZenthMisc.h>

#include "FuzzSupport.h"
#include "MiscNodeTable.h"
#include "ReservePartition.h"

namespace {

namespace misc = aidl::vendor::zenth::hardware::misc;
using misc::IZenthMisc;

constexpr int32_t kMotorType = 1000030;

// A request as the service reads it: its method (0 when the interface token is not the
// service's) and the argument that says where the call may write: a write's node flag, a
// calibration's type.
struct Request {
    transaction_code_t method = 0;
    int32_t key = 0;

    bool asks(transaction_code_t code, int32_t value) const {
        return method == code && key == value;
    }
};

Request readRequest(transaction_code_t code, const AParcel* in) {
    Request request;
    std::string token;
    int32_t deviceId = 0;
    if (AParcel_setDataPosition(in, 0) == STATUS_OK &&
        ndk::AParcel_readString(in, &token) == STATUS_OK && token == IZenthMisc::descriptor) {
        request.method = code;
        if (code == IZenthMisc::TRANSACTION_miscWriteNodeFile) AParcel_readInt32(in, &deviceId);
        AParcel_readInt32(in, &request.key);
    }
    AParcel_setDataPosition(in, 0);
    return request;
}

// The reply of a call the service answered.
void checkReply(const Request& request, const AParcel* out) {
    ndk::ScopedAStatus status;
    fuzz::require(AParcel_readStatusHeader(out, status.getR()) == STATUS_OK && status.isOk(),
                  "status OK");
    int32_t result = 0;
    if (request.asks(IZenthMisc::TRANSACTION_miscWriteNodeFile, misc::FPGA_OP_INFO_NODE)) {
        fuzz::require(AParcel_readInt32(out, &result) == STATUS_OK && result == -1,
                      "node 288 writes refused");
    }
    AParcel_setDataPosition(out, 0);
}

}  // namespace

extern "C" binder_status_t __real_AIBinder_transact(AIBinder* binder, transaction_code_t code,
                                                    AParcel** in, AParcel** out,
                                                    binder_flags_t flags);
extern "C" int __real_LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

extern "C" binder_status_t __wrap_AIBinder_transact(AIBinder* binder, transaction_code_t code,
                                                    AParcel** in, AParcel** out,
                                                    binder_flags_t flags) {
    const Request request = readRequest(code, *in);
    if (request.asks(IZenthMisc::TRANSACTION_miscWriteNodeFile, misc::FPGA_OP_INFO_EN_NODE)) {
        fuzz::phone().partition->allow(misc::kFpgaEnableInfoOffset,
                                       misc::kFpgaEnableInfoArea.length);
    }
    if (request.asks(IZenthMisc::TRANSACTION_saveCalibrationData, kMotorType)) {
        fuzz::phone().partition->allow(misc::kMotorHallRecord.emmcOffset,
                                       misc::kMotorHallRecord.length);
    }
    const binder_status_t status = __real_AIBinder_transact(binder, code, in, out, flags);
    fuzz::phone().partition->check();
    if (status == STATUS_OK && request.method != 0) checkReply(request, *out);
    return status;
}

extern "C" int __wrap_LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::phone();  // its own descriptors are open before the count
    const int freeBefore = fuzz::lowestFreeDescriptor();
    const int result = __real_LLVMFuzzerTestOneInput(data, size);
    fuzz::require(fuzz::lowestFreeDescriptor() == freeBefore, "no descriptor left open");
    fuzz::phone().partition->check();
    emulated::reset();  // the emulation's fsync record would grow with every input
    return result;
}
