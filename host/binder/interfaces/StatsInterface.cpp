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

// Interface library of android.frameworks.stats, version 1.

#include <aidl/android/frameworks/stats/BnStats.h>
#include <aidl/android/frameworks/stats/BpStats.h>
#include <aidl/android/frameworks/stats/IStats.h>
#include <aidl/android/frameworks/stats/VendorAtom.h>
#include <aidl/android/frameworks/stats/VendorAtomValue.h>

#include <sstream>

#include <android/binder_stability.h>

#include "GeneratedCode.h"

namespace aidl::android::frameworks::stats {

namespace {

// Reads the arguments, calls the object, writes the reply (none for a oneway call).
binder_status_t onTransact(AIBinder* binder, transaction_code_t code, const AParcel* in,
                           AParcel* out) {
    auto impl = std::static_pointer_cast<BnStats>(::ndk::ICInterface::asInterface(binder));
    int32_t version = 0;
    std::string hash;
    switch (code) {
        case IStats::TRANSACTION_reportVendorAtom: {
            VendorAtom atom;
            binder_status_t read = zenth_host::readAll(in, &atom);
            if (read != STATUS_OK) return read;
            ::ndk::ScopedAStatus ignored = impl->reportVendorAtom(atom);
            return STATUS_OK;
        }
        case FIRST_CALL_TRANSACTION + 16777214 /*getInterfaceVersion*/:
            return zenth_host::writeReply(out, impl->getInterfaceVersion(&version), version);
        case FIRST_CALL_TRANSACTION + 16777213 /*getInterfaceHash*/:
            return zenth_host::writeReply(out, impl->getInterfaceHash(&hash), hash);
        default:
            return STATUS_UNKNOWN_TRANSACTION;
    }
}

template <VendorAtomValue::Tag tag, typename T>
binder_status_t readAlternative(const AParcel* parcel, VendorAtomValue* union_) {
    T value{};
    binder_status_t status = ::ndk::AParcel_readData(parcel, &value);
    if (status == STATUS_OK) union_->set<tag>(std::move(value));
    return status;
}

const AIBinder_Class* statsClass() {
    static const AIBinder_Class* clazz =
            ::ndk::ICInterface::defineClass(IStats::descriptor, onTransact);
    return clazz;
}

}  // namespace

const char* VendorAtomValue::descriptor = "android.frameworks.stats.VendorAtomValue";
const char* VendorAtom::descriptor = "android.frameworks.stats.VendorAtom";
const char* IStats::descriptor = "android.frameworks.stats.IStats";

binder_status_t VendorAtomValue::readFromParcel(const AParcel* _aidl_parcel) {
    int32_t tag = 0;
    binder_status_t status = AParcel_readInt32(_aidl_parcel, &tag);
    if (status != STATUS_OK) return status;
    switch (static_cast<Tag>(tag)) {
        case intValue:
            return readAlternative<intValue, int32_t>(_aidl_parcel, this);
        case longValue:
            return readAlternative<longValue, int64_t>(_aidl_parcel, this);
        case floatValue:
            return readAlternative<floatValue, float>(_aidl_parcel, this);
        case stringValue:
            return readAlternative<stringValue, std::string>(_aidl_parcel, this);
    }
    return STATUS_BAD_VALUE;
}

binder_status_t VendorAtomValue::writeToParcel(AParcel* _aidl_parcel) const {
    binder_status_t status = AParcel_writeInt32(_aidl_parcel, static_cast<int32_t>(getTag()));
    if (status != STATUS_OK) return status;
    return std::visit(
            [&](const auto& value) { return ::ndk::AParcel_writeData(_aidl_parcel, value); },
            _value);
}

binder_status_t VendorAtom::readFromParcel(const AParcel* _aidl_parcel) {
    return zenth_host::readParcelable(_aidl_parcel, &reverseDomainName, &atomId, &values);
}

binder_status_t VendorAtom::writeToParcel(AParcel* _aidl_parcel) const {
    return zenth_host::writeParcelable(_aidl_parcel, reverseDomainName, atomId, values);
}

std::string VendorAtomValue::toString() const {
    std::ostringstream os;
    os << "VendorAtomValue{";
    switch (getTag()) {
        case intValue:
            os << "intValue: " << get<intValue>();
            break;
        case longValue:
            os << "longValue: " << get<longValue>();
            break;
        case floatValue:
            os << "floatValue: " << get<floatValue>();
            break;
        case stringValue:
            os << "stringValue: " << get<stringValue>();
            break;
    }
    os << "}";
    return os.str();
}

std::string VendorAtom::toString() const {
    std::ostringstream os;
    os << "VendorAtom{reverseDomainName: " << reverseDomainName << ", atomId: " << atomId
       << ", values: [";
    for (size_t i = 0; i < values.size(); ++i) os << (i == 0 ? "" : ", ") << values[i].toString();
    os << "]}";
    return os.str();
}

IStats::IStats() {}
IStats::~IStats() {}

std::shared_ptr<IStats> IStats::fromBinder(const ::ndk::SpAIBinder& binder) {
    return zenth_host::interfaceFromBinder<IStats, BpStats>(binder, statsClass());
}

BnStats::BnStats() {}
BnStats::~BnStats() {}

::ndk::ScopedAStatus BnStats::getInterfaceVersion(int32_t* _aidl_return) {
    *_aidl_return = IStats::version;
    return ::ndk::ScopedAStatus::ok();
}

::ndk::ScopedAStatus BnStats::getInterfaceHash(std::string* _aidl_return) {
    *_aidl_return = IStats::hash;
    return ::ndk::ScopedAStatus::ok();
}

::ndk::SpAIBinder BnStats::createBinder() {
    AIBinder* binder = AIBinder_new(statsClass(), static_cast<void*>(this));
    AIBinder_markVintfStability(binder);  // a @VintfStability interface
    return ::ndk::SpAIBinder(binder);
}

BpStats::BpStats(const ::ndk::SpAIBinder& binder) : BpCInterface(binder) {}
BpStats::~BpStats() {}

::ndk::ScopedAStatus BpStats::reportVendorAtom(const VendorAtom& in_vendorAtom) {
    return zenth_host::callRemote<void>(asBinder(), TRANSACTION_reportVendorAtom, nullptr,
                                        in_vendorAtom);
}

::ndk::ScopedAStatus BpStats::getInterfaceVersion(int32_t* _aidl_return) {
    return zenth_host::callRemoteOnce(asBinder(),
                                      FIRST_CALL_TRANSACTION + 16777214 /*getInterfaceVersion*/,
                                      _aidl_cached_hash_mutex, &_aidl_cached_version, _aidl_return);
}

::ndk::ScopedAStatus BpStats::getInterfaceHash(std::string* _aidl_return) {
    return zenth_host::callRemoteOnce(asBinder(),
                                      FIRST_CALL_TRANSACTION + 16777213 /*getInterfaceHash*/,
                                      _aidl_cached_hash_mutex, &_aidl_cached_hash, _aidl_return);
}

}  // namespace aidl::android::frameworks::stats
