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

// What the load benchmark and the daemon under load share: a memory file that outlives each
// daemon process, so that what a killed process counted up to its last instruction stays
// readable, and through which the benchmark tells the daemon's load when to run and to pause.

#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace bench::load {

// Environment variable giving the daemon under load the board's descriptor.
inline constexpr const char* kBoardEnvironment = "ZENTH_LOAD_BOARD";

// Call latencies: exact below 64 ns, then 64 buckets to each power of two (1.6 % wide).
class LatencyHistogram {
  public:
    void add(uint64_t ns) { buckets_[bucketOf(ns)].fetch_add(1, std::memory_order_relaxed); }

    void merge(const LatencyHistogram& other) {
        for (int i = 0; i < kBuckets; ++i) {
            buckets_[i].fetch_add(other.buckets_[i].load(std::memory_order_relaxed),
                                  std::memory_order_relaxed);
        }
    }

    uint64_t count() const {
        uint64_t total = 0;
        for (const auto& bucket : buckets_) total += bucket.load(std::memory_order_relaxed);
        return total;
    }

    // The lower bound of the bucket holding the q-quantile, in ns (0 when empty).
    uint64_t quantile(double q) const {
        const auto rank = static_cast<uint64_t>(q * static_cast<double>(count()));
        uint64_t below = 0;
        for (int i = 0; i < kBuckets; ++i) {
            below += buckets_[i].load(std::memory_order_relaxed);
            if (below > rank) return lowerBound(i);
        }
        return 0;
    }

  private:
    static constexpr int kSubBits = 6;
    static constexpr int kSub = 1 << kSubBits;
    static constexpr int kBuckets = (64 - kSubBits + 1) * kSub;

    static int bucketOf(uint64_t ns) {
        if (ns < kSub) return static_cast<int>(ns);
        const int octave = 63 - __builtin_clzll(ns);
        const auto sub = static_cast<int>((ns >> (octave - kSubBits)) & (kSub - 1));
        return (octave - kSubBits + 1) * kSub + sub;
    }

    static uint64_t lowerBound(int bucket) {
        if (bucket < kSub) return static_cast<uint64_t>(bucket);
        const int octave = bucket / kSub + kSubBits - 1;
        return static_cast<uint64_t>(kSub + bucket % kSub) << (octave - kSubBits);
    }

    std::atomic<uint64_t> buckets_[kBuckets];
};

// Fault values whose recording the operation record shows: the three counts and the fault code.
enum RecordedKind { kI2cCount, kSrCount, kHrCount, kFaultCode, kRecordedKinds };

// A saved fault log dump: when its capture was allowed, and its mode number.
struct Dump {
    int64_t decidedNs;  // steady clock, the same in every process
    int32_t mode;
};

// One daemon process, from its start to its kill.
struct Life {
    // Set by the benchmark before the start.
    int32_t clients;
    int32_t faultIntervalUs;      // 0: no faults
    bool reportersBeforeClients;  // the reporters' pass finishes before the first call

    // Counted by the daemon under load.
    std::atomic<int32_t> ready;  // registered, counting log lines
    std::atomic<int32_t> reportersDone;
    std::atomic<int64_t> served;
    std::atomic<int64_t> invalid;
    std::atomic<int64_t> wrongValid;
    std::atomic<int64_t> wrongInvalid;
    // Fault values raised, and recordings written back, by kind.
    std::atomic<int64_t> raised[kRecordedKinds];
    std::atomic<int64_t> recorded[kRecordedKinds];
    // Recordings that changed the record other than by one count or the fault code.
    std::atomic<int64_t> misrecorded;
    std::atomic<int64_t> raisedForCapture;
    std::atomic<int64_t> captureDecisions;
    std::atomic<int64_t> heapInUse;  // bytes allocated, sampled at each pause
    static constexpr int kMaxDumps = 256;
    std::atomic<int32_t> dumpCount;
    Dump dumps[kMaxDumps];
    LatencyHistogram latency;
};

enum class Command : uint32_t { Run = 1, Pause = 2 };

struct Board {
    static constexpr int kMaxLives = 8;

    // A command with a sequence number; the daemon echoes it into `reached` once carried out.
    std::atomic<uint32_t> requested;
    std::atomic<uint32_t> reached;
    std::atomic<int32_t> lifeIndex;
    std::atomic<int32_t> wrongNamed;
    char firstWrongCall[128];  // the first call whose result was wrong
    char harnessFailure[128];  // why the daemon under load gave up on a command
    Life lives[kMaxLives];
};
static_assert(std::atomic<int64_t>::is_always_lock_free &&
                      std::atomic<uint64_t>::is_always_lock_free,
              "the board is shared between processes");

inline uint32_t encode(uint32_t sequence, Command command) {
    return sequence << 2 | static_cast<uint32_t>(command);
}

inline Command commandOf(uint32_t request) {
    return static_cast<Command>(request & 3);
}

// The benchmark's side: a zero-filled board that child processes inherit. Null on failure.
inline Board* createBoard(int* fd) {
    *fd = memfd_create("zenth-load-board", 0);
    if (*fd < 0 || ftruncate(*fd, sizeof(Board)) != 0) return nullptr;
    void* memory = mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED, *fd, 0);
    return memory == MAP_FAILED ? nullptr : static_cast<Board*>(memory);
}

inline void releaseBoard(Board* board, int fd) {
    munmap(board, sizeof(Board));
    close(fd);
}

// The daemon's side: the board named by the environment. Null without one.
inline Board* boardFromEnvironment() {
    const char* fd = std::getenv(kBoardEnvironment);
    if (fd == nullptr) return nullptr;
    void* memory =
            mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED, std::atoi(fd), 0);
    return memory == MAP_FAILED ? nullptr : static_cast<Board*>(memory);
}

}  // namespace bench::load
