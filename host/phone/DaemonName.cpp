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

// Linked into every binary that runs the daemon's code under a name of its own (the emulated
// phone, the device test's host runner, the unit tests, the load daemon): liblog tags a line
// logged without a tag with the program's name, and on a phone that is the daemon's binary.

#include <android/log.h>

namespace {

struct DaemonName {
    DaemonName() { __android_log_set_default_tag(ZENTH_DAEMON_NAME); }
};

const DaemonName gDaemonName;

}  // namespace
