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
 * Parcels of the binder NDK (host stand-in): the data of one transaction, written and read
 * in order. Strings travel as UTF-16, converted from and to UTF-8.
 */
#pragma once

#include <stdbool.h>
#include <stdint.h>

#include <android/binder_status.h>

#ifdef __cplusplus
extern "C" {
#endif

struct AParcel;
typedef struct AParcel AParcel;

AParcel* AParcel_create(void);
void AParcel_delete(AParcel* parcel);

binder_status_t AParcel_setDataPosition(const AParcel* parcel, int32_t position);
int32_t AParcel_getDataPosition(const AParcel* parcel);

binder_status_t AParcel_writeInt32(AParcel* parcel, int32_t value);
binder_status_t AParcel_writeInt64(AParcel* parcel, int64_t value);
binder_status_t AParcel_writeFloat(AParcel* parcel, float value);
binder_status_t AParcel_writeBool(AParcel* parcel, bool value);
binder_status_t AParcel_readInt32(const AParcel* parcel, int32_t* value);
binder_status_t AParcel_readInt64(const AParcel* parcel, int64_t* value);
binder_status_t AParcel_readFloat(const AParcel* parcel, float* value);
binder_status_t AParcel_readBool(const AParcel* parcel, bool* value);

// Writes length bytes as UTF-16, sequence by sequence as their lead bytes say, without checking
// the continuation bytes; STATUS_BAD_VALUE, writing nothing, when the end cuts the last
// sequence off. A null string with length -1 is written as null.
binder_status_t AParcel_writeString(AParcel* parcel, const char* string, int32_t length);
// Gives *buffer room for length bytes (the UTF-8 text and its NUL; -1 for a null string).
// Surrogate units that are not a high one followed by a low one are dropped.
typedef bool (*AParcel_stringAllocator)(void* stringData, int32_t length, char** buffer);
binder_status_t AParcel_readString(const AParcel* parcel, void* stringData,
                                   AParcel_stringAllocator allocator);

binder_status_t AParcel_writeByteArray(AParcel* parcel, const int8_t* arrayData, int32_t length);
typedef bool (*AParcel_byteArrayAllocator)(void* arrayData, int32_t length, int8_t** outBuffer);
binder_status_t AParcel_readByteArray(const AParcel* parcel, void* arrayData,
                                      AParcel_byteArrayAllocator allocator);

// A failed transport status is not written: it is returned, and fails the transaction.
binder_status_t AParcel_writeStatusHeader(AParcel* parcel, const AStatus* status);
// The caller owns the new *status.
binder_status_t AParcel_readStatusHeader(const AParcel* parcel, AStatus** status);

#ifdef __cplusplus
}
#endif
