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

// The service manager, as the host's start-up sets it up.
#pragma once

#include <string>
#include <vector>

namespace zenth_host {

// Instances the device's manifest declares; they stay declared for the whole run.
void declareManifestInstances(const std::vector<std::string>& instances);
// Declares the instances of the device's manifest files (ZENTH_HOST_MANIFESTS, or the daemon's
// own fragments).
void declareFromManifests();

}  // namespace zenth_host
