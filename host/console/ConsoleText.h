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

// How the console reads arguments and prints results: texts travel escaped, one per line.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zenth_console {

// Printable ASCII stays; backslash, newline, tab and carriage return become \\ \n \t \r and
// any other byte \xNN, so every result fits on one line.
std::string escapeText(const std::string& bytes);

// The reverse of escapeText (also \0 and \s for a blank); false with *error for a bad escape.
bool unescapeText(const std::string& text, std::string* bytes, std::string* error);

// Whole-token numbers: decimal for int32, decimal or 0x-hexadecimal for uint64.
bool parseInt32(const std::string& token, int32_t* value);
bool parseUint64(const std::string& token, uint64_t* value);

// Calibration bytes: "hex:0a1b..", "i32:1,-2,3" (little-endian int32 values) or an escaped text.
bool parseCalibrationBytes(const std::string& token, std::vector<uint8_t>* bytes,
                           std::string* error);

// Words separated by blanks.
std::vector<std::string> splitWords(const std::string& line);
// What follows the first `count` words, without the blanks before it (write \s for a
// leading blank) and without a trailing carriage return.
std::string textAfterWords(const std::string& line, size_t count);

}  // namespace zenth_console
