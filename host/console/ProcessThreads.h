// The daemon's own threads, seen from inside the process.
#pragma once

#include <chrono>
#include <cstddef>

namespace zenth_console {

// Threads of this process now.
size_t threadCount();

// Waits until no thread but the caller is doing work: each other thread is blocked in a
// wait that lasts (the main thread in the thread pool, the fault watcher in poll, a
// reporter in its sleep). Returns false on timeout.
bool waitUntilThreadsParked(std::chrono::milliseconds timeout);

}  // namespace zenth_console
