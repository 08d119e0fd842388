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
 * Binder objects of the binder NDK (host stand-in). A binder belongs to the process of the
 * thread that created it; another process holds a proxy of it, and calls through a proxy
 * are transactions (zenth_host/binder_host.h tells how the host models processes).
 */
#pragma once

#include <stdint.h>

#include <android/binder_parcel.h>
#include <android/binder_status.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef uint32_t transaction_code_t;
typedef uint32_t binder_flags_t;

#define FIRST_CALL_TRANSACTION 0x00000001
#define LAST_CALL_TRANSACTION 0x00ffffff
#define FLAG_ONEWAY 0x01
// Asks the driver to zero the transaction's buffer once it is freed.
#define FLAG_CLEAR_BUF 0x20

struct AIBinder;
typedef struct AIBinder AIBinder;

struct AIBinder_Weak;
typedef struct AIBinder_Weak AIBinder_Weak;

struct AIBinder_Class;
typedef struct AIBinder_Class AIBinder_Class;

typedef void* (*AIBinder_Class_onCreate)(void* args);
typedef void (*AIBinder_Class_onDestroy)(void* userData);
typedef binder_status_t (*AIBinder_Class_onTransact)(AIBinder* binder, transaction_code_t code,
                                                     const AParcel* in, AParcel* out);

// Classes live for the whole process.
__attribute__((warn_unused_result)) AIBinder_Class* AIBinder_Class_define(
        const char* interfaceDescriptor, AIBinder_Class_onCreate onCreate,
        AIBinder_Class_onDestroy onDestroy, AIBinder_Class_onTransact onTransact);
const char* AIBinder_Class_getDescriptor(const AIBinder_Class* clazz);

// Creates a binder holding onCreate(args) as its user data; the caller owns one strong reference.
__attribute__((warn_unused_result)) AIBinder* AIBinder_new(const AIBinder_Class* clazz, void* args);

// True for a proxy, a binder whose object lives in another process.
bool AIBinder_isRemote(const AIBinder* binder);
bool AIBinder_isAlive(const AIBinder* binder);
binder_status_t AIBinder_ping(AIBinder* binder);

void AIBinder_incStrong(AIBinder* binder);
void AIBinder_decStrong(AIBinder* binder);

// Local binder: true only for its own class. Proxy: takes the first class whose descriptor
// its object has, then answers as a local binder does.
bool AIBinder_associateClass(AIBinder* binder, const AIBinder_Class* clazz);
// Null for a proxy not yet associated with a class.
const AIBinder_Class* AIBinder_getClass(AIBinder* binder);
// Null for a proxy.
void* AIBinder_getUserData(AIBinder* binder);

// A new parcel for a call on binder, which must have a class; it starts with the interface
// token that the receiving side checks.
binder_status_t AIBinder_prepareTransaction(AIBinder* binder, AParcel** in);
// Takes *in (and nulls it). Runs the object's onTransact where its process serves calls and
// hands back the reply in *out. With FLAG_ONEWAY a call to another process returns as soon
// as it is sent, and the caller never hears what the object answered. Flags other than
// FLAG_ONEWAY, FLAG_CLEAR_BUF and FLAG_PRIVATE_VENDOR are STATUS_BAD_VALUE.
binder_status_t AIBinder_transact(AIBinder* binder, transaction_code_t code, AParcel** in,
                                  AParcel** out, binder_flags_t flags);

__attribute__((warn_unused_result)) AIBinder_Weak* AIBinder_Weak_new(AIBinder* binder);
void AIBinder_Weak_delete(AIBinder_Weak* weakBinder);
// A new strong reference, or null once the binder has died.
__attribute__((warn_unused_result)) AIBinder* AIBinder_Weak_promote(AIBinder_Weak* weakBinder);

#ifdef __cplusplus
}
#endif
