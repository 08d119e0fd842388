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

// The emulated phone: the daemon's own entry runs unchanged as main; this file prepares the
// emulated device before main (before the platform's start-up reads the environment) and
// starts the console, which ends the daemon through the entry's exit path.

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <thread>

#include <android/log.h>

#include <zenth_host/DaemonThreads.h>
#include <zenth_host/binder_host.h>
#include <zenth_host/host_log.h>

#include "Console.h"
#include "PhoneOptions.h"
#include "SampleDevice.h"

namespace zenth_console {

namespace {

constexpr std::chrono::milliseconds kSettleTimeout{10000};

// Set before main by preparePhone, read by the console thread.
PhoneOptions* gOptions = nullptr;

[[noreturn]] void usageExit(const char* program, const std::string& problem) {
    if (problem.empty()) {
        std::fputs(phoneUsage(program).c_str(), stdout);
        std::exit(0);
    }
    std::fprintf(stderr, "%s: %s\n%s", program, problem.c_str(), phoneUsage(program).c_str());
    std::exit(2);
}

void prepareDevice(const PhoneOptions& options) {
    if (!options.keepDevice) std::filesystem::remove_all(options.deviceFolder);
    if (deviceFolderIsEmpty(options.deviceFolder)) {
        std::filesystem::create_directories(options.deviceFolder);
        seedSampleDevice(options.deviceFolder);
    }
}

// The platform's start-up reads these right after this function.
void configurePlatform(const PhoneOptions& options) {
    setenv("ZENTH_DEVICE_ROOT", options.deviceFolder.c_str(), 1);
    if (options.fastSleep) setenv("ZENTH_DEVICE_FAST_SLEEP", "1", 1);
    setenv("ZENTH_HOST_STATS", "1", 1);  // a statistics service that prints every atom
}

void redirectLog(const char* program, const std::string& logFile) {
    int fd = open(logFile.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (fd < 0 || dup2(fd, STDERR_FILENO) < 0) usageExit(program, "cannot write " + logFile);
    close(fd);
}

// Runs before every other initialiser of the binary; glibc hands it the command line.
__attribute__((constructor(101))) void preparePhone(int argc, char** argv, char** /*envp*/) {
    auto* options = new PhoneOptions;
    std::string problem;
    if (!parsePhoneOptions(argc, argv, ZENTH_DEFAULT_DEVICE_FOLDER, options, &problem)) {
        usageExit(argv[0], problem);
    }
    if (!options->scriptFile.empty() && !std::ifstream(options->scriptFile)) {
        usageExit(argv[0], "cannot read " + options->scriptFile);
    }
    prepareDevice(*options);
    configurePlatform(*options);
    if (!options->logFile.empty()) redirectLog(argv[0], options->logFile);
    gOptions = options;
}

void runSession() {
    // A client of the daemon, in a process of its own as on a phone.
    zenth_host::OutsideProcess client("console");
    if (gOptions->scriptFile.empty()) {
        Console(std::cin, std::cout, isatty(STDIN_FILENO) != 0).run();
    } else {
        std::ifstream script(gOptions->scriptFile);
        Console(script, std::cout, false).run();
    }
}

void runConsole() {
    runSession();
    // Atoms already sent are printed before the phone stops.
    zenth_host::waitForOnewayCalls();
    // Exiting runs the platform libraries' static destructors, which must not meet a
    // detached thread of the daemon in the middle of its work.
    emulated::waitUntilIdle(kSettleTimeout);
    // Taking liblog's logger lock as a writer orders every line logged so far before that
    // destruction (liblog's default tag among the statics).
    __android_log_set_logger(zenth_host::logcatLogger);
    // The entry's exit path: the thread pool returns and main ends with status 1.
    zenth_host::releaseThreadPool();
}

struct ConsoleStarter {
    ConsoleStarter() { std::thread(runConsole).detach(); }
};

const ConsoleStarter gConsoleStarter;

}  // namespace

}  // namespace zenth_console
