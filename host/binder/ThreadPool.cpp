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

// The daemon process's binder thread pool. The thread that joins serves incoming calls
// until it is released; with a maximum thread count above 0 the pool also has threads of
// its own, started at the first join, and they then take every call.

#include "ThreadPool.h"

#include <android/binder_process.h>

#include <semaphore.h>
#include <signal.h>

#include <android/log.h>
#include <zenth_host/host_log.h>

#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>

#include <zenth_host/binder_host.h>

namespace {

constexpr uint32_t kDefaultMaxThreadCount = 15;

struct Job {
    std::function<binder_status_t()> transaction;
    bool done = false;
    binder_status_t status = STATUS_OK;
};

struct ThreadPool {
    ThreadPool() { sem_init(&wake, 0, 0); }

    // The joined thread's: posted once per call it must take, per release and per signal.
    sem_t wake;
    std::atomic<bool> signalled{false};

    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::shared_ptr<Job>> jobs;
    bool released = false;
    uint32_t maxThreadCount = kDefaultMaxThreadCount;
    uint32_t poolThreads = 0;
};

// Never destroyed: a signal may arrive, and pool threads wait, while the process exits.
ThreadPool& pool() {
    static ThreadPool* threadPool = new ThreadPool;
    return *threadPool;
}

void waitForWake() {
    while (sem_wait(&pool().wake) != 0 && errno == EINTR) {
    }
}

// A released daemon leaves main next, and exit destroys liblog's statics (the default tag
// among them). Taking liblog's logger lock as a writer orders every line the daemon's
// detached threads logged so far before that destruction.
void settleLogging() {
    __android_log_set_logger(zenth_host::logcatLogger);
}

// Runs the oldest queued call with the lock released.
void serveNext(std::unique_lock<std::mutex>& lock) {
    std::shared_ptr<Job> job = pool().jobs.front();
    pool().jobs.pop_front();
    lock.unlock();
    binder_status_t status = job->transaction();
    lock.lock();
    job->status = status;
    job->done = true;
    pool().changed.notify_all();
}

void poolThread() {
    std::unique_lock<std::mutex> lock(pool().mutex);
    for (;;) {
        pool().changed.wait(lock, [] { return !pool().jobs.empty(); });
        serveNext(lock);
    }
}

void startPoolThreads() {
    std::lock_guard<std::mutex> lock(pool().mutex);
    if (pool().poolThreads > 0) return;
    pool().poolThreads = pool().maxThreadCount;
    for (uint32_t i = 0; i < pool().poolThreads; ++i) std::thread(poolThread).detach();
}

// Serves at most one call; false when the joined thread must leave the pool.
bool serveOnce() {
    waitForWake();
    if (pool().signalled.exchange(false)) {
        settleLogging();
        return false;
    }
    std::unique_lock<std::mutex> lock(pool().mutex);
    if (pool().released) {
        pool().released = false;
        return false;
    }
    if (pool().poolThreads == 0 && !pool().jobs.empty()) serveNext(lock);
    return true;
}

void onReleaseSignal(int /*signo*/) {
    pool().signalled.store(true);
    sem_post(&pool().wake);
}

}  // namespace

bool ABinderProcess_setThreadPoolMaxThreadCount(uint32_t numThreads) {
    std::lock_guard<std::mutex> lock(pool().mutex);
    pool().maxThreadCount = numThreads;
    return true;
}

void ABinderProcess_joinThreadPool() {
    startPoolThreads();
    while (serveOnce()) {
    }
}

namespace zenth_host {

binder_status_t serveOnThreadPool(std::function<binder_status_t()> transaction, bool oneway) {
    auto job = std::make_shared<Job>();
    job->transaction = std::move(transaction);
    std::unique_lock<std::mutex> lock(pool().mutex);
    pool().jobs.push_back(job);
    if (pool().poolThreads > 0) {
        pool().changed.notify_all();
    } else {
        sem_post(&pool().wake);
    }
    if (oneway) return STATUS_OK;
    pool().changed.wait(lock, [&] { return job->done; });
    return job->status;
}

void releaseThreadPool() {
    std::lock_guard<std::mutex> lock(pool().mutex);
    pool().released = true;
    sem_post(&pool().wake);
}

void installThreadPoolReleaseSignal() {
    pool();  // the handler must find the pool constructed
    struct sigaction action = {};
    action.sa_handler = onReleaseSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGUSR1, &action, nullptr);
}

}  // namespace zenth_host
