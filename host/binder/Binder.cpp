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

// Binder objects and their proxies: reference counts, weak references, user data, and the
// transactions that carry calls made through a proxy.

#include <android/binder_ibinder.h>
#include <android/binder_interface_utils.h>
#include <android/binder_parcel_utils.h>
#include <android/binder_stability.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>

#include <zenth_host/binder_host.h>

#include "Process.h"
#include "ThreadPool.h"

using zenth_host::Process;

struct AIBinder_Class {
    std::string descriptor;
    AIBinder_Class_onCreate onCreate;
    AIBinder_Class_onDestroy onDestroy;
    AIBinder_Class_onTransact onTransact;
};

// Lives until both counts reach zero. An object's user data dies with its last strong
// reference; a proxy holds a strong reference to its object until then.
struct AIBinder {
    AIBinder(const AIBinder_Class* binderClass, void* data, std::shared_ptr<Process> process,
             AIBinder* object)
        : clazz(binderClass), userData(data), owner(std::move(process)), remote(object) {}

    std::atomic<const AIBinder_Class*> clazz;
    void* const userData;
    const std::shared_ptr<Process> owner;  // the process that serves the object's calls
    AIBinder* const remote;                // for a proxy, its object; null for the object
    std::atomic<bool> vintf{false};
    std::mutex mutex;
    int32_t strong = 1;
    int32_t weak = 0;
};

struct AIBinder_Weak {
    AIBinder* binder;
};

namespace {

std::atomic<size_t> gTransactionsSent{0};

[[noreturn]] void fatal(const char* what) {
    std::fprintf(stderr, "binder: %s\n", what);
    std::abort();
}

AIBinder* objectOf(AIBinder* binder) {
    return binder->remote != nullptr ? binder->remote : binder;
}

// The object's side of a transaction, in the process that serves it: the interface token
// must name the object's interface, as the platform checks before onTransact.
binder_status_t deliver(AIBinder* object, transaction_code_t code, const AParcel* in, AParcel* out) {
    const AIBinder_Class* clazz = object->clazz.load();
    std::string token;
    if (ndk::AParcel_readString(in, &token) != STATUS_OK || token != clazz->descriptor) {
        return STATUS_BAD_TYPE;
    }
    return clazz->onTransact(object, code, in, out);
}

// One call on its way to the object; kept until it has been served, also when the caller
// does not wait for it.
struct Transaction {
    explicit Transaction(AParcel* in) : request(in) {}

    binder_status_t receive() {
        AParcel_setDataPosition(request.get(), 0);
        return deliver(objectOf(target.get()), code, request.get(), reply.get());
    }

    ndk::SpAIBinder target;
    transaction_code_t code = 0;
    ndk::ScopedAParcel request;
    ndk::ScopedAParcel reply{AParcel_create()};
};

}  // namespace

AIBinder_Class* AIBinder_Class_define(const char* interfaceDescriptor,
                                      AIBinder_Class_onCreate onCreate,
                                      AIBinder_Class_onDestroy onDestroy,
                                      AIBinder_Class_onTransact onTransact) {
    return new AIBinder_Class{interfaceDescriptor, onCreate, onDestroy, onTransact};
}

const char* AIBinder_Class_getDescriptor(const AIBinder_Class* clazz) {
    return clazz->descriptor.c_str();
}

AIBinder* AIBinder_new(const AIBinder_Class* clazz, void* args) {
    if (clazz == nullptr) return nullptr;
    void* userData = clazz->onCreate != nullptr ? clazz->onCreate(args) : args;
    return new AIBinder(clazz, userData, zenth_host::currentProcess(), nullptr);
}

bool AIBinder_isRemote(const AIBinder* binder) {
    return binder != nullptr && binder->remote != nullptr;
}

bool AIBinder_isAlive(const AIBinder* /*binder*/) {
    return true;
}

binder_status_t AIBinder_ping(AIBinder* /*binder*/) {
    return STATUS_OK;
}

void AIBinder_incStrong(AIBinder* binder) {
    if (binder == nullptr) return;
    std::lock_guard<std::mutex> lock(binder->mutex);
    if (binder->strong <= 0) fatal("incStrong on a dead binder");
    ++binder->strong;
}

void AIBinder_decStrong(AIBinder* binder) {
    if (binder == nullptr) return;
    bool unused = false;
    {
        std::lock_guard<std::mutex> lock(binder->mutex);
        if (binder->strong <= 0) fatal("decStrong on a dead binder");
        if (--binder->strong > 0) return;
        unused = binder->weak == 0;
    }
    AIBinder_Class_onDestroy onDestroy = nullptr;
    void* userData = binder->userData;
    AIBinder* object = binder->remote;
    if (object == nullptr) onDestroy = binder->clazz.load()->onDestroy;
    // Destroying the user data may drop the last weak reference, which then frees the binder.
    if (unused) delete binder;
    if (onDestroy != nullptr) onDestroy(userData);
    AIBinder_decStrong(object);
}

bool AIBinder_associateClass(AIBinder* binder, const AIBinder_Class* clazz) {
    if (binder == nullptr || clazz == nullptr) return false;
    const AIBinder_Class* current = nullptr;
    if (binder->remote != nullptr && binder->remote->clazz.load()->descriptor == clazz->descriptor) {
        binder->clazz.compare_exchange_strong(current, clazz);
    }
    return binder->clazz.load() == clazz;
}

const AIBinder_Class* AIBinder_getClass(AIBinder* binder) {
    return binder != nullptr ? binder->clazz.load() : nullptr;
}

void* AIBinder_getUserData(AIBinder* binder) {
    return binder != nullptr ? binder->userData : nullptr;
}

AIBinder_Weak* AIBinder_Weak_new(AIBinder* binder) {
    if (binder == nullptr) return nullptr;
    std::lock_guard<std::mutex> lock(binder->mutex);
    ++binder->weak;
    return new AIBinder_Weak{binder};
}

void AIBinder_Weak_delete(AIBinder_Weak* weakBinder) {
    if (weakBinder == nullptr) return;
    AIBinder* binder = weakBinder->binder;
    delete weakBinder;
    bool unused = false;
    {
        std::lock_guard<std::mutex> lock(binder->mutex);
        unused = --binder->weak == 0 && binder->strong == 0;
    }
    if (unused) delete binder;
}

AIBinder* AIBinder_Weak_promote(AIBinder_Weak* weakBinder) {
    if (weakBinder == nullptr) return nullptr;
    AIBinder* binder = weakBinder->binder;
    std::lock_guard<std::mutex> lock(binder->mutex);
    if (binder->strong == 0) return nullptr;
    ++binder->strong;
    return binder;
}

binder_status_t AIBinder_prepareTransaction(AIBinder* binder, AParcel** in) {
    if (binder == nullptr || in == nullptr) return STATUS_UNEXPECTED_NULL;
    const AIBinder_Class* clazz = binder->clazz.load();
    if (clazz == nullptr) return STATUS_INVALID_OPERATION;
    *in = AParcel_create();
    return ndk::AParcel_writeString(*in, clazz->descriptor);
}

binder_status_t AIBinder_transact(AIBinder* binder, transaction_code_t code, AParcel** in,
                                  AParcel** out, binder_flags_t flags) {
    if (in == nullptr) return STATUS_UNEXPECTED_NULL;
    auto transaction = std::make_shared<Transaction>(*in);
    *in = nullptr;
    if (binder == nullptr || out == nullptr || transaction->request.get() == nullptr) {
        return STATUS_UNEXPECTED_NULL;
    }
    constexpr binder_flags_t kAllFlags = FLAG_ONEWAY | FLAG_CLEAR_BUF | FLAG_PRIVATE_VENDOR;
    if ((flags & ~kAllFlags) != 0) return STATUS_BAD_VALUE;
    ++gTransactionsSent;
    AIBinder_incStrong(binder);
    transaction->target.set(binder);
    transaction->code = code;

    AIBinder* object = objectOf(binder);
    binder_status_t status = STATUS_OK;
    if (object->owner == zenth_host::currentProcess()) {
        // A binder of the caller's own process runs the call at once, oneway or not.
        status = transaction->receive();
    } else if ((flags & FLAG_ONEWAY) != 0) {
        // The caller goes on and never hears what the object answered.
        zenth_host::sendOneway(object->owner, [transaction] { transaction->receive(); });
        *out = AParcel_create();
        return STATUS_OK;
    } else if (object->owner == nullptr) {
        status = zenth_host::serveOnThreadPool([transaction] { return transaction->receive(); },
                                               false);
    } else {
        // A thread of that process serves the call in its place.
        std::shared_ptr<Process> caller = zenth_host::enterProcess(object->owner);
        status = transaction->receive();
        zenth_host::enterProcess(std::move(caller));
    }
    if (status != STATUS_OK) return status;
    AParcel_setDataPosition(transaction->reply.get(), 0);
    *out = transaction->reply.release();
    return STATUS_OK;
}

void AIBinder_markVintfStability(AIBinder* binder) {
    objectOf(binder)->vintf.store(true);
}

namespace zenth_host {

size_t transactionsSent() {
    return gTransactionsSent.load();
}

AIBinder* referenceFromCurrentProcess(AIBinder* binder) {
    AIBinder* object = objectOf(binder);
    AIBinder_incStrong(object);
    if (object->owner == currentProcess()) return object;
    return new AIBinder(nullptr, nullptr, object->owner, object);
}

bool hasVintfStability(AIBinder* binder) {
    return objectOf(binder)->vintf.load();
}

}  // namespace zenth_host

namespace ndk {

namespace {

// User data of a binder created for an interface object: a strong reference to it.
struct ICInterfaceData {
    std::shared_ptr<ICInterface> interface;

    static void* onCreate(void* args) {
        return new ICInterfaceData{static_cast<ICInterface*>(args)->ref<ICInterface>()};
    }
    static void onDestroy(void* userData) { delete static_cast<ICInterfaceData*>(userData); }
};

}  // namespace

std::shared_ptr<ICInterface> ICInterface::asInterface(AIBinder* binder) {
    const AIBinder_Class* clazz = AIBinder_getClass(binder);
    if (AIBinder_getUserData(binder) == nullptr || clazz->onCreate != ICInterfaceData::onCreate) {
        return nullptr;
    }
    return static_cast<ICInterfaceData*>(AIBinder_getUserData(binder))->interface;
}

AIBinder_Class* ICInterface::defineClass(const char* interfaceDescriptor,
                                         AIBinder_Class_onTransact onTransact) {
    return AIBinder_Class_define(interfaceDescriptor, ICInterfaceData::onCreate,
                                 ICInterfaceData::onDestroy, onTransact);
}

}  // namespace ndk
