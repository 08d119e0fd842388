/*
 * The binder thread pool of the binder NDK (host stand-in).
 */
#pragma once

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

void ABinderProcess_startThreadPool(void);
bool ABinderProcess_setThreadPoolMaxThreadCount(uint32_t numThreads);
// Lends the calling thread to the pool; on a device it never returns.
void ABinderProcess_joinThreadPool(void);

#ifdef __cplusplus
}
#endif
