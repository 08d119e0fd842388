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
#include <cstring>
#include <string>
#include <vector>

#include "Utf16.h"

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
