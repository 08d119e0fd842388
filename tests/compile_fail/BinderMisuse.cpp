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

// Misuses of the binder headers that must not compile. Built once per CASE: 0 is the
// control and must compile, every other case must fail (tests/CMakeLists.txt).

#include <android/binder_interface_utils.h>
#include <android/binder_manager.h>

struct Object : ndk::SharedRefBase {};

void misuse(ndk::SpAIBinder& binder) {
    std::shared_ptr<Object> object = ndk::SharedRefBase::make<Object>();
    ndk::ScopedAStatus status = ndk::ScopedAStatus::ok();
#if CASE == 1
    delete new Object;  // only make() may create one
#elif CASE == 2
    std::make_shared<Object>();  // a second owner once ref() is called
#elif CASE == 3
    binder.release();  // the real SpAIBinder has none
#elif CASE == 4
    status.release();  // the status would leak
#elif CASE == 5
    AServiceManager_checkService("instance");  // the reference would leak
#endif
}
