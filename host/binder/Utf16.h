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

// The platform's conversions between a String's bytes and the UTF-16 a parcel carries. They
// are lenient, as a phone's are: bytes that are no UTF-8 still cross, changed.
#pragma once

#include <cstddef>
#include <string>

namespace zenth_host {

// Converts sequence by sequence, each taken as long as its lead byte says, without looking at
// the continuation bytes. False only when the end of the text cuts the last sequence off.
bool utf8ToUtf16(const char* text, size_t size, std::u16string* utf16);

// Drops every surrogate unit that is not a high one followed by a low one.
std::string utf16ToUtf8(const char16_t* units, size_t count);

}  // namespace zenth_host
