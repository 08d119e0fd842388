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

#include <thread>

#include <android/log.h>

namespace aidl::vendor::zenth::hardware::misc {

// Runs function(args...) on a thread that nobody joins. A refused thread creation ends the
// process inside std::thread; a thread object left without a thread is only logged, with the
// fault watcher's text, and the work is skipped.
template <typename Function, typename... Args>
void startDetachedThread(Function function, Args... args) {
    std::thread worker(function, args...);
    if (worker.joinable()) {
        worker.detach();
    } else {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "Failed to create fpgaThread");
    }
}

}  // namespace aidl::vendor::zenth::hardware::misc
