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

// The binder thread pool: a joined thread serves queued jobs until it is released.

#include <android/binder_process.h>

#include <semaphore.h>
#include <signal.h>

#include <android/log.h>
#include <zenth_host/host_log.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>

#include <zenth_host/binder_host.h>

#include "HostStartup.h"

namespace {

constexpr uint32_t kDefaultMaxThreadCount = 15;

struct Job {
    enum class State { kQueued, kRunning, kDone };
    std::function<void()> work;
    State state = State::kQueued;
};

struct ThreadPool {
    ThreadPool() { sem_init(&wake, 0, 0); }

    // Posted once per queued job, release and signal; a joined thread handles one per wake.
    sem_t wake;
    std::atomic<bool> signalled{false};

    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::shared_ptr<Job>> jobs;
    bool released = false;
    int joined = 0;
    uint32_t maxThreadCount = kDefaultMaxThreadCount;
};

// Never destroyed: a signal may arrive while the process exits.
ThreadPool& pool() {
    static ThreadPool* threadPool = new ThreadPool;
    return *threadPool;
}

thread_local bool tJoined = false;

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

// Runs at most one queued job; false when this thread must leave the pool.
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
    if (pool().jobs.empty()) return true;
    std::shared_ptr<Job> job = pool().jobs.front();
    pool().jobs.pop_front();
    job->state = Job::State::kRunning;
    pool().changed.notify_all();
    lock.unlock();
    job->work();
    lock.lock();
    job->state = Job::State::kDone;
    pool().changed.notify_all();
    return true;
}

void onReleaseSignal(int /*signo*/) {
    pool().signalled.store(true);
    sem_post(&pool().wake);
}

}  // namespace

void ABinderProcess_startThreadPool() {}

bool ABinderProcess_setThreadPoolMaxThreadCount(uint32_t numThreads) {
    std::lock_guard<std::mutex> lock(pool().mutex);
    pool().maxThreadCount = numThreads;
    return true;
}

void ABinderProcess_joinThreadPool() {
    {
        std::lock_guard<std::mutex> lock(pool().mutex);
        ++pool().joined;
        pool().changed.notify_all();
    }
    tJoined = true;
    while (serveOnce()) {
    }
    tJoined = false;
    std::lock_guard<std::mutex> lock(pool().mutex);
    --pool().joined;
}

namespace zenth_host {

uint32_t threadPoolMaxThreadCount() {
    std::lock_guard<std::mutex> lock(pool().mutex);
    return pool().maxThreadCount;
}

void releaseThreadPool() {
    std::lock_guard<std::mutex> lock(pool().mutex);
    pool().released = true;
    sem_post(&pool().wake);
}

void resetThreadPool() {
    std::lock_guard<std::mutex> lock(pool().mutex);
    pool().released = false;
    pool().signalled.store(false);
    pool().maxThreadCount = kDefaultMaxThreadCount;
}

bool waitForThreadPoolJoined(std::chrono::milliseconds timeout) {
    std::unique_lock<std::mutex> lock(pool().mutex);
    return pool().changed.wait_for(lock, timeout, [] { return pool().joined > 0; });
}

bool runOnThreadPool(const std::function<void()>& work, std::chrono::milliseconds timeout) {
    if (tJoined) {
        work();
        return true;
    }
    auto job = std::make_shared<Job>();
    job->work = work;
    std::unique_lock<std::mutex> lock(pool().mutex);
    pool().jobs.push_back(job);
    sem_post(&pool().wake);
    auto taken = [&] { return job->state != Job::State::kQueued; };
    if (!pool().changed.wait_for(lock, timeout, taken)) {
        pool().jobs.erase(std::find(pool().jobs.begin(), pool().jobs.end(), job));
        return false;
    }
    pool().changed.wait(lock, [&] { return job->state == Job::State::kDone; });
    return true;
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
