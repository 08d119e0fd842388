// Set-up that every host binary runs before main.
#pragma once

namespace zenth_host {

// SIGUSR1 then releases ABinderProcess_joinThreadPool.
void installThreadPoolReleaseSignal();

}  // namespace zenth_host
