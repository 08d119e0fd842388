// Command line of the emulated phone.
#pragma once

#include <string>

namespace zenth_console {

struct PhoneOptions {
    std::string deviceFolder;  // absolute
    bool keepDevice = false;   // a folder named on the command line outlives the run
    std::string logFile;       // absolute; empty: the daemon's log goes to stderr
    bool fastSleep = false;
    std::string scriptFile;    // absolute; empty: commands come from stdin
};

// Usage text, for --help and for a command line that cannot be parsed.
std::string phoneUsage(const std::string& program);

// Parses argv; on failure returns false with *error set. --help sets *error to "" and
// returns false.
bool parsePhoneOptions(int argc, char** argv, const std::string& defaultDeviceFolder,
                       PhoneOptions* options, std::string* error);

}  // namespace zenth_console
