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

namespace aidl::vendor::zenth::hardware::misc {

// One open, one seek from the start, one transfer, one close. The result is the byte
// count of the single transfer or -1; nothing is appended to the buffer.
int readInterface(const char* path, int offset, void* buffer, int length);
// Never creates or truncates; a successful write is followed by fsync.
int writeInterface(const char* path, int offset, const char* buffer, int length);

}  // namespace aidl::vendor::zenth::hardware::misc
