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

// The daemon's threads as the emulated platform knows them. It starts every thread of the
// binary (std::thread and pthread_create are interposed at link time), knows which modelled
// process each acts for, and owns every wait in which the daemon can stop for something from
// outside: its binder thread pool waiting for a call, the FPGA fault node's poll, usleep, the
// wait for the pool's release. So it can say exactly when the daemon is idle, on any CPU and
// under an emulator, without looking at the kernel's view of the threads.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>

namespace emulated {

// Waits until the daemon is idle: every thread of its process is parked in one of the
// platform's waits, and every thread it started for a piece of work (a fault's recording and
// capture, a reporter) has ended. Threads of the other modelled processes (a client, the
// statistics service) do not count, nor does the caller. False on timeout.
bool waitUntilIdle(std::chrono::milliseconds timeout);

// For the platform's stand-ins.
namespace daemon_threads {

// The calling thread acts for another modelled process from now on (true), or for the
// daemon's again (false).
void setOutsideDaemon(bool outside);

// A stand-in's condition variable. A daemon thread that parks in it counts as parked from its
// wait until the next notify, which wakes every waiter as a condition variable does: each
// counts as working until it has checked its condition and parked again. Plain waits (a host
// control waiting for the daemon) park nobody.
class ParkingCondition {
  public:
    void notify_all();

    template <typename Ready>
    void park(std::unique_lock<std::mutex>& lock, Ready ready) {
        while (!ready()) {
            Ticket ticket = arrive();
            condition_.wait(lock);
            depart(ticket);
        }
    }

    // False when the timeout passed with ready() still false.
    template <typename Ready>
    bool parkFor(std::unique_lock<std::mutex>& lock, std::chrono::milliseconds timeout,
                 Ready ready) {
        const auto deadline = std::chrono::steady_clock::now() + timeout;
        while (!ready()) {
            Ticket ticket = arrive();
            std::cv_status status = condition_.wait_until(lock, deadline);
            depart(ticket);
            if (status == std::cv_status::timeout) return ready();
        }
        return true;
    }

    template <typename Ready>
    void wait(std::unique_lock<std::mutex>& lock, Ready ready) {
        condition_.wait(lock, ready);
    }

    template <typename Ready>
    bool wait_for(std::unique_lock<std::mutex>& lock, std::chrono::milliseconds timeout,
                  Ready ready) {
        return condition_.wait_for(lock, timeout, ready);
    }

  private:
    struct Ticket {
        bool counted;
        uint64_t wakeups;
    };
    Ticket arrive();
    void depart(Ticket ticket);

    std::condition_variable condition_;
    // Under the platform's lock of the daemon's threads.
    uint64_t wakeups_ = 0;
    size_t parked_ = 0;
};

// Counts the calling daemon thread as parked while it lives: a wait that ends by itself (a
// real sleep) or by a signal.
class ParkedScope {
  public:
    ParkedScope();
    ~ParkedScope();
    ParkedScope(const ParkedScope&) = delete;
    ParkedScope& operator=(const ParkedScope&) = delete;

  private:
    bool counted_;
};

}  // namespace daemon_threads

}  // namespace emulated
