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
 * Stability of binder objects (host stand-in): a binder marked with VINTF stability may be
 * used between the system and the vendor image, and the service manager registers one only
 * under an instance that a VINTF manifest declares.
 */
#pragma once

#include <android/binder_ibinder.h>

#ifdef __cplusplus
extern "C" {
#endif

enum {
    // Marks a transaction as coupled with the vendor image.
    FLAG_PRIVATE_VENDOR = 0x10000000,
};

// This binder has system<->vendor stability.
void AIBinder_markVintfStability(AIBinder* binder);

#ifdef __cplusplus
}
#endif
