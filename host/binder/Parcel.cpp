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

// Parcels: values at 4-byte aligned positions, strings as UTF-16 with a length and a NUL.

#include <android/binder_parcel.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

// The platform's conversions between a String's bytes and the UTF-16 a parcel carries. They
// are lenient, as a phone's are: bytes that are no UTF-8 still cross, changed.
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

// Converts sequence by sequence, each taken as long as its lead byte says, without looking at
// the continuation bytes. False only when the end of the text cuts the last sequence off.
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

// Drops every surrogate unit that is not a high one followed by a low one.
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

}  // namespace
}  // namespace zenth_host

struct AParcel {
    std::vector<uint8_t> data;
    mutable size_t position = 0;
};

namespace {

size_t padded(size_t size) {
    return (size + 3) & ~size_t{3};
}

size_t remaining(const AParcel* parcel) {
    return parcel->position < parcel->data.size() ? parcel->data.size() - parcel->position : 0;
}

binder_status_t writeBytes(AParcel* parcel, const void* bytes, size_t size) {
    if (parcel == nullptr) return STATUS_UNEXPECTED_NULL;
    const size_t end = parcel->position + padded(size);
    if (end > parcel->data.size()) parcel->data.resize(end);
    uint8_t* at = parcel->data.data() + parcel->position;
    if (size > 0) std::memcpy(at, bytes, size);
    std::fill(at + size, parcel->data.data() + end, 0);
    parcel->position = end;
    return STATUS_OK;
}

binder_status_t readBytes(const AParcel* parcel, void* bytes, size_t size) {
    if (padded(size) > remaining(parcel)) return STATUS_NOT_ENOUGH_DATA;
    if (size > 0) std::memcpy(bytes, parcel->data.data() + parcel->position, size);
    parcel->position += padded(size);
    return STATUS_OK;
}

template <typename T>
binder_status_t writeValue(AParcel* parcel, T value) {
    return writeBytes(parcel, &value, sizeof(value));
}

template <typename T>
binder_status_t readValue(const AParcel* parcel, T* value) {
    if (value == nullptr) return STATUS_UNEXPECTED_NULL;
    return readBytes(parcel, value, sizeof(*value));
}

}  // namespace

AParcel* AParcel_create() {
    return new AParcel;
}

void AParcel_delete(AParcel* parcel) {
    delete parcel;
}

binder_status_t AParcel_setDataPosition(const AParcel* parcel, int32_t position) {
    if (position < 0) return STATUS_BAD_VALUE;
    parcel->position = static_cast<size_t>(position);
    return STATUS_OK;
}

int32_t AParcel_getDataPosition(const AParcel* parcel) {
    return static_cast<int32_t>(parcel->position);
}

binder_status_t AParcel_writeInt32(AParcel* parcel, int32_t value) {
    return writeValue(parcel, value);
}

binder_status_t AParcel_writeInt64(AParcel* parcel, int64_t value) {
    return writeValue(parcel, value);
}

binder_status_t AParcel_writeFloat(AParcel* parcel, float value) {
    return writeValue(parcel, value);
}

binder_status_t AParcel_writeBool(AParcel* parcel, bool value) {
    return writeValue(parcel, static_cast<int32_t>(value));
}

binder_status_t AParcel_readInt32(const AParcel* parcel, int32_t* value) {
    return readValue(parcel, value);
}

binder_status_t AParcel_readInt64(const AParcel* parcel, int64_t* value) {
    return readValue(parcel, value);
}

binder_status_t AParcel_readFloat(const AParcel* parcel, float* value) {
    return readValue(parcel, value);
}

binder_status_t AParcel_readBool(const AParcel* parcel, bool* value) {
    int32_t stored = 0;
    binder_status_t status = readValue(parcel, &stored);
    if (status == STATUS_OK) *value = stored != 0;
    return status;
}

binder_status_t AParcel_writeString(AParcel* parcel, const char* string, int32_t length) {
    if (string == nullptr) return length == -1 ? AParcel_writeInt32(parcel, -1) : STATUS_BAD_VALUE;
    if (length < 0) return STATUS_BAD_VALUE;
    std::u16string utf16;
    if (!zenth_host::utf8ToUtf16(string, static_cast<size_t>(length), &utf16)) {
        return STATUS_BAD_VALUE;
    }
    binder_status_t status = AParcel_writeInt32(parcel, static_cast<int32_t>(utf16.size()));
    // The units and their NUL.
    if (status == STATUS_OK) status = writeBytes(parcel, utf16.c_str(), 2 * (utf16.size() + 1));
    return status;
}

binder_status_t AParcel_readString(const AParcel* parcel, void* stringData,
                                   AParcel_stringAllocator allocator) {
    int32_t length16 = 0;
    binder_status_t status = AParcel_readInt32(parcel, &length16);
    if (status != STATUS_OK) return status;
    if (length16 == -1)
        return allocator(stringData, -1, nullptr) ? STATUS_OK : STATUS_UNEXPECTED_NULL;
    if (length16 < 0) return STATUS_BAD_VALUE;
    // The units and their NUL; checked before the allocation, so a wild length costs nothing.
    const size_t size16 = 2 * (static_cast<size_t>(length16) + 1);
    if (padded(size16) > remaining(parcel)) return STATUS_NOT_ENOUGH_DATA;
    std::u16string utf16(size16 / 2, u'\0');
    readBytes(parcel, utf16.data(), size16);
    const std::string utf8 = zenth_host::utf16ToUtf8(utf16.data(), utf16.size() - 1);
    char* buffer = nullptr;
    if (!allocator(stringData, static_cast<int32_t>(utf8.size() + 1), &buffer) ||
        buffer == nullptr) {
        return STATUS_NO_MEMORY;
    }
    std::memcpy(buffer, utf8.c_str(), utf8.size() + 1);
    return STATUS_OK;
}

binder_status_t AParcel_writeByteArray(AParcel* parcel, const int8_t* arrayData, int32_t length) {
    if (length < -1 || (arrayData == nullptr && length > 0)) return STATUS_BAD_VALUE;
    binder_status_t status = AParcel_writeInt32(parcel, length);
    if (status != STATUS_OK || length <= 0) return status;
    return writeBytes(parcel, arrayData, static_cast<size_t>(length));
}

binder_status_t AParcel_readByteArray(const AParcel* parcel, void* arrayData,
                                      AParcel_byteArrayAllocator allocator) {
    int32_t length = 0;
    binder_status_t status = AParcel_readInt32(parcel, &length);
    if (status != STATUS_OK) return status;
    if (length == -1) return allocator(arrayData, -1, nullptr) ? STATUS_OK : STATUS_UNEXPECTED_NULL;
    if (length < 0) return STATUS_BAD_VALUE;
    // Checked before the allocation rather than after, with the same answer.
    if (padded(static_cast<size_t>(length)) > remaining(parcel)) return STATUS_NO_MEMORY;
    int8_t* buffer = nullptr;
    if (!allocator(arrayData, length, &buffer) || (buffer == nullptr && length > 0)) {
        return STATUS_NO_MEMORY;
    }
    return readBytes(parcel, buffer, static_cast<size_t>(length));
}
