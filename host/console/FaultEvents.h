// FPGA faults on the emulated device: raising one and looking at what the daemon saved.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zenth_console {

inline constexpr const char* kFaultLogDirectory = "/mnt/vendor/zenthreserve/fpga_save_log";

// Makes the fault node report `value` and waits until the daemon's watcher took it and the
// threads it started for it have finished. False with *error otherwise.
bool raiseFault(uint64_t value, std::string* error);

// Names of the saved fault logs, sorted; false when the directory does not exist.
bool listFaultLogs(std::vector<std::string>* names);

}  // namespace zenth_console
