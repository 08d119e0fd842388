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

// Status objects of the binder NDK.

#include <android/binder_status.h>

#include <cstring>
#include <string>

struct AStatus {
    binder_exception_t exception = EX_NONE;
    int32_t serviceSpecific = 0;
    binder_status_t status = STATUS_OK;
    std::string message;
};

namespace {

AStatus* newStatus(binder_exception_t exception, int32_t serviceSpecific, binder_status_t status,
                   const char* message) {
    return new AStatus{exception, serviceSpecific, status, message != nullptr ? message : ""};
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

const char* AStatus_getDescription(const AStatus* status) {
    std::string text;
    if (status->exception == EX_NONE) {
        text = "No error";
    } else if (status->exception == EX_SERVICE_SPECIFIC) {
        text = "Service-specific error " + std::to_string(status->serviceSpecific);
    } else if (status->exception == EX_TRANSACTION_FAILED) {
        text = "Transaction failed with status " + std::to_string(status->status);
    } else {
        text = "Exception " + std::to_string(status->exception);
    }
    if (!status->message.empty()) text += ": '" + status->message + "'";
    return strdup(text.c_str());
}

void AStatus_deleteDescription(const char* description) {
    free(const_cast<char*>(description));
}

void AStatus_delete(AStatus* status) {
    delete status;
}
