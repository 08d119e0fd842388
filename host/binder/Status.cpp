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

// Status objects of the binder NDK, and the status header that heads every reply.

#include <android/binder_parcel.h>
#include <android/binder_parcel_utils.h>
#include <android/binder_status.h>

#include <atomic>
#include <cstring>
#include <string>

#include <zenth_host/binder_host.h>

struct AStatus {
    binder_exception_t exception = EX_NONE;
    int32_t serviceSpecific = 0;
    binder_status_t status = STATUS_OK;
    std::string message;
};

namespace {

std::atomic<size_t> gLiveStatuses{0};

AStatus* newStatus(binder_exception_t exception, int32_t serviceSpecific, binder_status_t status,
                   const char* message) {
    ++gLiveStatuses;
    return new AStatus{exception, serviceSpecific, status, message != nullptr ? message : ""};
}

struct Name {
    int32_t value;
    const char* name;
};

constexpr Name kExceptionNames[] = {
        {EX_NONE, "EX_NONE"},
        {EX_SECURITY, "EX_SECURITY"},
        {EX_BAD_PARCELABLE, "EX_BAD_PARCELABLE"},
        {EX_ILLEGAL_ARGUMENT, "EX_ILLEGAL_ARGUMENT"},
        {EX_NULL_POINTER, "EX_NULL_POINTER"},
        {EX_ILLEGAL_STATE, "EX_ILLEGAL_STATE"},
        {EX_NETWORK_MAIN_THREAD, "EX_NETWORK_MAIN_THREAD"},
        {EX_UNSUPPORTED_OPERATION, "EX_UNSUPPORTED_OPERATION"},
        {EX_SERVICE_SPECIFIC, "EX_SERVICE_SPECIFIC"},
        {EX_PARCELABLE, "EX_PARCELABLE"},
        {EX_TRANSACTION_FAILED, "EX_TRANSACTION_FAILED"},
};

constexpr Name kStatusNames[] = {
        {STATUS_UNKNOWN_ERROR, "UNKNOWN_ERROR"},
        {STATUS_NO_MEMORY, "NO_MEMORY"},
        {STATUS_INVALID_OPERATION, "INVALID_OPERATION"},
        {STATUS_BAD_VALUE, "BAD_VALUE"},
        {STATUS_BAD_TYPE, "BAD_TYPE"},
        {STATUS_NAME_NOT_FOUND, "NAME_NOT_FOUND"},
        {STATUS_PERMISSION_DENIED, "PERMISSION_DENIED"},
        {STATUS_NO_INIT, "NO_INIT"},
        {STATUS_ALREADY_EXISTS, "ALREADY_EXISTS"},
        {STATUS_DEAD_OBJECT, "DEAD_OBJECT"},
        {STATUS_FAILED_TRANSACTION, "FAILED_TRANSACTION"},
        {STATUS_BAD_INDEX, "BAD_INDEX"},
        {STATUS_NOT_ENOUGH_DATA, "NOT_ENOUGH_DATA"},
        {STATUS_WOULD_BLOCK, "WOULD_BLOCK"},
        {STATUS_TIMED_OUT, "TIMED_OUT"},
        {STATUS_UNKNOWN_TRANSACTION, "UNKNOWN_TRANSACTION"},
        {STATUS_FDS_NOT_ALLOWED, "FDS_NOT_ALLOWED"},
        {STATUS_UNEXPECTED_NULL, "UNEXPECTED_NULL"},
};

template <size_t N>
std::string nameOf(const Name (&names)[N], int32_t value) {
    for (const Name& known : names) {
        if (known.value == value) return known.name;
    }
    return std::to_string(value);
}

}  // namespace

AStatus* AStatus_newOk() {
    return newStatus(EX_NONE, 0, STATUS_OK, nullptr);
}

AStatus* AStatus_fromExceptionCode(binder_exception_t exception) {
    return AStatus_fromExceptionCodeWithMessage(exception, nullptr);
}

AStatus* AStatus_fromExceptionCodeWithMessage(binder_exception_t exception, const char* message) {
    // A transaction failure is carried as a transport status, as the platform does.
    if (exception == EX_TRANSACTION_FAILED) {
        return newStatus(exception, 0, STATUS_FAILED_TRANSACTION, message);
    }
    return newStatus(exception, 0, STATUS_OK, message);
}

AStatus* AStatus_fromServiceSpecificError(int32_t serviceSpecific) {
    return AStatus_fromServiceSpecificErrorWithMessage(serviceSpecific, nullptr);
}

AStatus* AStatus_fromServiceSpecificErrorWithMessage(int32_t serviceSpecific, const char* message) {
    return newStatus(EX_SERVICE_SPECIFIC, serviceSpecific, STATUS_OK, message);
}

AStatus* AStatus_fromStatus(binder_status_t status) {
    if (status == STATUS_OK) return AStatus_newOk();
    return newStatus(EX_TRANSACTION_FAILED, 0, status, nullptr);
}

bool AStatus_isOk(const AStatus* status) {
    return status->exception == EX_NONE;
}

binder_exception_t AStatus_getExceptionCode(const AStatus* status) {
    return status->exception;
}

int32_t AStatus_getServiceSpecificError(const AStatus* status) {
    return status->exception == EX_SERVICE_SPECIFIC ? status->serviceSpecific : 0;
}

binder_status_t AStatus_getStatus(const AStatus* status) {
    return status->exception == EX_TRANSACTION_FAILED ? status->status : STATUS_OK;
}

const char* AStatus_getMessage(const AStatus* status) {
    return status->message.c_str();
}

// "Status(-129, EX_TRANSACTION_FAILED): 'BAD_VALUE: '", as the platform describes a status.
const char* AStatus_getDescription(const AStatus* status) {
    std::string text = "No error";
    if (status->exception != EX_NONE) {
        text = "Status(" + std::to_string(status->exception) + ", " +
               nameOf(kExceptionNames, status->exception) + "): '";
        if (status->exception == EX_SERVICE_SPECIFIC) {
            text += std::to_string(status->serviceSpecific) + ": ";
        } else if (status->exception == EX_TRANSACTION_FAILED) {
            text += nameOf(kStatusNames, status->status) + ": ";
        }
        text += status->message + "'";
    }
    return strdup(text.c_str());
}

void AStatus_deleteDescription(const char* description) {
    free(const_cast<char*>(description));
}

void AStatus_delete(AStatus* status) {
    if (status == nullptr) return;
    --gLiveStatuses;
    delete status;
}

binder_status_t AParcel_writeStatusHeader(AParcel* parcel, const AStatus* status) {
    if (status->exception == EX_TRANSACTION_FAILED) return status->status;
    binder_status_t written = AParcel_writeInt32(parcel, status->exception);
    if (written != STATUS_OK || status->exception == EX_NONE) return written;
    written = ndk::AParcel_writeString(parcel, status->message);
    // An empty remote stack trace, then the error code where the exception has one.
    if (written == STATUS_OK) written = AParcel_writeInt32(parcel, 0);
    if (written == STATUS_OK && status->exception == EX_SERVICE_SPECIFIC) {
        written = AParcel_writeInt32(parcel, status->serviceSpecific);
    }
    return written;
}

binder_status_t AParcel_readStatusHeader(const AParcel* parcel, AStatus** status) {
    int32_t exception = EX_NONE;
    std::string message;
    int32_t stackTrace = 0;
    int32_t serviceSpecific = 0;
    binder_status_t read = AParcel_readInt32(parcel, &exception);
    if (read == STATUS_OK && exception != EX_NONE) {
        read = ndk::AParcel_readString(parcel, &message);
        if (read == STATUS_OK) read = AParcel_readInt32(parcel, &stackTrace);
        if (read == STATUS_OK && exception == EX_SERVICE_SPECIFIC) {
            read = AParcel_readInt32(parcel, &serviceSpecific);
        }
    }
    if (read != STATUS_OK) return read;
    if (exception == EX_TRANSACTION_FAILED) return STATUS_BAD_VALUE;
    *status = newStatus(exception, serviceSpecific, STATUS_OK, message.c_str());
    return STATUS_OK;
}

namespace zenth_host {

size_t liveStatusCount() {
    return gLiveStatuses.load();
}

}  // namespace zenth_host
