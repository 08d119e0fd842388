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

// A small reader of VINTF manifests: enough XML for what the build puts into a device's
// manifest (elements, attributes in double quotes, comments).

#include "VintfManifest.h"

namespace zenth_host {

namespace {

struct Element {
    std::string attributes;  // the opening tag's text after the name
    std::string content;
};

std::string withoutComments(std::string xml) {
    for (size_t start; (start = xml.find("<!--")) != std::string::npos;) {
        size_t end = xml.find("-->", start);
        xml.erase(start, end == std::string::npos ? std::string::npos : end + 3 - start);
    }
    return xml;
}

std::string trimmed(const std::string& text) {
    const char* blanks = " \t\r\n";
    size_t first = text.find_first_not_of(blanks);
    if (first == std::string::npos) return "";
    return text.substr(first, text.find_last_not_of(blanks) + 1 - first);
}

// Every <tag ...>...</tag> in xml, in order; they must not nest in themselves.
std::vector<Element> elements(const std::string& xml, const std::string& tag) {
    std::vector<Element> found;
    const std::string close = "</" + tag + ">";
    for (size_t at = 0; (at = xml.find("<" + tag, at)) != std::string::npos;) {
        size_t nameEnd = at + 1 + tag.size();
        size_t tagEnd = xml.find('>', nameEnd);
        if (tagEnd == std::string::npos) break;
        if (xml[nameEnd] != '>' && xml[nameEnd] != ' ' && xml[nameEnd] != '\n') {
            at = nameEnd;  // a longer name that starts with tag
            continue;
        }
        size_t end = xml.find(close, tagEnd);
        if (end == std::string::npos) break;
        found.push_back(
                {xml.substr(nameEnd, tagEnd - nameEnd), xml.substr(tagEnd + 1, end - tagEnd - 1)});
        at = end + close.size();
    }
    return found;
}

std::string firstText(const std::string& xml, const std::string& tag) {
    std::vector<Element> found = elements(xml, tag);
    return found.empty() ? "" : trimmed(found.front().content);
}

// One <hal>: its package, then "IName/instance" entries either way they can be written.
void addHalInstances(const std::string& hal, std::vector<std::string>* instances) {
    std::string outside = hal;
    std::vector<std::string> names;
    for (const Element& interface : elements(hal, "interface")) {
        const std::string name = firstText(interface.content, "name");
        for (const Element& instance : elements(interface.content, "instance")) {
            names.push_back(name + "/" + trimmed(instance.content));
        }
        outside.erase(outside.find(interface.content), interface.content.size());
    }
    for (const Element& fqname : elements(outside, "fqname"))
        names.push_back(trimmed(fqname.content));
    const std::string package = firstText(outside, "name");
    for (const std::string& name : names) instances->push_back(package + "." + name);
}

}  // namespace

std::vector<std::string> aidlInstancesDeclaredIn(const std::string& xml) {
    std::vector<std::string> instances;
    const std::vector<Element> manifests = elements(withoutComments(xml), "manifest");
    if (manifests.size() != 1) return instances;
    for (const Element& hal : elements(manifests.front().content, "hal")) {
        if (hal.attributes.find("format=\"aidl\"") == std::string::npos) continue;
        addHalInstances(hal.content, &instances);
    }
    return instances;
}

}  // namespace zenth_host
