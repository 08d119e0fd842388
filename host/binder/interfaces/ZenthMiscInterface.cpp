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

// Interface library of vendor.zenth.hardware.misc, version 1.

#include <aidl/vendor/zenth/hardware/misc/BnZenthMisc.h>
#include <aidl/vendor/zenth/hardware/misc/BpZenthMisc.h>
#include <aidl/vendor/zenth/hardware/misc/IZenthMisc.h>
#include <aidl/vendor/zenth/hardware/misc/ZenthMiscStatus.h>

#include <android/binder_stability.h>

#include "GeneratedCode.h"

namespace aidl::vendor::zenth::hardware::misc {

using zenth_host::callRemote;
using zenth_host::callRemoteOnce;
using zenth_host::readAll;
using zenth_host::writeReply;

namespace {

// Reads the arguments, calls the object, writes the reply.
binder_status_t onTransact(AIBinder* binder, transaction_code_t code, const AParcel* in,
                           AParcel* out) {
    auto impl = std::static_pointer_cast<BnZenthMisc>(::ndk::ICInterface::asInterface(binder));
    int32_t deviceId = 0, nodeFlag = 0, type = 0, length = 0, number = 0;
    std::string data, text;
    std::vector<uint8_t> bytes;
    bool saved = false;
    ZenthMiscStatus status;
    switch (code) {
        case IZenthMisc::TRANSACTION_initialize:
            return writeReply(out, impl->initialize(&status), status);
        case IZenthMisc::TRANSACTION_isMiscNodeSupport: {
            binder_status_t read = readAll(in, &deviceId, &nodeFlag);
            if (read != STATUS_OK) return read;
            return writeReply(out, impl->isMiscNodeSupport(deviceId, nodeFlag, &number), number);
        }
        case IZenthMisc::TRANSACTION_miscReadNodeFile: {
            binder_status_t read = readAll(in, &deviceId, &nodeFlag);
            if (read != STATUS_OK) return read;
            return writeReply(out, impl->miscReadNodeFile(deviceId, nodeFlag, &text), text);
        }
        case IZenthMisc::TRANSACTION_miscWriteNodeFile: {
            binder_status_t read = readAll(in, &deviceId, &nodeFlag, &data);
            if (read != STATUS_OK) return read;
            return writeReply(out, impl->miscWriteNodeFile(deviceId, nodeFlag, data, &number),
                              number);
        }
        case IZenthMisc::TRANSACTION_saveCalibrationData: {
            binder_status_t read = readAll(in, &type, &bytes, &length);
            if (read != STATUS_OK) return read;
            return writeReply(out, impl->saveCalibrationData(type, bytes, length, &saved), saved);
        }
        case FIRST_CALL_TRANSACTION + 16777214 /*getInterfaceVersion*/:
            return writeReply(out, impl->getInterfaceVersion(&number), number);
        case FIRST_CALL_TRANSACTION + 16777213 /*getInterfaceHash*/:
            return writeReply(out, impl->getInterfaceHash(&text), text);
        default:
            return STATUS_UNKNOWN_TRANSACTION;
    }
}

const AIBinder_Class* zenthMiscClass() {
    static const AIBinder_Class* clazz =
            ::ndk::ICInterface::defineClass(IZenthMisc::descriptor, onTransact);
    return clazz;
}

}  // namespace

const char* ZenthMiscStatus::descriptor = "vendor.zenth.hardware.misc.ZenthMiscStatus";
const char* IZenthMisc::descriptor = "vendor.zenth.hardware.misc.IZenthMisc";

binder_status_t ZenthMiscStatus::readFromParcel(const AParcel* _aidl_parcel) {
    return zenth_host::readParcelable(_aidl_parcel, &status);
}

binder_status_t ZenthMiscStatus::writeToParcel(AParcel* _aidl_parcel) const {
    return zenth_host::writeParcelable(_aidl_parcel, status);
}

IZenthMisc::IZenthMisc() {}
IZenthMisc::~IZenthMisc() {}

std::shared_ptr<IZenthMisc> IZenthMisc::fromBinder(const ::ndk::SpAIBinder& binder) {
    return zenth_host::interfaceFromBinder<IZenthMisc, BpZenthMisc>(binder, zenthMiscClass());
}

BnZenthMisc::BnZenthMisc() {}
BnZenthMisc::~BnZenthMisc() {}

::ndk::ScopedAStatus BnZenthMisc::getInterfaceVersion(int32_t* _aidl_return) {
    *_aidl_return = IZenthMisc::version;
    return ::ndk::ScopedAStatus::ok();
}

::ndk::ScopedAStatus BnZenthMisc::getInterfaceHash(std::string* _aidl_return) {
    *_aidl_return = IZenthMisc::hash;
    return ::ndk::ScopedAStatus::ok();
}

::ndk::SpAIBinder BnZenthMisc::createBinder() {
    AIBinder* binder = AIBinder_new(zenthMiscClass(), static_cast<void*>(this));
    AIBinder_markVintfStability(binder);  // a @VintfStability interface
    return ::ndk::SpAIBinder(binder);
}

BpZenthMisc::BpZenthMisc(const ::ndk::SpAIBinder& binder) : BpCInterface(binder) {}
BpZenthMisc::~BpZenthMisc() {}

::ndk::ScopedAStatus BpZenthMisc::initialize(ZenthMiscStatus* _aidl_return) {
    return callRemote(asBinder(), TRANSACTION_initialize, _aidl_return);
}

::ndk::ScopedAStatus BpZenthMisc::isMiscNodeSupport(int32_t in_deviceId, int32_t in_nodeFlag,
                                                    int32_t* _aidl_return) {
    return callRemote(asBinder(), TRANSACTION_isMiscNodeSupport, _aidl_return, in_deviceId,
                      in_nodeFlag);
}

::ndk::ScopedAStatus BpZenthMisc::miscReadNodeFile(int32_t in_deviceId, int32_t in_nodeFlag,
                                                   std::string* _aidl_return) {
    return callRemote(asBinder(), TRANSACTION_miscReadNodeFile, _aidl_return, in_deviceId,
                      in_nodeFlag);
}

::ndk::ScopedAStatus BpZenthMisc::miscWriteNodeFile(int32_t in_deviceId, int32_t in_nodeFlag,
                                                    const std::string& in_data,
                                                    int32_t* _aidl_return) {
    return callRemote(asBinder(), TRANSACTION_miscWriteNodeFile, _aidl_return, in_deviceId,
                      in_nodeFlag, in_data);
}

::ndk::ScopedAStatus BpZenthMisc::saveCalibrationData(int32_t in_type,
                                                      const std::vector<uint8_t>& in_calibrationData,
                                                      int32_t in_length, bool* _aidl_return) {
    return callRemote(asBinder(), TRANSACTION_saveCalibrationData, _aidl_return, in_type,
                      in_calibrationData, in_length);
}

::ndk::ScopedAStatus BpZenthMisc::getInterfaceVersion(int32_t* _aidl_return) {
    return callRemoteOnce(asBinder(), FIRST_CALL_TRANSACTION + 16777214 /*getInterfaceVersion*/,
                          _aidl_cached_hash_mutex, &_aidl_cached_version, _aidl_return);
}

::ndk::ScopedAStatus BpZenthMisc::getInterfaceHash(std::string* _aidl_return) {
    return callRemoteOnce(asBinder(), FIRST_CALL_TRANSACTION + 16777213 /*getInterfaceHash*/,
                          _aidl_cached_hash_mutex, &_aidl_cached_hash, _aidl_return);
}

}  // namespace aidl::vendor::zenth::hardware::misc
