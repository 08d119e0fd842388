// A realistic sample phone for the emulated device: every node of the node table, the
// reserve partition with its records, persist calibration files and the FPGA fault node.
#pragma once

#include <string>

namespace zenth_console {

// True when the folder does not exist or holds nothing.
bool deviceFolderIsEmpty(const std::string& rootFolder);

// Creates the sample device under rootFolder (which stands for the device's "/").
void seedSampleDevice(const std::string& rootFolder);

}  // namespace zenth_console
