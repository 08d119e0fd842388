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
 * Owning wrappers of the binder NDK's C objects (host stand-in, with the real header's
 * semantics: moves swap or hand over, set() releases what was held without looking at it).
 */
#pragma once

#include <cstddef>
#include <string>
#include <utility>

#include <android/binder_ibinder.h>
#include <android/binder_parcel.h>
#include <android/binder_status.h>

namespace ndk {

// Holds one strong reference to a binder.
class SpAIBinder {
  public:
    SpAIBinder() : mBinder(nullptr) {}
    // Takes over a reference the caller already owns.
    explicit SpAIBinder(AIBinder* binder) : mBinder(binder) {}
    SpAIBinder(std::nullptr_t) : SpAIBinder() {}  // NOLINT(google-explicit-constructor)
    SpAIBinder(const SpAIBinder& other) { *this = other; }
    ~SpAIBinder() { set(nullptr); }

    SpAIBinder& operator=(const SpAIBinder& other) {
        if (this == &other) return *this;
        AIBinder_incStrong(other.mBinder);
        set(other.mBinder);
        return *this;
    }
    SpAIBinder(SpAIBinder&& other) noexcept : mBinder(nullptr) {
        std::swap(mBinder, other.mBinder);
    }
    SpAIBinder& operator=(SpAIBinder&& other) noexcept {
        std::swap(mBinder, other.mBinder);
        return *this;
    }

    // Drops the held reference and takes over binder's.
    void set(AIBinder* binder) {
        AIBinder* old = mBinder;
        if (old != nullptr) AIBinder_decStrong(old);
        mBinder = binder;
    }
    AIBinder* get() const { return mBinder; }
    AIBinder** getR() { return &mBinder; }

    bool operator==(const SpAIBinder& rhs) const { return mBinder == rhs.mBinder; }
    bool operator!=(const SpAIBinder& rhs) const { return mBinder != rhs.mBinder; }
    bool operator<(const SpAIBinder& rhs) const { return mBinder < rhs.mBinder; }

  private:
    AIBinder* mBinder = nullptr;
};

namespace impl {

// Owns one C resource and releases it with Destroy (which must accept DEFAULT).
template <typename T, void (*Destroy)(T), T DEFAULT>
class ScopedAResource {
  public:
    explicit ScopedAResource(T a = DEFAULT) : mT(a) {}
    ~ScopedAResource() { set(DEFAULT); }

    // Releases the held resource, whatever it is, and takes ownership of a.
    void set(T a) {
        Destroy(mT);
        mT = a;
    }
    T get() const { return mT; }
    T* getR() { return &mT; }

    ScopedAResource(const ScopedAResource&) = delete;
    ScopedAResource& operator=(const ScopedAResource&) = delete;
    ScopedAResource(ScopedAResource&& other) noexcept : mT(std::move(other.mT)) {
        other.mT = DEFAULT;
    }
    ScopedAResource& operator=(ScopedAResource&& other) noexcept {
        set(other.mT);
        other.mT = DEFAULT;
        return *this;
    }

    [[nodiscard]] T release() {
        T a = mT;
        mT = DEFAULT;
        return a;
    }

  private:
    T mT;
};

}  // namespace impl

class ScopedAParcel : public impl::ScopedAResource<AParcel*, AParcel_delete, nullptr> {
  public:
    explicit ScopedAParcel(AParcel* a = nullptr) : ScopedAResource(a) {}
    ~ScopedAParcel() {}
    ScopedAParcel(ScopedAParcel&&) = default;
    ScopedAParcel& operator=(ScopedAParcel&&) = default;

    bool operator==(const ScopedAParcel& rhs) const { return get() == rhs.get(); }
    bool operator!=(const ScopedAParcel& rhs) const { return get() != rhs.get(); }
    bool operator<(const ScopedAParcel& rhs) const { return get() < rhs.get(); }
    bool operator<=(const ScopedAParcel& rhs) const { return get() <= rhs.get(); }
    bool operator>(const ScopedAParcel& rhs) const { return get() > rhs.get(); }
    bool operator>=(const ScopedAParcel& rhs) const { return get() >= rhs.get(); }
};

class ScopedAStatus : public impl::ScopedAResource<AStatus*, AStatus_delete, nullptr> {
  public:
    explicit ScopedAStatus(AStatus* a = nullptr) : ScopedAResource(a) {}
    ~ScopedAStatus() {}
    ScopedAStatus(ScopedAStatus&&) = default;
    ScopedAStatus& operator=(ScopedAStatus&&) = default;

    bool isOk() const { return get() != nullptr && AStatus_isOk(get()); }
    binder_exception_t getExceptionCode() const { return AStatus_getExceptionCode(get()); }
    int32_t getServiceSpecificError() const { return AStatus_getServiceSpecificError(get()); }
    binder_status_t getStatus() const { return AStatus_getStatus(get()); }
    const char* getMessage() const { return AStatus_getMessage(get()); }

    std::string getDescription() const {
        const char* cStr = AStatus_getDescription(get());
        std::string ret = cStr;
        AStatus_deleteDescription(cStr);
        return ret;
    }

    static ScopedAStatus ok() { return ScopedAStatus(AStatus_newOk()); }
    static ScopedAStatus fromExceptionCode(binder_exception_t exception) {
        return ScopedAStatus(AStatus_fromExceptionCode(exception));
    }
    static ScopedAStatus fromExceptionCodeWithMessage(binder_exception_t exception,
                                                      const char* message) {
        return ScopedAStatus(AStatus_fromExceptionCodeWithMessage(exception, message));
    }
    static ScopedAStatus fromServiceSpecificError(int32_t serviceSpecific) {
        return ScopedAStatus(AStatus_fromServiceSpecificError(serviceSpecific));
    }
    static ScopedAStatus fromServiceSpecificErrorWithMessage(int32_t serviceSpecific,
                                                             const char* message) {
        return ScopedAStatus(AStatus_fromServiceSpecificErrorWithMessage(serviceSpecific, message));
    }
    static ScopedAStatus fromStatus(binder_status_t status) {
        return ScopedAStatus(AStatus_fromStatus(status));
    }
};

class ScopedAIBinder_Weak
    : public impl::ScopedAResource<AIBinder_Weak*, AIBinder_Weak_delete, nullptr> {
  public:
    explicit ScopedAIBinder_Weak(AIBinder_Weak* a = nullptr) : ScopedAResource(a) {}
    ~ScopedAIBinder_Weak() {}
    ScopedAIBinder_Weak(ScopedAIBinder_Weak&&) = default;
    ScopedAIBinder_Weak& operator=(ScopedAIBinder_Weak&&) = default;

    SpAIBinder promote() const { return SpAIBinder(AIBinder_Weak_promote(get())); }
};

}  // namespace ndk
