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

#include "Utf16.h"

#include <cstdint>

namespace zenth_host {

namespace {

constexpr uint32_t kSurrogateBase = 0x10000;
constexpr char16_t kHighSurrogate = 0xD800;
constexpr char16_t kLowSurrogate = 0xDC00;

// A stray continuation byte (0x80 to 0xBF) stands alone, like ASCII; 0xF8 and above take 4.
size_t sequenceLength(uint8_t lead) {
    if (lead < 0xC0) return 1;
    if (lead < 0xE0) return 2;
    if (lead < 0xF0) return 3;
    return 4;
}

uint32_t codePoint(const uint8_t* sequence, size_t length) {
    static constexpr uint8_t kLeadBits[] = {0xFF, 0x1F, 0x0F, 0x07};
    uint32_t point = sequence[0] & kLeadBits[length - 1];
    for (size_t i = 1; i < length; ++i) point = (point << 6) | (sequence[i] & 0x3F);
    return point;
}

bool isSurrogate(uint32_t unit, char16_t kind) {
    return (unit & 0xFC00) == kind;
}

void appendUtf8(uint32_t point, std::string* utf8) {
    if (point < 0x80) {
        *utf8 += static_cast<char>(point);
        return;
    }
    const size_t length = point < 0x800 ? 2 : point < 0x10000 ? 3 : 4;
    static constexpr uint8_t kLeads[] = {0, 0, 0xC0, 0xE0, 0xF0};
    *utf8 += static_cast<char>(kLeads[length] | (point >> (6 * (length - 1))));
    for (size_t i = length - 1; i > 0; --i) {
        *utf8 += static_cast<char>(0x80 | ((point >> (6 * (i - 1))) & 0x3F));
    }
}

}  // namespace

bool utf8ToUtf16(const char* text, size_t size, std::u16string* utf16) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(text);
    utf16->clear();
    for (size_t at = 0; at < size;) {
        const size_t length = sequenceLength(bytes[at]);
        if (length > size - at) return false;
        uint32_t point = codePoint(bytes + at, length);
        at += length;
        if (point < kSurrogateBase) {
            *utf16 += static_cast<char16_t>(point);
            continue;
        }
        // Past U+10FFFF the "pair" is none, and reading drops both of its units.
        point -= kSurrogateBase;
        *utf16 += static_cast<char16_t>(kHighSurrogate + (point >> 10));
        *utf16 += static_cast<char16_t>(kLowSurrogate + (point & 0x3FF));
    }
    return true;
}

std::string utf16ToUtf8(const char16_t* units, size_t count) {
    std::string utf8;
    for (size_t i = 0; i < count; ++i) {
        uint32_t point = units[i];
        if (isSurrogate(point, kHighSurrogate) && i + 1 < count &&
            isSurrogate(units[i + 1], kLowSurrogate)) {
            point = kSurrogateBase + ((point - kHighSurrogate) << 10) + (units[++i] - kLowSurrogate);
        } else if (isSurrogate(point, kHighSurrogate) || isSurrogate(point, kLowSurrogate)) {
            continue;
        }
        appendUtf8(point, &utf8);
    }
    return utf8;
}

}  // namespace zenth_host
