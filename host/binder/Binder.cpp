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

// Local binder objects: reference counts, weak references and user data.

#include <android/binder_ibinder.h>
#include <android/binder_interface_utils.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>

struct AIBinder_Class {
    std::string descriptor;
    AIBinder_Class_onCreate onCreate;
    AIBinder_Class_onDestroy onDestroy;
    AIBinder_Class_onTransact onTransact;
};

// Lives until both counts reach zero; the user data dies with the last strong reference.
struct AIBinder {
    AIBinder(const AIBinder_Class* binderClass, void* data) : clazz(binderClass), userData(data) {}

    const AIBinder_Class* clazz;
    void* userData;
    std::mutex mutex;
    int32_t strong = 1;
    int32_t weak = 0;
};

struct AIBinder_Weak {
    AIBinder* binder;
};

namespace {

[[noreturn]] void fatal(const char* what) {
    std::fprintf(stderr, "binder: %s\n", what);
    std::abort();
}

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
    return new AIBinder(clazz, userData);
}

bool AIBinder_isRemote(const AIBinder* /*binder*/) {
    return false;
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
    AIBinder_Class_onDestroy onDestroy = nullptr;
    void* userData = nullptr;
    bool unused = false;
    {
        std::lock_guard<std::mutex> lock(binder->mutex);
        if (binder->strong <= 0) fatal("decStrong on a dead binder");
        if (--binder->strong > 0) return;
        onDestroy = binder->clazz->onDestroy;
        userData = binder->userData;
        unused = binder->weak == 0;
    }
    // Destroying the user data may drop the last weak reference, which then frees the binder.
    if (unused) delete binder;
    if (onDestroy != nullptr) onDestroy(userData);
}

int32_t AIBinder_debugGetRefCount(AIBinder* binder) {
    if (binder == nullptr) return -1;
    std::lock_guard<std::mutex> lock(binder->mutex);
    return binder->strong;
}

bool AIBinder_associateClass(AIBinder* binder, const AIBinder_Class* clazz) {
    if (binder == nullptr || clazz == nullptr) return false;
    return binder->clazz == clazz || binder->clazz->descriptor == clazz->descriptor;
}

const AIBinder_Class* AIBinder_getClass(AIBinder* binder) {
    return binder != nullptr ? binder->clazz : nullptr;
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
    if (clazz == nullptr || clazz->onCreate != ICInterfaceData::onCreate) return nullptr;
    return static_cast<ICInterfaceData*>(AIBinder_getUserData(binder))->interface;
}

AIBinder_Class* ICInterface::defineClass(const char* interfaceDescriptor,
                                         AIBinder_Class_onTransact onTransact) {
    return AIBinder_Class_define(interfaceDescriptor, ICInterfaceData::onCreate,
                                 ICInterfaceData::onDestroy, onTransact);
}

}  // namespace ndk
