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
#include <zenth_host/DeviceTree.h>
#include <zenth_host/binder_host.h>
#include <zenth_host/host_log.h>

#include "Console.h"

namespace zenth_console {

namespace {

constexpr std::chrono::milliseconds kSettleTimeout{10000};

struct PhoneOptions {
    std::string deviceFolder;  // absolute
    bool keepDevice = false;   // a folder named on the command line outlives the run
    std::string logFile;       // absolute; empty: the daemon's log goes to stderr
    bool fastSleep = false;
    std::string scriptFile;  // absolute; empty: commands come from stdin
};

// Relative paths would otherwise resolve inside the emulated device's root.
std::string absolute(const std::string& path) {
    return std::filesystem::absolute(path).lexically_normal().string();
}

std::string phoneUsage(const std::string& program) {
    return "usage: " + program +
           " [--device DIR] [--log FILE] [--fast-sleep] [SCRIPT]\n"
           "  --device DIR   keep the emulated device in DIR across runs (seeded when new or\n"
           "                 empty); without it a fresh sample device is made for every run\n"
           "  --log FILE     write the daemon's log to FILE instead of stderr\n"
           "  --fast-sleep   let usleep return at once (the reporters then report at start\n"
           "                 instead of 5 s later)\n"
           "  SCRIPT         read console commands from SCRIPT instead of stdin\n";
}

// False with *error set when argv cannot be parsed; --help sets *error to "".
bool parsePhoneOptions(int argc, char** argv, const std::string& defaultDeviceFolder,
                       PhoneOptions* options, std::string* error) {
    *options = PhoneOptions{};
    options->deviceFolder = absolute(defaultDeviceFolder);
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const bool takesValue = arg == "--device" || arg == "--log";
        if (takesValue && i + 1 >= argc) {
            *error = arg + " needs a value";
            return false;
        }
        if (arg == "--help" || arg == "-h") {
            error->clear();
            return false;
        } else if (arg == "--device") {
            options->deviceFolder = absolute(argv[++i]);
            options->keepDevice = true;
        } else if (arg == "--log") {
            options->logFile = absolute(argv[++i]);
        } else if (arg == "--fast-sleep") {
            options->fastSleep = true;
        } else if (arg.rfind("-", 0) == 0 || !options->scriptFile.empty()) {
            *error = "unexpected argument '" + arg + "'";
            return false;
        } else {
            options->scriptFile = absolute(arg);
        }
    }
    return true;
}

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

// A kept device is built only when new or empty.
void prepareDevice(const PhoneOptions& options) {
    namespace fs = std::filesystem;
    if (!options.keepDevice) fs::remove_all(options.deviceFolder);
    std::error_code error;
    if (fs::exists(options.deviceFolder, error) && !fs::is_empty(options.deviceFolder, error))
        return;
    fs::create_directories(options.deviceFolder);
    zenth_host::DeviceTree(options.deviceFolder).buildSamplePhone();
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
