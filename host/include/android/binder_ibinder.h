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
 * Binder objects of the binder NDK (host stand-in). Every binder is local to the
 * process: there are no proxies and no transactions.
 */
#pragma once

#include <stdint.h>

#include <android/binder_status.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef uint32_t transaction_code_t;
typedef uint32_t binder_flags_t;

#define FIRST_CALL_TRANSACTION 0x00000001
#define LAST_CALL_TRANSACTION 0x00ffffff
#define FLAG_ONEWAY 0x01

struct AIBinder;
typedef struct AIBinder AIBinder;

struct AIBinder_Weak;
typedef struct AIBinder_Weak AIBinder_Weak;

struct AIBinder_Class;
typedef struct AIBinder_Class AIBinder_Class;

struct AParcel;
typedef struct AParcel AParcel;

typedef void* (*AIBinder_Class_onCreate)(void* args);
typedef void (*AIBinder_Class_onDestroy)(void* userData);
typedef binder_status_t (*AIBinder_Class_onTransact)(AIBinder* binder, transaction_code_t code,
                                                     const AParcel* in, AParcel* out);

// Classes live for the whole process.
AIBinder_Class* AIBinder_Class_define(const char* interfaceDescriptor,
                                      AIBinder_Class_onCreate onCreate,
                                      AIBinder_Class_onDestroy onDestroy,
                                      AIBinder_Class_onTransact onTransact);
const char* AIBinder_Class_getDescriptor(const AIBinder_Class* clazz);

// Creates a binder holding onCreate(args) as its user data; the caller owns one strong reference.
AIBinder* AIBinder_new(const AIBinder_Class* clazz, void* args);

bool AIBinder_isRemote(const AIBinder* binder);
bool AIBinder_isAlive(const AIBinder* binder);
binder_status_t AIBinder_ping(AIBinder* binder);

void AIBinder_incStrong(AIBinder* binder);
void AIBinder_decStrong(AIBinder* binder);
int32_t AIBinder_debugGetRefCount(AIBinder* binder);

// True when the binder's class has the same descriptor as clazz.
bool AIBinder_associateClass(AIBinder* binder, const AIBinder_Class* clazz);
const AIBinder_Class* AIBinder_getClass(AIBinder* binder);
void* AIBinder_getUserData(AIBinder* binder);

AIBinder_Weak* AIBinder_Weak_new(AIBinder* binder);
void AIBinder_Weak_delete(AIBinder_Weak* weakBinder);
// A new strong reference, or null once the binder has died.
AIBinder* AIBinder_Weak_promote(AIBinder_Weak* weakBinder);

#ifdef __cplusplus
}
#endif
