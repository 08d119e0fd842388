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
// host's model, and the instances that the device's VINTF manifest declares.

#include <android/binder_manager.h>
#include <android/log.h>
#include <tinyxml2.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <mutex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <zenth_host/binder_host.h>

#include "Process.h"
#include "ServiceManager.h"

namespace {

using tinyxml2::XMLElement;

std::string textOf(const XMLElement* element) {
    const char* text = element != nullptr ? element->GetText() : nullptr;
    return text != nullptr ? text : "";
}

// Every child element of parent with this name, in order.
template <typename Visit>
void forEachChild(const XMLElement* parent, const char* name, const Visit& visit) {
    for (const XMLElement* child = parent->FirstChildElement(name); child != nullptr;
         child = child->NextSiblingElement(name)) {
        visit(child);
    }
}

// The AIDL instances a manifest declares, as "package.IName/instance", from <fqname> and from
// <interface> entries of its <hal format="aidl"> elements, as libvintf reads them. Any other
// file (a compatibility matrix) declares nothing.
std::vector<std::string> aidlInstancesDeclaredIn(const std::string& xml) {
    std::vector<std::string> instances;
    tinyxml2::XMLDocument document(true, tinyxml2::COLLAPSE_WHITESPACE);
    if (document.Parse(xml.c_str()) != tinyxml2::XML_SUCCESS) return instances;
    const XMLElement* manifest = document.FirstChildElement("manifest");
    if (manifest == nullptr) return instances;
    forEachChild(manifest, "hal", [&](const XMLElement* hal) {
        if (!hal->Attribute("format", "aidl")) return;
        const std::string package = textOf(hal->FirstChildElement("name")) + ".";
        forEachChild(hal, "fqname", [&](const XMLElement* fqname) {
            instances.push_back(package + textOf(fqname));
        });
        forEachChild(hal, "interface", [&](const XMLElement* interface) {
            const std::string name = textOf(interface->FirstChildElement("name")) + "/";
            forEachChild(interface, "instance", [&](const XMLElement* instance) {
                instances.push_back(package + name + textOf(instance));
            });
        });
    });
    return instances;
}

struct ServiceManager {
    std::mutex mutex;
    std::map<std::string, AIBinder*> services;  // each holds one strong reference
    std::condition_variable registered;
    std::set<std::string> manifest;  // the device's, for the whole run
    std::set<std::string> declared;  // a test's, until the next reset

    bool isDeclared(const std::string& instance) const {
        return manifest.count(instance) != 0 || declared.count(instance) != 0;
    }
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
        // A binder for use between the system and the vendor image must be in the manifest.
        if (zenth_host::hasVintfStability(binder) && !manager.isDeclared(instance)) {
            return EX_ILLEGAL_ARGUMENT;
        }
        AIBinder_incStrong(binder);
        AIBinder*& slot = manager.services[instance];
        replaced = slot;
        slot = binder;
    }
    manager.registered.notify_all();
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

AIBinder* AServiceManager_waitForService(const char* instance) {
    if (instance == nullptr) return nullptr;
    ServiceManager& manager = serviceManager();
    std::unique_lock<std::mutex> lock(manager.mutex);
    auto isRegistered = [&] { return manager.services.count(instance) != 0; };
    // As on a device it waits for good, and says so every second.
    while (!manager.registered.wait_for(lock, std::chrono::seconds(1), isRegistered)) {
        __android_log_print(ANDROID_LOG_WARN, "ServiceManager", "Waited one second for %s",
                            instance);
    }
    return zenth_host::referenceFromCurrentProcess(manager.services[instance]);
}

bool AServiceManager_isDeclared(const char* instance) {
    if (instance == nullptr) return false;
    ServiceManager& manager = serviceManager();
    std::lock_guard<std::mutex> lock(manager.mutex);
    return manager.isDeclared(instance);
}

void AServiceManager_forEachDeclaredInstance(const char* interface, void* context,
                                             void (*callback)(const char*, void*)) {
    if (interface == nullptr || callback == nullptr) return;
    const std::string prefix = std::string(interface) + "/";
    std::vector<std::string> instances;
    {
        ServiceManager& manager = serviceManager();
        std::lock_guard<std::mutex> lock(manager.mutex);
        std::set<std::string> all = manager.manifest;
        all.insert(manager.declared.begin(), manager.declared.end());
        for (const std::string& name : all) {
            if (name.compare(0, prefix.size(), prefix) == 0) {
                instances.push_back(name.substr(prefix.size()));
            }
        }
    }
    for (const std::string& instance : instances) callback(instance.c_str(), context);
}

namespace zenth_host {

void declareManifestInstances(const std::vector<std::string>& instances) {
    ServiceManager& manager = serviceManager();
    std::lock_guard<std::mutex> lock(manager.mutex);
    manager.manifest.insert(instances.begin(), instances.end());
}

void declareInstance(const std::string& instance) {
    ServiceManager& manager = serviceManager();
    std::lock_guard<std::mutex> lock(manager.mutex);
    manager.declared.insert(instance);
}

void declareFromManifests() {
    const char* files = std::getenv("ZENTH_HOST_MANIFESTS");
    std::istringstream names(files != nullptr ? files : ZENTH_DEVICE_MANIFESTS);
    for (std::string name; std::getline(names, name, ',');) {
        if (name.empty()) continue;
        std::ifstream file(name);
        if (!file) {
            std::fprintf(stderr, "host: cannot read the manifest %s\n", name.c_str());
            continue;
        }
        std::stringstream xml;
        xml << file.rdbuf();
        declareManifestInstances(aidlInstancesDeclaredIn(xml.str()));
    }
}

void resetServiceManager() {
    ServiceManager& manager = serviceManager();
    std::map<std::string, AIBinder*> services;
    {
        std::lock_guard<std::mutex> lock(manager.mutex);
        services.swap(manager.services);
        manager.declared.clear();
    }
    // Released outside the lock: a dying service object may use the service manager itself.
    for (auto& [name, binder] : services) AIBinder_decStrong(binder);
}

}  // namespace zenth_host
