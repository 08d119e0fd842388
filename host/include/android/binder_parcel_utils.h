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

/*
 * C++ helpers of the binder NDK's parcels (host stand-in, the subset the generated
 * interface code uses).
 */
#pragma once

#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include <android/binder_parcel.h>

namespace ndk {

template <typename T>
struct is_std_vector : std::false_type {};
template <typename T>
struct is_std_vector<std::vector<T>> : std::true_type {};

static inline bool AParcel_stdStringAllocator(void* stringData, int32_t length, char** buffer) {
    if (length <= 0) return false;
    std::string* str = static_cast<std::string*>(stringData);
    str->resize(static_cast<size_t>(length) - 1);
    *buffer = &(*str)[0];
    return true;
}

static inline binder_status_t AParcel_writeString(AParcel* parcel, const std::string& str) {
    return AParcel_writeString(parcel, str.c_str(), static_cast<int32_t>(str.size()));
}

static inline binder_status_t AParcel_readString(const AParcel* parcel, std::string* str) {
    return AParcel_readString(parcel, static_cast<void*>(str), AParcel_stdStringAllocator);
}

static inline binder_status_t AParcel_writeVector(AParcel* parcel, const std::vector<uint8_t>& vec) {
    return AParcel_writeByteArray(parcel, reinterpret_cast<const int8_t*>(vec.data()),
                                  static_cast<int32_t>(vec.size()));
}

static inline binder_status_t AParcel_readVector(const AParcel* parcel, std::vector<uint8_t>* vec) {
    auto allocator = [](void* arrayData, int32_t length, int8_t** outBuffer) {
        if (length < 0) return false;
        auto* bytes = static_cast<std::vector<uint8_t>*>(arrayData);
        bytes->resize(static_cast<size_t>(length));
        *outBuffer = reinterpret_cast<int8_t*>(bytes->data());
        return true;
    };
    return AParcel_readByteArray(parcel, static_cast<void*>(vec), allocator);
}

// A parcelable that is not nullable still carries the non-null marker.
template <typename P>
static inline binder_status_t AParcel_writeParcelable(AParcel* parcel, const P& p) {
    binder_status_t status = AParcel_writeInt32(parcel, 1);
    if (status != STATUS_OK) return status;
    return p.writeToParcel(parcel);
}

template <typename P>
static inline binder_status_t AParcel_readParcelable(const AParcel* parcel, P* p) {
    int32_t nonNull = 0;
    binder_status_t status = AParcel_readInt32(parcel, &nonNull);
    if (status != STATUS_OK) return status;
    if (nonNull == 0) return STATUS_UNEXPECTED_NULL;
    return p->readFromParcel(parcel);
}

template <typename P>
static inline binder_status_t AParcel_writeVector(AParcel* parcel, const std::vector<P>& vec) {
    binder_status_t status = AParcel_writeInt32(parcel, static_cast<int32_t>(vec.size()));
    for (size_t i = 0; status == STATUS_OK && i < vec.size(); ++i) {
        status = AParcel_writeParcelable(parcel, vec[i]);
    }
    return status;
}

template <typename P>
static inline binder_status_t AParcel_readVector(const AParcel* parcel, std::vector<P>* vec) {
    int32_t size = 0;
    binder_status_t status = AParcel_readInt32(parcel, &size);
    if (status != STATUS_OK) return status;
    if (size < 0) return STATUS_UNEXPECTED_NULL;
    vec->clear();
    for (int32_t i = 0; status == STATUS_OK && i < size; ++i) {
        status = AParcel_readParcelable(parcel, &vec->emplace_back());
    }
    return status;
}

// Convenience API for writing a value of any type the interfaces use.
template <typename T>
static inline binder_status_t AParcel_writeData(AParcel* parcel, const T& value) {
    if constexpr (std::is_same_v<T, int32_t>) {
        return AParcel_writeInt32(parcel, value);
    } else if constexpr (std::is_same_v<T, int64_t>) {
        return AParcel_writeInt64(parcel, value);
    } else if constexpr (std::is_same_v<T, float>) {
        return AParcel_writeFloat(parcel, value);
    } else if constexpr (std::is_same_v<T, bool>) {
        return AParcel_writeBool(parcel, value);
    } else if constexpr (std::is_same_v<T, std::string>) {
        return AParcel_writeString(parcel, value);
    } else if constexpr (is_std_vector<T>::value) {
        return AParcel_writeVector(parcel, value);
    } else {
        return AParcel_writeParcelable(parcel, value);
    }
}

// Convenience API for reading a value of any type the interfaces use.
template <typename T>
static inline binder_status_t AParcel_readData(const AParcel* parcel, T* value) {
    if constexpr (std::is_same_v<T, int32_t>) {
        return AParcel_readInt32(parcel, value);
    } else if constexpr (std::is_same_v<T, int64_t>) {
        return AParcel_readInt64(parcel, value);
    } else if constexpr (std::is_same_v<T, float>) {
        return AParcel_readFloat(parcel, value);
    } else if constexpr (std::is_same_v<T, bool>) {
        return AParcel_readBool(parcel, value);
    } else if constexpr (std::is_same_v<T, std::string>) {
        return AParcel_readString(parcel, value);
    } else if constexpr (is_std_vector<T>::value) {
        return AParcel_readVector(parcel, value);
    } else {
        return AParcel_readParcelable(parcel, value);
    }
}

}  // namespace ndk
