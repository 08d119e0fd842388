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

// Wrapping std::thread's start needs its state type, which newer C++ libraries keep private
// unless built as the library's own thread code.
#define _GLIBCXX_THREAD_IMPL 1

#include "zenth_host/DaemonThreads.h"

#include <pthread.h>
#include <unistd.h>

#include <memory>
#include <thread>

namespace emulated {

namespace {

struct Threads {
    std::mutex mutex;
    std::condition_variable changed;
    size_t daemon = 1;  // the binary's main thread
    size_t parked = 0;
};

// Never destroyed: detached threads may end while the binary exits.
Threads& threads() {
    static Threads* instance = new Threads;
    return *instance;
}

struct ThreadState {
    bool counted;  // the main thread, or one started through the wrappers below
    bool outside = false;
};

ThreadState& self() {
    thread_local ThreadState state{gettid() == getpid()};
    return state;
}

bool countsForDaemon() {
    return self().counted && !self().outside;
}

// In the creating thread, so that the new thread counts before its creator can park.
void threadStarting() {
    std::lock_guard<std::mutex> lock(threads().mutex);
    ++threads().daemon;
}

// Undoes threadStarting for a thread that was not created, or undoes it when one ends.
void threadGone() {
    std::lock_guard<std::mutex> lock(threads().mutex);
    --threads().daemon;
    threads().changed.notify_all();
}

// Runs in the new thread around its work, until its last destructor.
class Running {
  public:
    Running() { self().counted = true; }
    ~Running() {
        if (!self().outside) threadGone();
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;
};

void changeParked(size_t* count, bool up) {
    if (up) {
        ++*count;
        ++threads().parked;
        threads().changed.notify_all();
    } else {
        --*count;
        --threads().parked;
    }
}

}  // namespace

bool waitUntilIdle(std::chrono::milliseconds timeout) {
    const size_t caller = countsForDaemon() ? 1 : 0;
    std::unique_lock<std::mutex> lock(threads().mutex);
    return threads().changed.wait_for(
            lock, timeout, [caller] { return threads().daemon == threads().parked + caller; });
}

namespace daemon_threads {

void setOutsideDaemon(bool outside) {
    ThreadState& state = self();
    if (state.counted && state.outside != outside) {
        std::lock_guard<std::mutex> lock(threads().mutex);
        if (outside) {
            --threads().daemon;
        } else {
            ++threads().daemon;
        }
        threads().changed.notify_all();
    }
    state.outside = outside;
}

void ParkingCondition::notify_all() {
    {
        std::lock_guard<std::mutex> lock(threads().mutex);
        threads().parked -= parked_;
        parked_ = 0;
        ++wakeups_;
    }
    condition_.notify_all();
}

ParkingCondition::Ticket ParkingCondition::arrive() {
    if (!countsForDaemon()) return {false, 0};
    std::lock_guard<std::mutex> lock(threads().mutex);
    changeParked(&parked_, true);
    return {true, wakeups_};
}

void ParkingCondition::depart(Ticket ticket) {
    if (!ticket.counted) return;
    std::lock_guard<std::mutex> lock(threads().mutex);
    // A notify since the arrival already counted this thread as working.
    if (ticket.wakeups == wakeups_) changeParked(&parked_, false);
}

ParkedScope::ParkedScope() : counted_(countsForDaemon()) {
    if (!counted_) return;
    std::lock_guard<std::mutex> lock(threads().mutex);
    ++threads().parked;
    threads().changed.notify_all();
}

ParkedScope::~ParkedScope() {
    if (!counted_) return;
    std::lock_guard<std::mutex> lock(threads().mutex);
    --threads().parked;
}

}  // namespace daemon_threads

}  // namespace emulated

// ---- Thread creation, interposed at link time --------------------------------------------
//
// std::thread hands its work to std::thread::_M_start_thread, inside the shared C++ library,
// which calls pthread_create from there: so both are wrapped where the binary calls them.

namespace {

struct CountedWork final : std::thread::_State {
    explicit CountedWork(std::unique_ptr<std::thread::_State> work) : work(std::move(work)) {}

    void _M_run() override {
        emulated::Running running;
        work->_M_run();
        work.reset();  // what the work holds goes before the thread counts as ended
    }

    std::unique_ptr<std::thread::_State> work;
};

struct CountedStart {
    void* (*routine)(void*);
    void* argument;
};

void* runCounted(void* start) {
    CountedStart counted = *static_cast<CountedStart*>(start);
    delete static_cast<CountedStart*>(start);
    emulated::Running running;
    return counted.routine(counted.argument);
}

}  // namespace

extern "C" {

void __real__ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE(
        std::thread* thread, std::unique_ptr<std::thread::_State> state, void (*depend)());
int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*routine)(void*), void* argument);

void __wrap__ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE(
        std::thread* thread, std::unique_ptr<std::thread::_State> state, void (*depend)()) {
    emulated::threadStarting();
    try {
        __real__ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE(
                thread, std::make_unique<CountedWork>(std::move(state)), depend);
    } catch (...) {
        emulated::threadGone();
        throw;
    }
}

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*routine)(void*), void* argument) {
    emulated::threadStarting();
    auto* start = new CountedStart{routine, argument};
    int error = __real_pthread_create(thread, attributes, runCounted, start);
    if (error != 0) {
        delete start;
        emulated::threadGone();
    }
    return error;
}

}  // extern "C"
