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

// What the generated interface code does the same way for every interface, method and
// parcelable, written once: fromBinder, the client and the server side of a call, and the
// size header of a structured parcelable.
#pragma once

#include <climits>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <type_traits>

#include <android/binder_interface_utils.h>
#include <android/binder_parcel_utils.h>

namespace zenth_host {

// The local object for a binder of this process, a new proxy for a binder of another one,
// null for no binder or a binder of another interface.
template <typename INTERFACE, typename PROXY>
std::shared_ptr<INTERFACE> interfaceFromBinder(const ndk::SpAIBinder& binder,
                                               const AIBinder_Class* clazz) {
    if (!AIBinder_associateClass(binder.get(), clazz)) {
        const AIBinder_Class* original = AIBinder_getClass(binder.get());
        if (original == nullptr ||
            std::strcmp(AIBinder_Class_getDescriptor(original), INTERFACE::descriptor) != 0) {
            return nullptr;
        }
        return ndk::SharedRefBase::make<PROXY>(binder);
    }
    std::shared_ptr<ndk::ICInterface> local = ndk::ICInterface::asInterface(binder.get());
    if (local) return std::static_pointer_cast<INTERFACE>(local);
    return ndk::SharedRefBase::make<PROXY>(binder);
}

// Writes the values in order; stops at the first failure.
template <typename... T>
binder_status_t writeAll([[maybe_unused]] AParcel* parcel, const T&... values) {
    binder_status_t status = STATUS_OK;
    ((status = status == STATUS_OK ? ndk::AParcel_writeData(parcel, values) : status), ...);
    return status;
}

template <typename... T>
binder_status_t readAll([[maybe_unused]] const AParcel* parcel, T*... values) {
    binder_status_t status = STATUS_OK;
    ((status = status == STATUS_OK ? ndk::AParcel_readData(parcel, values) : status), ...);
    return status;
}

// The client side of a call: the arguments into a parcel, the transaction, then (unless
// oneway) the status header and the result. A failure on the way is the returned status.
template <typename Result, typename... Args>
ndk::ScopedAStatus callRemote(const ndk::SpAIBinder& binder, transaction_code_t code,
                              Result* result, const Args&... args) {
    constexpr bool kOneway = std::is_same_v<Result, void>;
    ndk::ScopedAParcel in;
    ndk::ScopedAParcel out;
    ndk::ScopedAStatus status;
    binder_status_t ret = AIBinder_prepareTransaction(binder.get(), in.getR());
    if (ret == STATUS_OK) ret = writeAll(in.get(), args...);
    if (ret == STATUS_OK) {
        ret = AIBinder_transact(binder.get(), code, in.getR(), out.getR(),
                                kOneway ? FLAG_ONEWAY : 0);
    }
    if constexpr (!kOneway) {
        if (ret == STATUS_OK) ret = AParcel_readStatusHeader(out.get(), status.getR());
        if (ret == STATUS_OK && !status.isOk()) return status;
        if (ret == STATUS_OK) ret = ndk::AParcel_readData(out.get(), result);
    }
    status.set(AStatus_fromStatus(ret));
    return status;
}

// A proxy's kept version and hash hold these until the remote has answered.
inline bool answered(int32_t version) {
    return version != -1;
}
inline bool answered(const std::string& hash) {
    return hash != "-1";
}

// A proxy's getInterfaceVersion or getInterfaceHash: the remote is asked until it has answered
// once; later calls take the kept answer and send nothing. The generated proxy locks only the
// hash; the version shares that lock here so that concurrent callers do not race on it.
template <typename Result>
ndk::ScopedAStatus callRemoteOnce(const ndk::SpAIBinder& binder, transaction_code_t code,
                                  std::mutex& mutex, Result* kept, Result* result) {
    std::lock_guard<std::mutex> lock(mutex);
    if (answered(*kept)) {
        *result = *kept;
        return ndk::ScopedAStatus::ok();
    }
    ndk::ScopedAStatus status = callRemote(binder, code, result);
    if (status.isOk()) *kept = *result;
    return status;
}

// The server side of a two-way call once the object answered: the status header, then the
// result if the call succeeded. A failed write fails the transaction.
template <typename Result>
binder_status_t writeReply(AParcel* out, const ndk::ScopedAStatus& status, const Result& result) {
    binder_status_t written = AParcel_writeStatusHeader(out, status.get());
    if (written != STATUS_OK || !status.isOk()) return written;
    return ndk::AParcel_writeData(out, result);
}

// A structured parcelable: its size, then its fields.
template <typename... T>
binder_status_t writeParcelable(AParcel* parcel, const T&... fields) {
    const int32_t start = AParcel_getDataPosition(parcel);
    binder_status_t status = AParcel_writeInt32(parcel, 0);
    if (status == STATUS_OK) status = writeAll(parcel, fields...);
    if (status != STATUS_OK) return status;
    const int32_t end = AParcel_getDataPosition(parcel);
    AParcel_setDataPosition(parcel, start);
    status = AParcel_writeInt32(parcel, end - start);
    AParcel_setDataPosition(parcel, end);
    return status;
}

// Reads the fields the size covers (a later field keeps its value, as an older writer did
// not know it), then goes on after the whole parcelable (past fields a newer writer added).
template <typename... T>
binder_status_t readParcelable(const AParcel* parcel, T*... fields) {
    const int32_t start = AParcel_getDataPosition(parcel);
    int32_t size = 0;
    binder_status_t status = AParcel_readInt32(parcel, &size);
    if (status != STATUS_OK) return status;
    if (size < 4 || start > INT_MAX - size) return STATUS_BAD_VALUE;
    auto readField = [&](auto* field) {
        if (status != STATUS_OK || AParcel_getDataPosition(parcel) - start >= size) return;
        status = ndk::AParcel_readData(parcel, field);
    };
    (readField(fields), ...);
    if (status == STATUS_OK) AParcel_setDataPosition(parcel, start + size);
    return status;
}

}  // namespace zenth_host
