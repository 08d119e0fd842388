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

// The AIDL instances of a device's VINTF manifest, read as libvintf reads it.

#include "VintfManifest.h"

#include <tinyxml2.h>

namespace zenth_host {

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

}  // namespace

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

}  // namespace zenth_host
