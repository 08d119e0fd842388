// The reserve partition's records, decoded for people.
#pragma once

#include <ostream>
#include <string>

namespace zenth_console {

// Prints one "name value" line per record field of the emulated device's reserve
// partition. False with *error when there is no partition image.
bool printReserveRegions(std::ostream& out, std::string* error);

}  // namespace zenth_console
