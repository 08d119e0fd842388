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
 * The binder thread pool of the binder NDK (host stand-in): the threads that serve the calls
 * other processes make on this process's binders.
 */
#pragma once

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// Starts the pool: one thread now, and later, while every thread serving calls is busy, one
// more for each call that arrives, up to the maximum.
void ABinderProcess_startThreadPool(void);
// How many threads a started pool may add on demand (15 unless set). It starts none itself, and
// it cannot shrink once the pool has started.
bool ABinderProcess_setThreadPoolMaxThreadCount(uint32_t numThreads);
// Makes the calling thread serve incoming calls too; on a device it never returns.
void ABinderProcess_joinThreadPool(void);

#ifdef __cplusplus
}
#endif
