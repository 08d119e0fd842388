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

#include "LoadCalls.h"

#include <climits>
#include <cstring>

namespace bench::load {

namespace {

using aidl::vendor::zenth::hardware::misc::IZenthMisc;
using aidl::vendor::zenth::hardware::misc::ZenthMiscStatus;
using Bytes = std::vector<uint8_t>;

constexpr int32_t kMotorType = 1000030;
constexpr int32_t kTriStateType = 1000104;
constexpr int32_t kMagneticCoverType = 1000200;
constexpr int32_t kMaxCalibration = 4096;
constexpr int32_t kAnyNegative = INT_MIN;  // expected write result: refused, whatever the value

// The reserve partition's own rows: the fault records' view and the enable-info texts.
constexpr int32_t kFaultView = 288;
constexpr int32_t kEnableInfo = 289;

Bytes bytesOf(const std::string& text) {
    return Bytes(text.begin(), text.end());
}

Bytes motorRecord(size_t size) {
    Bytes record(sizeof(kSavedMotorValues));
    std::memcpy(record.data(), kSavedMotorValues, record.size());
    record.resize(size, 0);
    return record;
}

LoadCall initialize() {
    return {"initialize", true, [](IZenthMisc& misc) {
                ZenthMiscStatus status;
                return misc.initialize(&status).isOk();
            }};
}

LoadCall support(const char* name, bool valid, int32_t deviceId, int32_t flag, int32_t expected) {
    return {name, valid, [=](IZenthMisc& misc) {
                int32_t answer = 0;
                return misc.isMiscNodeSupport(deviceId, flag, &answer).isOk() && answer == expected;
            }};
}

LoadCall read(const char* name, bool valid, int32_t deviceId, int32_t flag,
              std::function<bool(const std::string&)> expected) {
    return {name, valid, [=](IZenthMisc& misc) {
                std::string text = "stale";
                return misc.miscReadNodeFile(deviceId, flag, &text).isOk() && expected(text);
            }};
}

std::function<bool(const std::string&)> is(std::vector<std::string> texts) {
    return [texts](const std::string& text) {
        for (const auto& allowed : texts) {
            if (text == allowed) return true;
        }
        return false;
    };
}

LoadCall write(const char* name, bool valid, int32_t deviceId, int32_t flag, std::string data,
               int32_t expected) {
    return {name, valid, [=](IZenthMisc& misc) {
                int32_t written = INT32_MAX;
                if (!misc.miscWriteNodeFile(deviceId, flag, data, &written).isOk()) return false;
                return expected == kAnyNegative ? written < 0 : written == expected;
            }};
}

LoadCall save(const char* name, bool valid, int32_t type, Bytes data, int32_t length) {
    return {name, valid, [=](IZenthMisc& misc) {
                bool saved = !valid;
                return misc.saveCalibrationData(type, data, length, &saved).isOk() && saved == valid;
            }};
}

std::vector<LoadCall> makeCalls() {
    const std::string enableSr = kEnableSrText;
    const std::string enableHr = kEnableHrText;
    const std::string nul(1, '\0');
    const Bytes three = {'1', ';', '2'};
    const Bytes eight = bytesOf("abcdefgh");
    const Bytes oversize(kMaxCalibration + 1, '7');
    return {
            // Valid: each result is known on the sample phone, whatever the others did.
            initialize(),
            support("isMiscNodeSupport(0, 185)", true, 0, kWrittenNode, 1),
            support("isMiscNodeSupport(0, 289)", true, 0, kEnableInfo, 1),
            support("isMiscNodeSupport(0, 82), a directory", true, 0, 82, 1),
            read("miscReadNodeFile(0, 40)", true, 0, 40, is({"0\n"})),
            read("miscReadNodeFile(0, 146), 20480-byte node", true, 0, 146,
                 is({"press_irq:0 i2c_err:0\n"})),
            read("miscReadNodeFile(0, 288)", true, 0, kFaultView,
                 [](const std::string& text) { return text.rfind("up:37rb:", 0) == 0; }),
            // Only the valid writes below reach the enable-info texts.
            read("miscReadNodeFile(0, 289)", true, 0, kEnableInfo,
                 is({"", enableSr, enableHr, enableSr + enableHr})),
            write("miscWriteNodeFile(0, 185, 1)", true, 0, kWrittenNode, "1", 1),
            write("miscWriteNodeFile(0, 289, sr)", true, 0, kEnableInfo, enableSr, 4),
            write("miscWriteNodeFile(0, 289, hr)", true, 0, kEnableInfo, enableHr, 4),
            save("saveCalibrationData(motor, 24 bytes)", true, kMotorType, motorRecord(24), 24),
            save("saveCalibrationData(tri-state)", true, kTriStateType, bytesOf(kSavedTriStateData),
                 static_cast<int32_t>(strlen(kSavedTriStateData))),

            // Node flags outside the table.
            support("isMiscNodeSupport(0, 0)", false, 0, 0, -1),
            support("isMiscNodeSupport(5, 322)", false, 5, 322, -1),
            support("isMiscNodeSupport(0, INT_MIN)", false, 0, INT_MIN, -1),
            read("miscReadNodeFile(0, 1000)", false, 0, 1000, is({""})),
            read("miscReadNodeFile(0, -1)", false, 0, -1, is({""})),
            write("miscWriteNodeFile(0, 322)", false, 0, 322, "1", -1),
            write("miscWriteNodeFile(0, INT_MAX)", false, 0, INT_MAX, enableSr, -1),
            // Negative device ids: instance paths that do not exist.
            support("isMiscNodeSupport(-3, 400)", false, -3, 400, -1),
            read("miscReadNodeFile(-1, 185)", false, -1, kWrittenNode, is({""})),
            read("miscReadNodeFile(-7, 289)", false, -7, kEnableInfo, is({""})),
            // A failed record read still yields the fault code's text.
            read("miscReadNodeFile(-7, 288)", false, -7, kFaultView, is({"0"})),
            write("miscWriteNodeFile(-2, 185)", false, -2, kWrittenNode, "1", -1),
            write("miscWriteNodeFile(INT_MIN, 289)", false, INT_MIN, kEnableInfo, enableSr, -1),
            // The reserve partition written as a node.
            write("miscWriteNodeFile(0, 288)", false, 0, kFaultView, "1", -1),
            write("miscWriteNodeFile(0, 289) naming neither field", false, 0, kEnableInfo, "xx:1",
                  kAnyNegative),
            write("miscWriteNodeFile(0, 289) with sr past 16 characters", false, 0, kEnableInfo,
                  "0123456789abcdefsr:1", kAnyNegative),
            // Texts with NULs: a node gets the text up to the first one.
            write("miscWriteNodeFile(0, 185, empty)", false, 0, kWrittenNode, "", -1),
            write("miscWriteNodeFile(0, 185, NUL)", false, 0, kWrittenNode, nul, 0),
            write("miscWriteNodeFile(0, 185, 1 NUL ...)", false, 0, kWrittenNode,
                  "1" + nul + "\x01zz", 1),
            write("miscWriteNodeFile(0, 289, sr:1 NUL hr:9)", false, 0, kEnableInfo,
                  enableSr + nul + "hr:9", 4),
            write("miscWriteNodeFile(0, 289, NUL sr:1)", false, 0, kEnableInfo, nul + enableSr, 0),
            // Calibration data: empty, lengths that disagree, oversize, unknown types, a motor
            // record of the wrong size.
            save("saveCalibrationData(tri-state, empty, 0)", false, kTriStateType, {}, 0),
            save("saveCalibrationData(cover, empty, 8)", false, kMagneticCoverType, {}, 8),
            save("saveCalibrationData(cover, 3 bytes, 4)", false, kMagneticCoverType, three, 4),
            save("saveCalibrationData(tri-state, 3 bytes, 2)", false, kTriStateType, three, 2),
            save("saveCalibrationData(cover, 3 bytes, -1)", false, kMagneticCoverType, three, -1),
            save("saveCalibrationData(cover, 4097 bytes)", false, kMagneticCoverType, oversize,
                 kMaxCalibration + 1),
            save("saveCalibrationData(tri-state, 4097 bytes, 4096)", false, kTriStateType, oversize,
                 kMaxCalibration),
            save("saveCalibrationData(0)", false, 0, eight, 8),
            save("saveCalibrationData(1000031)", false, kMotorType + 1, eight, 8),
            save("saveCalibrationData(-1000104)", false, -kTriStateType, eight, 8),
            save("saveCalibrationData(motor, 23 bytes)", false, kMotorType, motorRecord(23), 23),
            save("saveCalibrationData(motor, 25 bytes)", false, kMotorType, motorRecord(25), 25),
            save("saveCalibrationData(motor, 24 bytes, 23)", false, kMotorType, motorRecord(24), 23),
    };
}

}  // namespace

const std::vector<LoadCall>& loadCalls() {
    static const std::vector<LoadCall> calls = makeCalls();
    return calls;
}

}  // namespace bench::load
