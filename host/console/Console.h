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

// The console of the emulated phone: reads commands, calls IZenthMisc as a client in another
// process does and prints each result on a line of its own.
#pragma once

#include <chrono>
#include <istream>
#include <memory>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include <aidl/vendor/zenth/hardware/misc/IZenthMisc.h>

namespace zenth_console {

class Console {
  public:
    // The prompt is shown only when interactive.
    Console(std::istream& in, std::ostream& out, bool interactive);

    // Waits until the service is registered, then serves commands until "quit" or the end
    // of the input. The calling thread must act as a thread of a process of its own.
    void run();

  private:
    using IZenthMisc = ::aidl::vendor::zenth::hardware::misc::IZenthMisc;
    using Words = std::vector<std::string>;
    struct Command;
    static const std::vector<Command>& commands();

    // False when the line ends the session.
    bool execute(const std::string& line);
    void error(const std::string& message);
    // True for a call that succeeded; prints the status of one that did not.
    bool succeeded(const ndk::ScopedAStatus& status);

    void initialize(const std::string& line, const Words& args);
    void isMiscNodeSupport(const std::string& line, const Words& args);
    void miscReadNodeFile(const std::string& line, const Words& args);
    void miscWriteNodeFile(const std::string& line, const Words& args);
    void saveCalibrationData(const std::string& line, const Words& args);
    void fault(const std::string& line, const Words& args);
    void faultLogs(const std::string& line, const Words& args);
    void regions(const std::string& line, const Words& args);
    void cut(const std::string& line, const Words& args);
    void help(const std::string& line, const Words& args);

    bool nodeArguments(const Words& args, int32_t* deviceId, int32_t* nodeFlag);
    // Hands a command's reply to the output in one write, so that the lines of other
    // processes on the phone (the statistics service prints its atoms) stay apart.
    void sendReply();

    std::istream& in_;
    std::ostream& output_;
    std::ostringstream out_;  // the reply of the command being run
    bool interactive_;
    std::shared_ptr<IZenthMisc> service_;
    std::chrono::steady_clock::time_point registered_;
};

}  // namespace zenth_console
