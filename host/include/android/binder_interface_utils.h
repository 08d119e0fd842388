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
 * Shared-object base classes of binder interfaces (host stand-in).
 */
#pragma once

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>

namespace ndk {

// Base of every object shared through binder. It lives only in the std::shared_ptr that
// make() creates: it cannot be made with new, and destroying one that was never referenced
// or that a second owner still holds aborts.
class SharedRefBase {
  public:
    SharedRefBase() {}
    virtual ~SharedRefBase() {
        std::call_once(mFlagThis, [&] { fatal("no ref created during lifetime"); });
        if (ref() != nullptr) fatal("destructed but still able to lock weak_ptr: double-owned");
    }
    SharedRefBase(const SharedRefBase&) = delete;
    SharedRefBase& operator=(const SharedRefBase&) = delete;

    // The shared pointer owning this object; the first call creates it if make() did not.
    std::shared_ptr<SharedRefBase> ref() {
        std::shared_ptr<SharedRefBase> thiz = mThis.lock();
        std::call_once(mFlagThis, [&] { mThis = thiz = std::shared_ptr<SharedRefBase>(this); });
        return thiz;
    }
    template <typename CHILD>
    std::shared_ptr<CHILD> ref() {
        return std::static_pointer_cast<CHILD>(ref());
    }

    template <class T, class... Args>
    static std::shared_ptr<T> make(Args&&... args) {
        T* t = new T(std::forward<Args>(args)...);
        return t->template ref<T>();
    }

    static void operator delete(void* p) { std::free(p); }

  private:
    // Only make() may allocate, so that every object has exactly one owner.
    static void* operator new(size_t s) { return std::malloc(s); }

    [[noreturn]] static void fatal(const char* what) {
        std::fprintf(stderr, "SharedRefBase: %s\n", what);
        std::abort();
    }

    std::once_flag mFlagThis;
    std::weak_ptr<SharedRefBase> mThis;
};

// Base of every interface, local or remote.
class ICInterface : public SharedRefBase {
  public:
    ICInterface() {}
    virtual ~ICInterface() {}

    virtual SpAIBinder asBinder() = 0;
    virtual bool isRemote() = 0;
    virtual binder_status_t dump(int /*fd*/, const char** /*args*/, uint32_t /*numArgs*/) {
        return STATUS_OK;
    }
    virtual binder_status_t handleShellCommand(int /*in*/, int /*out*/, int /*err*/,
                                               const char** /*argv*/, uint32_t /*argc*/) {
        return STATUS_OK;
    }

    // The local object behind binder; null for a proxy or a binder this class did not create.
    static std::shared_ptr<ICInterface> asInterface(AIBinder* binder);

    // Defines the binder class of one interface; its binders own a reference to their object.
    static AIBinder_Class* defineClass(const char* interfaceDescriptor,
                                       AIBinder_Class_onTransact onTransact);
};

// Server side of an interface: one binder at a time, kept weakly and re-created after it died.
template <typename INTERFACE>
class BnCInterface : public INTERFACE {
  public:
    BnCInterface() {}
    virtual ~BnCInterface() {}

    SpAIBinder asBinder() override final;
    bool isRemote() override final { return false; }

    static std::string makeServiceName(std::string_view instance) {
        return INTERFACE::descriptor + ("/" + std::string(instance));
    }

  protected:
    // Creates a new binder holding a strong reference to this object.
    virtual SpAIBinder createBinder() = 0;

  private:
    std::mutex mMutex;
    ScopedAIBinder_Weak mWeakBinder;
};

template <typename INTERFACE>
SpAIBinder BnCInterface<INTERFACE>::asBinder() {
    std::lock_guard<std::mutex> lock(mMutex);
    SpAIBinder binder;
    if (mWeakBinder.get() != nullptr) binder.set(AIBinder_Weak_promote(mWeakBinder.get()));
    if (binder.get() == nullptr) {
        binder = createBinder();
        mWeakBinder.set(AIBinder_Weak_new(binder.get()));
    }
    return binder;
}

// Client side of an interface whose object lives in another process.
template <typename INTERFACE>
class BpCInterface : public INTERFACE {
  public:
    explicit BpCInterface(const SpAIBinder& binder) : mBinder(binder) {}
    virtual ~BpCInterface() {}

    SpAIBinder asBinder() override final { return mBinder; }
    bool isRemote() override final { return AIBinder_isRemote(mBinder.get()); }

  private:
    SpAIBinder mBinder;
};

}  // namespace ndk

// std::make_shared would build a SharedRefBase with the global placement new, past the private
// operator new, and a later ref() would then give the object a second owner. This overload
// ties with the library's for exactly those types, so every such call fails to compile as
// ambiguous instead.
namespace std {
template <typename T, typename... Args, enable_if_t<is_base_of_v<::ndk::SharedRefBase, T>, int> = 0>
shared_ptr<T> make_shared(Args&&... args) = delete;
}  // namespace std
