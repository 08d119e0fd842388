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

#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>

namespace ndk {

// Base of every object shared through binder: it only ever lives in a std::shared_ptr.
class SharedRefBase {
  public:
    SharedRefBase() {}
    virtual ~SharedRefBase() {}
    SharedRefBase(const SharedRefBase&) = delete;
    SharedRefBase& operator=(const SharedRefBase&) = delete;

    // The shared pointer owning this object; the first call creates it if make() did not.
    template <typename T = SharedRefBase>
    std::shared_ptr<T> ref() {
        std::shared_ptr<SharedRefBase> thiz = mThis.lock();
        std::call_once(mFlagThis, [&] { mThis = thiz = std::shared_ptr<SharedRefBase>(this); });
        return std::static_pointer_cast<T>(thiz);
    }
    template <typename T = SharedRefBase>
    std::shared_ptr<const T> ref() const {
        return const_cast<SharedRefBase*>(this)->ref<const T>();
    }

    template <class T, class... Args>
    static std::shared_ptr<T> make(Args&&... args) {
        T* t = new T(std::forward<Args>(args)...);
        return t->template ref<T>();
    }

  private:
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

    // The local object behind binder, or null for a binder this class did not create.
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

}  // namespace ndk
