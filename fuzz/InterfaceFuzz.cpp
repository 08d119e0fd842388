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

// Drives the five interface methods with arbitrary arguments against the emulated device. Every
// input: no crash, OK status, no descriptor left open, and the reserve partition changed only where
// a call may write it.

#include <fuzzer/FuzzedDataProvider.h>
#include <zenth_host/EmulatedDevice.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <zenth_host/DeviceTree.h>
#include <zenth_host/host_log.h>

#include "FuzzSupport.h"
#include "MiscNodeTable.h"
#include "ReservePartition.h"
#include "zenthmisc-impl/ZenthMisc.h"

namespace {

namespace misc = aidl::vendor::zenth::hardware::misc;

constexpr int kCallsPerInput = 8;
constexpr int32_t kMotorType = 1000030;
constexpr int32_t kTypes[] = {kMotorType, 1000104, 1000200};
constexpr size_t kMaxText = 300;
constexpr size_t kMaxCalibration = 4100;

struct Harness {
    zenth_host::ScratchDevice device{"/dev/shm"};
    std::shared_ptr<misc::ZenthMisc> service;
    std::unique_ptr<fuzz::PartitionWatch> partition;
    std::vector<int32_t> flags;

    Harness() {
        device.buildSamplePhone();
        zenth_host::useLogger(zenth_host::Logger::NoOp);
        service = ndk::SharedRefBase::make<misc::ZenthMisc>();
        partition =
                std::make_unique<fuzz::PartitionWatch>(device.hostPath(misc::kReservePartitionPath));
        for (const auto& row : misc::gMiscNodeTable) flags.push_back(row.nodeFlag);
    }
};

// Built on the first input; its destruction at exit removes the device folder.
Harness& harness() {
    static Harness instance;
    return instance;
}

int32_t pickFlag(FuzzedDataProvider& input) {
    if (!input.ConsumeBool()) return input.ConsumeIntegral<int32_t>();
    return harness().flags[input.ConsumeIntegralInRange<size_t>(0, harness().flags.size() - 1)];
}

int32_t pickType(FuzzedDataProvider& input) {
    if (input.ConsumeBool()) return input.ConsumeIntegral<int32_t>();
    return kTypes[input.ConsumeIntegralInRange<size_t>(0, std::size(kTypes) - 1)];
}

ndk::ScopedAStatus writeNode(FuzzedDataProvider& input, int32_t deviceId, int32_t flag) {
    std::string data = input.ConsumeRandomLengthString(kMaxText);
    int32_t result = 0;
    if (flag == misc::FPGA_OP_INFO_EN_NODE)
        harness().partition->allow(misc::kFpgaEnableInfoOffset, misc::kFpgaEnableInfoArea.length);
    auto status = harness().service->miscWriteNodeFile(deviceId, flag, data, &result);
    if (flag == misc::FPGA_OP_INFO_NODE) fuzz::require(result == -1, "node 288 writes refused");
    return status;
}

ndk::ScopedAStatus saveCalibration(FuzzedDataProvider& input) {
    const int32_t type = pickType(input);
    auto bytes =
            input.ConsumeBytes<uint8_t>(input.ConsumeIntegralInRange<size_t>(0, kMaxCalibration));
    const int32_t length = input.ConsumeBool() ? static_cast<int32_t>(bytes.size())
                                               : input.ConsumeIntegral<int32_t>();
    if (type == kMotorType) {
        harness().partition->allow(misc::kMotorHallRecord.emmcOffset, misc::kMotorHallRecord.length);
    }
    bool saved = false;
    return harness().service->saveCalibrationData(type, bytes, length, &saved);
}

ndk::ScopedAStatus callOne(FuzzedDataProvider& input) {
    const int method = input.ConsumeIntegralInRange(0, 4);
    const int32_t deviceId = input.ConsumeBool() ? 0 : input.ConsumeIntegral<int32_t>();
    const int32_t flag = pickFlag(input);
    int32_t number = 0;
    std::string text;
    switch (method) {
        case 0: {
            misc::ZenthMiscStatus status;
            return harness().service->initialize(&status);
        }
        case 1:
            return harness().service->isMiscNodeSupport(deviceId, flag, &number);
        case 2:
            return harness().service->miscReadNodeFile(deviceId, flag, &text);
        case 3:
            return writeNode(input, deviceId, flag);
        default:
            return saveCalibration(input);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider input(data, size);
    harness();  // its own descriptors are open before the count
    const int freeBefore = fuzz::lowestFreeDescriptor();
    for (int i = 0; i < kCallsPerInput && input.remaining_bytes() > 0; ++i) {
        fuzz::require(callOne(input).isOk(), "status OK");
    }
    fuzz::require(fuzz::lowestFreeDescriptor() == freeBefore, "no descriptor left open");
    harness().partition->check();
    emulated::reset();  // the emulation's fsync record would grow with every input
    return 0;
}
