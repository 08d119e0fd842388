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

#pragma once

namespace bench {

// The entry's steps up to the registration, as the daemon runs them. Returns the microseconds
// from the first log line to the registration, or -1 when the registration failed.
double startDaemonUntilRegistered();

// The floor of that start: the same system calls and log calls on the same device, and the
// registration of an interface with nothing behind it, without the daemon's code.
double startFloorUntilRegistered();

}  // namespace bench
