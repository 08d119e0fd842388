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

#include "ConsoleText.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace zenth_console {

namespace {

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r';
}

bool parseHex(const std::string& digits, std::vector<uint8_t>* bytes, std::string* error) {
    if (digits.empty() || digits.size() % 2 != 0) {
        *error = "hex: needs an even number of hex digits";
        return false;
    }
    for (size_t i = 0; i < digits.size(); i += 2) {
        int high = hexDigit(digits[i]);
        int low = hexDigit(digits[i + 1]);
        if (high < 0 || low < 0) {
            *error = "hex: '" + digits.substr(i, 2) + "' is not a hex byte";
            return false;
        }
        bytes->push_back(static_cast<uint8_t>(high * 16 + low));
    }
    return true;
}

bool parseInt32List(const std::string& list, std::vector<uint8_t>* bytes, std::string* error) {
    std::istringstream values(list);
    for (std::string token; std::getline(values, token, ',');) {
        int32_t value;
        if (!parseInt32(token, &value)) {
            *error = "i32: '" + token + "' is not a 32-bit integer";
            return false;
        }
        auto u = static_cast<uint32_t>(value);
        for (int shift = 0; shift < 32; shift += 8) bytes->push_back((u >> shift) & 0xFF);
    }
    if (bytes->empty()) *error = "i32: needs comma-separated integers";
    return !bytes->empty();
}

}  // namespace

std::string escapeText(const std::string& bytes) {
    std::string text;
    for (unsigned char c : bytes) {
        switch (c) {
            case '\\':
                text += "\\\\";
                break;
            case '\n':
                text += "\\n";
                break;
            case '\t':
                text += "\\t";
                break;
            case '\r':
                text += "\\r";
                break;
            default:
                if (c >= 0x20 && c < 0x7F) {
                    text += static_cast<char>(c);
                } else {
                    char hex[5];
                    std::snprintf(hex, sizeof(hex), "\\x%02x", c);
                    text += hex;
                }
        }
    }
    return text;
}

bool unescapeText(const std::string& text, std::string* bytes, std::string* error) {
    bytes->clear();
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            *bytes += text[i];
            continue;
        }
        char kind = i + 1 < text.size() ? text[++i] : '\0';
        switch (kind) {
            case '\\':
                *bytes += '\\';
                break;
            case 'n':
                *bytes += '\n';
                break;
            case 't':
                *bytes += '\t';
                break;
            case 'r':
                *bytes += '\r';
                break;
            case 's':
                *bytes += ' ';
                break;
            case '0':
                *bytes += '\0';
                break;
            case 'x': {
                int high = i + 1 < text.size() ? hexDigit(text[i + 1]) : -1;
                int low = i + 2 < text.size() ? hexDigit(text[i + 2]) : -1;
                if (high < 0 || low < 0) {
                    *error = "\\x needs two hex digits";
                    return false;
                }
                *bytes += static_cast<char>(high * 16 + low);
                i += 2;
                break;
            }
            default:
                *error = std::string("unknown escape \\") +
                         (kind == '\0' ? "" : std::string(1, kind));
                return false;
        }
    }
    return true;
}

bool parseInt32(const std::string& token, int32_t* value) {
    if (token.empty()) return false;
    errno = 0;
    char* end = nullptr;
    long long parsed = std::strtoll(token.c_str(), &end, 10);
    if (errno != 0 || *end != '\0' || parsed < INT32_MIN || parsed > INT32_MAX) return false;
    *value = static_cast<int32_t>(parsed);
    return true;
}

bool parseUint64(const std::string& token, uint64_t* value) {
    if (token.empty() || token[0] == '-') return false;
    errno = 0;
    char* end = nullptr;
    unsigned long long parsed = std::strtoull(token.c_str(), &end, 0);
    if (errno != 0 || *end != '\0') return false;
    *value = parsed;
    return true;
}

bool parseCalibrationBytes(const std::string& token, std::vector<uint8_t>* bytes,
                           std::string* error) {
    bytes->clear();
    if (token.rfind("hex:", 0) == 0) return parseHex(token.substr(4), bytes, error);
    if (token.rfind("i32:", 0) == 0) return parseInt32List(token.substr(4), bytes, error);
    std::string text;
    if (!unescapeText(token, &text, error)) return false;
    bytes->assign(text.begin(), text.end());
    return true;
}

std::vector<std::string> splitWords(const std::string& line) {
    std::vector<std::string> words;
    size_t i = 0;
    while (i < line.size()) {
        while (i < line.size() && isBlank(line[i])) ++i;
        size_t start = i;
        while (i < line.size() && !isBlank(line[i])) ++i;
        if (i > start) words.push_back(line.substr(start, i - start));
    }
    return words;
}

std::string textAfterWords(const std::string& line, size_t count) {
    size_t i = 0;
    for (size_t word = 0; word < count; ++word) {
        while (i < line.size() && isBlank(line[i])) ++i;
        while (i < line.size() && !isBlank(line[i])) ++i;
    }
    while (i < line.size() && isBlank(line[i])) ++i;
    size_t end = line.size();
    while (end > i && line[end - 1] == '\r') --end;  // scripts written on other systems
    return line.substr(i, end - i);
}

}  // namespace zenth_console
