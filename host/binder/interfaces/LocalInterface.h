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

// What the generated interface code shares off-device, where every binder is local.
#pragma once

#include <memory>

#include <android/binder_interface_utils.h>

namespace zenth_host {

// The object behind a binder of clazz's interface; null for no binder or another interface.
template <typename INTERFACE>
std::shared_ptr<INTERFACE> localInterface(const ndk::SpAIBinder& binder,
                                          const AIBinder_Class* clazz) {
    if (!AIBinder_associateClass(binder.get(), clazz)) return nullptr;
    return std::static_pointer_cast<INTERFACE>(ndk::ICInterface::asInterface(binder.get()));
}

// Calls arrive as direct virtual calls, never as transactions.
inline binder_status_t noTransactions(AIBinder*, transaction_code_t, const AParcel*, AParcel*) {
    return STATUS_UNKNOWN_TRANSACTION;
}

// A new binder owning a strong reference to object.
inline ndk::SpAIBinder newLocalBinder(const AIBinder_Class* clazz, ndk::ICInterface* object) {
    return ndk::SpAIBinder(AIBinder_new(clazz, static_cast<void*>(object)));
}

}  // namespace zenth_host
