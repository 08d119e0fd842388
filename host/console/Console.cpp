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

#include "Console.h"

#include <android/binder_manager.h>

#include <algorithm>
#include <chrono>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <thread>

#include <zenth_host/DeviceTree.h>

#include "ConsoleText.h"
#include "FaultEvents.h"
#include "ReservePartition.h"
#include "zenth_host/DaemonThreads.h"
#include "zenth_host/EmulatedDevice.h"

namespace zenth_console {

using std::chrono::milliseconds;

namespace {

constexpr milliseconds kLookupInterval{10};
constexpr milliseconds kSettleTimeout{10000};
constexpr const char* kPrompt = "zenth> ";

struct CalibrationType {
    const char* alias;
    int32_t type;
};
constexpr CalibrationType kCalibrationTypes[] = {
        {"motor", 1000030},
        {"tri", 1000104},
        {"magcover", 1000200},
};

bool parseCalibrationType(const std::string& token, int32_t* type) {
    for (const CalibrationType& known : kCalibrationTypes) {
        if (token == known.alias) {
            *type = known.type;
            return true;
        }
    }
    return parseInt32(token, type);
}

// Like a client of the daemon: retries until the service is registered.
std::shared_ptr<::aidl::vendor::zenth::hardware::misc::IZenthMisc> waitForService() {
    using ::aidl::vendor::zenth::hardware::misc::IZenthMisc;
    const std::string instance = std::string(IZenthMisc::descriptor) + "/default";
    for (;;) {
        ndk::SpAIBinder binder(AServiceManager_checkService(instance.c_str()));
        if (binder.get() != nullptr) return IZenthMisc::fromBinder(binder);
        std::this_thread::sleep_for(kLookupInterval);
    }
}

const char* const kHelpNotes =
        "Texts take the escapes \\n \\t \\r \\s (blank) \\0 \\\\ \\xNN; results print them the "
        "same way.\n"
        "Calibration data: hex:0a1b.. | i32:1,-2,3 (little-endian int32) | text.\n"
        "Calibration types: motor (1000030, 24 bytes), tri (1000104), magcover (1000200).\n";

namespace misc = aidl::vendor::zenth::hardware::misc;

// Past the image's end a record reads as zeros.
std::string read(const zenth_host::DeviceTree& partition, int offset, int length) {
    std::string bytes = partition.readPartition(offset, static_cast<size_t>(length));
    bytes.resize(static_cast<size_t>(length), '\0');
    return bytes;
}

// A text field: up to its first NUL, escaped.
std::string text(const std::string& bytes) {
    return escapeText(bytes.substr(0, bytes.find('\0')));
}

int32_t int32At(const std::string& bytes, size_t offset) {
    uint32_t value = 0;
    for (int i = 3; i >= 0; --i) value = (value << 8) | static_cast<uint8_t>(bytes[offset + i]);
    return static_cast<int32_t>(value);
}

std::string motorRecord(const std::string& bytes) {
    std::string values;
    for (int index = 0; index < misc::kMotorHallRecordValues; ++index) {
        if (index > 0) values += ',';
        values += std::to_string(int32At(bytes, index * sizeof(int32_t)));
    }
    return values;
}

// "ec:" carries the last fault code as raw big-endian bytes, not as text.
std::string faultCodeField(const std::string& bytes) {
    size_t colon = bytes.find(':');
    const size_t codeSize = misc::kFaultCodeSize;
    if (colon == std::string::npos || colon + codeSize >= bytes.size()) return text(bytes);
    uint64_t code = 0;
    for (size_t i = 1; i <= codeSize; ++i)
        code = (code << 8) | static_cast<uint8_t>(bytes[colon + i]);
    char hex[24];
    std::snprintf(hex, sizeof(hex), "0x%" PRIx64, code);
    return text(bytes.substr(0, colon + 1)) + hex;
}

void printFields(std::ostream& out, const zenth_host::DeviceTree& partition, const char* area,
                 int base, int count) {
    for (int index = 0; index < count; ++index) {
        std::string bytes =
                read(partition, base + index * misc::kCounterFieldSize, misc::kCounterFieldSize);
        bool code = base == misc::kFpgaOpInfoOffset && index == misc::kFpgaFaultCodeField;
        out << area << '.' << index << ' ' << (code ? faultCodeField(bytes) : text(bytes)) << '\n';
    }
}

// One "name value" line per record field of the reserve partition, decoded for people.
bool printReserveRegions(std::ostream& out, std::string* error) {
    const zenth_host::DeviceTree partition(emulated::root());
    if (!partition.exists(misc::kReservePartitionPath)) {
        *error = "the device has no reserve partition";
        return false;
    }
    const bool emmc = !partition.exists(misc::kUfsBlockDevicePath);
    const int motor = misc::kMotorHallRecord.offset(emmc);
    const int fan = misc::kFanIdentityRegion.offset(emmc);
    out << "storage " << (emmc ? "emmc" : "ufs") << '\n';
    out << "motor " << motorRecord(read(partition, motor, misc::kMotorHallRecord.length)) << '\n';
    out << "fan.id " << text(read(partition, fan, misc::kFanHardwareIdLength)) << '\n';
    out << "fan.rpm_table "
        << text(read(partition, fan + misc::kFanRpmTableOffset, misc::kFanRpmTableLength)) << '\n';
    printFields(out, partition, "fpga", misc::kFpgaOpInfoOffset, misc::kFpgaOpInfoFieldCount);
    printFields(out, partition, "fpga_enable", misc::kFpgaEnableInfoOffset,
                misc::kFpgaEnableInfoFieldCount);
    printFields(out, partition, "exgpio", misc::kExgpioCounterArea.offset(emmc),
                misc::kExgpioFieldCount);
    return true;
}

}  // namespace

struct Console::Command {
    const char* name;
    const char* arguments;
    const char* summary;
    size_t minArgs;
    size_t maxArgs;  // a text argument takes the rest of the line
    void (Console::*handler)(const std::string& line, const Words& args);
};

const std::vector<Console::Command>& Console::commands() {
    static const auto* table = new std::vector<Command>{
            {"initialize", "", "call initialize, print its status", 0, 0, &Console::initialize},
            {"isMiscNodeSupport", "<deviceId> <nodeFlag>", "1 when the node exists, else -1", 2, 2,
             &Console::isMiscNodeSupport},
            {"miscReadNodeFile", "<deviceId> <nodeFlag>", "print the node's text", 2, 2,
             &Console::miscReadNodeFile},
            {"miscWriteNodeFile", "<deviceId> <nodeFlag> <text>",
             "write the rest of the line, print the byte count", 3, SIZE_MAX,
             &Console::miscWriteNodeFile},
            {"saveCalibrationData", "<type> <data> [length]",
             "store calibration data, print true or false", 2, 3, &Console::saveCalibrationData},
            {"fault", "<value>",
             "raise an FPGA fault (2, 3, 5, 0xaa8000000000abcd), wait till handled", 1, 1,
             &Console::fault},
            {"faultlogs", "", "list the saved fault logs", 0, 0, &Console::faultLogs},
            {"regions", "", "print the reserve partition's records", 0, 0, &Console::regions},
            {"cut", "count | process <point> | power <point>",
             "once the daemon is idle, count its write points from now on, or end the process "
             "right after one as a crash or a power cut would",
             1, 2, &Console::cut},
            {"help", "", "show this list", 0, 0, &Console::help},
            {"quit", "", "stop the daemon (also: exit, end of input)", 0, 0, nullptr},
    };
    return *table;
}

Console::Console(std::istream& in, std::ostream& out, bool interactive)
    : in_(in), output_(out), interactive_(interactive) {}

void Console::run() {
    service_ = waitForService();
    registered_ = std::chrono::steady_clock::now();
    if (interactive_) output_ << "Emulated phone ready. Type help for the commands.\n";
    std::string line;
    for (;;) {
        if (interactive_) output_ << kPrompt << std::flush;
        if (!std::getline(in_, line)) {
            if (interactive_) output_ << '\n';
            break;
        }
        const bool goOn = execute(line);
        sendReply();
        if (!goOn) break;
    }
    output_ << std::flush;
    service_.reset();
}

void Console::sendReply() {
    output_ << out_.str() << std::flush;
    out_.str("");
}

bool Console::execute(const std::string& line) {
    Words words = splitWords(line);
    if (words.empty() || words[0][0] == '#') return true;
    const std::string name = words[0];
    if (name == "quit" || name == "exit") return false;
    Words args(words.begin() + 1, words.end());
    for (const Command& command : commands()) {
        if (name != command.name) continue;
        if (args.size() < command.minArgs || args.size() > command.maxArgs) {
            error(std::string("usage: ") + command.name + " " + command.arguments);
        } else {
            (this->*command.handler)(line, args);
        }
        return true;
    }
    error("unknown command '" + name + "' (type help for the commands)");
    return true;
}

void Console::error(const std::string& message) {
    out_ << "error: " << message << '\n';
}

bool Console::succeeded(const ndk::ScopedAStatus& status) {
    if (status.isOk()) return true;
    error(status.getDescription());
    return false;
}

bool Console::nodeArguments(const Words& args, int32_t* deviceId, int32_t* nodeFlag) {
    if (!parseInt32(args[0], deviceId)) {
        error("deviceId '" + args[0] + "' is not a 32-bit integer");
        return false;
    }
    if (!parseInt32(args[1], nodeFlag)) {
        error("nodeFlag '" + args[1] + "' is not a 32-bit integer");
        return false;
    }
    return true;
}

void Console::initialize(const std::string&, const Words&) {
    ::aidl::vendor::zenth::hardware::misc::ZenthMiscStatus status;
    if (succeeded(service_->initialize(&status))) out_ << status.status << '\n';
}

void Console::isMiscNodeSupport(const std::string&, const Words& args) {
    int32_t deviceId, nodeFlag, result = 0;
    if (!nodeArguments(args, &deviceId, &nodeFlag)) return;
    if (succeeded(service_->isMiscNodeSupport(deviceId, nodeFlag, &result))) out_ << result << '\n';
}

void Console::miscReadNodeFile(const std::string&, const Words& args) {
    int32_t deviceId, nodeFlag;
    std::string result;
    if (!nodeArguments(args, &deviceId, &nodeFlag)) return;
    if (succeeded(service_->miscReadNodeFile(deviceId, nodeFlag, &result))) {
        out_ << escapeText(result) << '\n';
    }
}

void Console::miscWriteNodeFile(const std::string& line, const Words& args) {
    int32_t deviceId, nodeFlag, result = 0;
    std::string data, problem;
    if (!nodeArguments(args, &deviceId, &nodeFlag)) return;
    if (!unescapeText(textAfterWords(line, 3), &data, &problem)) return error(problem);
    if (succeeded(service_->miscWriteNodeFile(deviceId, nodeFlag, data, &result))) {
        out_ << result << '\n';
    }
}

void Console::saveCalibrationData(const std::string&, const Words& args) {
    int32_t type, length;
    std::vector<uint8_t> data;
    std::string problem;
    if (!parseCalibrationType(args[0], &type)) {
        return error("type '" + args[0] + "' is neither a number nor motor, tri or magcover");
    }
    if (!parseCalibrationBytes(args[1], &data, &problem)) return error(problem);
    length = static_cast<int32_t>(data.size());
    if (args.size() > 2 && !parseInt32(args[2], &length)) {
        return error("length '" + args[2] + "' is not a 32-bit integer");
    }
    bool result = false;
    if (succeeded(service_->saveCalibrationData(type, data, length, &result))) {
        out_ << (result ? "true" : "false") << '\n';
    }
}

void Console::fault(const std::string&, const Words& args) {
    uint64_t value;
    std::string problem;
    if (!parseUint64(args[0], &value)) {
        return error("fault value '" + args[0] + "' is not an unsigned 64-bit number");
    }
    if (!raiseFault(value, registered_, &problem)) return error(problem);
    char handled[48];
    std::snprintf(handled, sizeof(handled), "fault 0x%" PRIx64 " handled", value);
    out_ << handled << '\n';
}

void Console::cut(const std::string&, const Words& args) {
    emulated::crash::Model model;
    unsigned point = 0;
    if (!emulated::crash::parse(args.size() == 2 ? args[0] + ":" + args[1] : args[0], &model,
                                &point)) {
        return error("usage: cut count | process <point> | power <point>");
    }
    if (!emulated::waitUntilIdle(kSettleTimeout)) return error("the daemon did not become idle");
    emulated::crash::arm(model, point);
    out_ << "armed\n";
}

void Console::faultLogs(const std::string&, const Words&) {
    std::vector<std::string> names;
    if (!listFaultLogs(&names)) {
        out_ << "no fault log directory (" << kFaultLogDirectory << ")\n";
        return;
    }
    for (const std::string& name : names) out_ << name << '\n';
    if (names.empty()) out_ << "no fault logs\n";
}

void Console::regions(const std::string&, const Words&) {
    std::string problem;
    if (!printReserveRegions(out_, &problem)) error(problem);
}

void Console::help(const std::string&, const Words&) {
    for (const Command& command : commands()) {
        std::string usage = std::string(command.name) + " " + command.arguments;
        usage.resize(std::max<size_t>(usage.size(), 46), ' ');
        out_ << "  " << usage << " " << command.summary << "\n";
    }
    out_ << kHelpNotes;
}

}  // namespace zenth_console
