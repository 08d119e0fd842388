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

// The daemon process's binder thread pool. A thread that joins serves incoming calls until it
// is released. Pool threads exist only once the pool is started: one at once, then one more
// whenever a call finds every serving thread busy, up to the maximum, as the driver asks for
// them on a device.

#include "ThreadPool.h"

#include <android/binder_process.h>

#include <semaphore.h>
#include <signal.h>

#include <android/log.h>
#include <zenth_host/host_log.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>

#include <zenth_host/DaemonThreads.h>
#include <zenth_host/binder_host.h>

namespace {

constexpr uint32_t kDefaultMaxThreadCount = 15;

struct Job {
    std::function<binder_status_t()> transaction;
    bool done = false;
    binder_status_t status = STATUS_OK;
};

struct ThreadPool {
    ThreadPool() { sem_init(&releaseSignal, 0, 0); }

    sem_t releaseSignal;  // posted by the signal handler, taken by the release watcher
    std::once_flag watcherStarted;

    std::mutex mutex;
    // A call queued or served, or a release. Serving threads park in it.
    emulated::daemon_threads::ParkingCondition changed;
    std::deque<std::shared_ptr<Job>> jobs;
    uint32_t releases = 0;
    uint32_t maxThreadCount = kDefaultMaxThreadCount;
    bool started = false;
    uint32_t requestedThreads = 0;  // started on demand, beyond the first pool thread
    uint32_t waitingThreads = 0;    // serving threads without a call
};

// Never destroyed: a signal may arrive, and pool threads wait, while the process exits.
ThreadPool& pool() {
    static ThreadPool* threadPool = new ThreadPool;
    return *threadPool;
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

// Serves calls: a joined thread until it is released, a pool thread for good.
void serve(bool joined) {
    std::unique_lock<std::mutex> lock(pool().mutex);
    for (;;) {
        ++pool().waitingThreads;
        pool().changed.park(
                lock, [&] { return !pool().jobs.empty() || (joined && pool().releases > 0); });
        --pool().waitingThreads;
        if (joined && pool().releases > 0) {
            --pool().releases;
            return;
        }
        serveNext(lock);
    }
}

void startPoolThread() {
    std::thread([] { serve(false); }).detach();
}

// With the lock held, after a call was queued.
void requestThreadIfAllBusy() {
    ThreadPool& p = pool();
    if (p.started && p.jobs.size() > p.waitingThreads && p.requestedThreads < p.maxThreadCount) {
        ++p.requestedThreads;
        startPoolThread();
    }
}

// A released daemon leaves main next, and exit destroys liblog's statics (the default tag
// among them). Taking liblog's logger lock as a writer orders every line the daemon's
// detached threads logged so far before that destruction.
void releaseOnSignal() {
    for (;;) {
        {
            emulated::daemon_threads::ParkedScope waitingForTheSignal;
            while (sem_wait(&pool().releaseSignal) != 0 && errno == EINTR) {
            }
        }
        __android_log_set_logger(zenth_host::logcatLogger);
        zenth_host::releaseThreadPool();
    }
}

void onReleaseSignal(int /*signo*/) {
    sem_post(&pool().releaseSignal);
}

}  // namespace

bool ABinderProcess_setThreadPoolMaxThreadCount(uint32_t numThreads) {
    std::lock_guard<std::mutex> lock(pool().mutex);
    if (pool().started && numThreads < pool().maxThreadCount) {
        std::fputs("binder: the thread pool cannot be shrunk after starting\n", stderr);
        std::abort();
    }
    pool().maxThreadCount = numThreads;
    return true;
}

void ABinderProcess_startThreadPool() {
    std::lock_guard<std::mutex> lock(pool().mutex);
    if (pool().started) return;
    pool().started = true;
    startPoolThread();
}

void ABinderProcess_joinThreadPool() {
    std::call_once(pool().watcherStarted, [] { std::thread(releaseOnSignal).detach(); });
    serve(true);
}

namespace zenth_host {

binder_status_t serveOnThreadPool(std::function<binder_status_t()> transaction, bool oneway) {
    auto job = std::make_shared<Job>();
    job->transaction = std::move(transaction);
    std::unique_lock<std::mutex> lock(pool().mutex);
    pool().jobs.push_back(job);
    requestThreadIfAllBusy();
    pool().changed.notify_all();
    if (oneway) return STATUS_OK;
    pool().changed.wait(lock, [&] { return job->done; });
    return job->status;
}

bool threadPoolStarted() {
    std::lock_guard<std::mutex> lock(pool().mutex);
    return pool().started;
}

void releaseThreadPool() {
    std::lock_guard<std::mutex> lock(pool().mutex);
    ++pool().releases;
    pool().changed.notify_all();
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
