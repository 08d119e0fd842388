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
 * The service manager of the binder NDK (host stand-in: one registry for every process of
 * the host's model).
 */
#pragma once

#include <android/binder_ibinder.h>
#include <android/binder_status.h>

#ifdef __cplusplus
extern "C" {
#endif

// Registers binder under instance; the service manager keeps its own strong reference.
binder_exception_t AServiceManager_addService(AIBinder* binder, const char* instance)
        __attribute__((warn_unused_result));

// A new strong reference to the service, or null when it is not running. Never waits. A
// service of another process arrives as a proxy.
__attribute__((warn_unused_result)) AIBinder* AServiceManager_checkService(const char* instance);

// A new strong reference to the service, waiting for as long as it takes to be registered.
__attribute__((warn_unused_result)) AIBinder* AServiceManager_waitForService(const char* instance);

// Whether the instance is declared in the device's service manifest.
bool AServiceManager_isDeclared(const char* instance);

// Calls callback with each declared instance name of interface ("default" for
// "interface/default"), interface being a fully qualified name such as "a.b.IFoo".
void AServiceManager_forEachDeclaredInstance(const char* interface, void* context,
                                             void (*callback)(const char* instance, void* context));

#ifdef __cplusplus
}
#endif
