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
 * The instances of an AIDL HAL that the device manifest declares (host stand-in: the
 * service manager's declared instances).
 */
#pragma once

#include <android/binder_manager.h>

#include <string>
#include <vector>

namespace android {

// "descriptor/instance" for each declared instance of the interface.
inline std::vector<std::string> getAidlHalInstanceNames(const std::string& descriptor) {
    std::vector<std::string> instances;
    AServiceManager_forEachDeclaredInstance(
            descriptor.c_str(), &instances, [](const char* instance, void* context) {
                static_cast<std::vector<std::string>*>(context)->push_back(instance);
            });
    for (std::string& instance : instances) instance = descriptor + "/" + instance;
    return instances;
}

}  // namespace android
