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

// The service manager: a registry of binders by instance name, shared by every process of the
// host's model, and the declared instances that stand in for the device's service manifest.

#include <android/binder_manager.h>

#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include <zenth_host/binder_host.h>

#include "Process.h"

namespace {

struct ServiceManager {
    std::mutex mutex;
    std::map<std::string, AIBinder*> services;  // each holds one strong reference
    std::set<std::string> declared;
    bool refused = false;
};

// Never destroyed: detached threads may still look services up while the process exits.
ServiceManager& serviceManager() {
    static ServiceManager* manager = new ServiceManager;
    return *manager;
}

}  // namespace

binder_exception_t AServiceManager_addService(AIBinder* binder, const char* instance) {
    if (binder == nullptr || instance == nullptr || *instance == '\0') return EX_ILLEGAL_ARGUMENT;
    ServiceManager& manager = serviceManager();
    AIBinder* replaced = nullptr;
    {
        std::lock_guard<std::mutex> lock(manager.mutex);
        if (manager.refused) return EX_SECURITY;
        AIBinder_incStrong(binder);
        AIBinder*& slot = manager.services[instance];
        replaced = slot;
        slot = binder;
    }
    AIBinder_decStrong(replaced);
    return EX_NONE;
}

AIBinder* AServiceManager_checkService(const char* instance) {
    if (instance == nullptr) return nullptr;
    ServiceManager& manager = serviceManager();
    std::lock_guard<std::mutex> lock(manager.mutex);
    auto it = manager.services.find(instance);
    if (it == manager.services.end()) return nullptr;
    return zenth_host::referenceFromCurrentProcess(it->second);
}

bool AServiceManager_isDeclared(const char* instance) {
    if (instance == nullptr) return false;
    ServiceManager& manager = serviceManager();
    std::lock_guard<std::mutex> lock(manager.mutex);
    return manager.declared.count(instance) != 0;
}

namespace zenth_host {

void declareInstance(const std::string& instance) {
    ServiceManager& manager = serviceManager();
    std::lock_guard<std::mutex> lock(manager.mutex);
    manager.declared.insert(instance);
}

void undeclareInstance(const std::string& instance) {
    ServiceManager& manager = serviceManager();
    std::lock_guard<std::mutex> lock(manager.mutex);
    manager.declared.erase(instance);
}

void setRegistrationRefused(bool refused) {
    ServiceManager& manager = serviceManager();
    std::lock_guard<std::mutex> lock(manager.mutex);
    manager.refused = refused;
}

void resetServiceManager() {
    ServiceManager& manager = serviceManager();
    std::map<std::string, AIBinder*> services;
    {
        std::lock_guard<std::mutex> lock(manager.mutex);
        services.swap(manager.services);
        manager.declared.clear();
        manager.refused = false;
    }
    // Released outside the lock: a dying service object may use the service manager itself.
    for (auto& [name, binder] : services) AIBinder_decStrong(binder);
}

}  // namespace zenth_host
