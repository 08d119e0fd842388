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

// Load held: client processes call every interface method, with valid and invalid arguments,
// while fault values arrive at a steady rate and the reporters run, and the daemon is killed
// with SIGKILL and started again on the same device a few times. The daemon is a process of its
// own (the daemon under load: its entry as main, the clients and the FPGA driver as threads of
// modelled processes in it); what it counted lives on a board shared with this process, so a
// kill loses none of it.

#include <sched.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zenth_host/EmulatedDevice.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <zenth_host/DeviceTree.h>
#include "ChildProcess.h"
#include "DeviceChanges.h"
#include "FaultRecord.h"
#include "Figures.h"
#include "LoadBoard.h"
#include "LoadCalls.h"
#include "ZenthFpgaInternal.h"

namespace bench {

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using load::Board;
using load::Command;
using load::Life;
using std::chrono::milliseconds;

constexpr int kClients = 4;
constexpr int kFaultIntervalUs = 5000;  // 200 fault values a second
constexpr milliseconds kIdleRun{1500};
// How long the load runs before each kill, and in the last start before and after its sample.
constexpr milliseconds kKilledAfter[] = {milliseconds(2000), milliseconds(2600), milliseconds(3200)};
constexpr milliseconds kWarmUp{3000};
constexpr milliseconds kHeld{4000};
constexpr auto kCommandTimeout = std::chrono::seconds(30);
constexpr long kResidentGrowthTargetKiB = 64;
constexpr auto kWindow = milliseconds(3000);
constexpr size_t kDumpsPerWindow = 2;
constexpr long kDumpsKept = 10;

constexpr int kIdleLife = 0;
constexpr int kLastLife = 1 + static_cast<int>(std::size(kKilledAfter));
static_assert(kLastLife < Board::kMaxLives);

double seconds(Clock::duration duration) {
    return std::chrono::duration<double>(duration).count();
}

long descriptorsOf(pid_t pid) {
    std::error_code error;
    fs::directory_iterator fds("/proc/" + std::to_string(pid) + "/fd", error);
    return error ? -1 : static_cast<long>(std::distance(fds, fs::directory_iterator()));
}

// The daemon under load, started afresh on the same device for each life.
class LoadRun {
  public:
    explicit LoadRun(const zenth_host::DeviceTree& device) : device_(device) {
        board_ = load::createBoard(&boardFd_);
        if (board_ == nullptr) failure_ = "no shared board";
    }
    ~LoadRun() {
        kill();
        if (board_ != nullptr) load::releaseBoard(board_, boardFd_);
    }
    LoadRun(const LoadRun&) = delete;
    LoadRun& operator=(const LoadRun&) = delete;

    bool ok() const { return failure_.empty(); }
    const std::string& failure() const { return failure_; }
    const Board& board() const { return *board_; }
    const Life& life(int index) const { return board_->lives[index]; }
    pid_t pid() const { return pid_; }
    double loadSeconds() const { return seconds(loaded_); }

    // The idle daemon serves one client, with no faults and the reporters done, on one CPU:
    // across two, each call's hand-over between the client's thread and the daemon's waits
    // for the other CPU to wake, which takes 13 to 40 us from run to run.
    bool start(int index, bool idle) {
        if (!ok()) return false;
        Life& life = board_->lives[index];
        life.clients = idle ? 1 : kClients;
        life.faultIntervalUs = idle ? 0 : kFaultIntervalUs;
        life.reportersBeforeClients = idle;
        board_->lifeIndex = index;
        // The child takes this thread's CPUs.
        cpu_set_t cpus;
        sched_getaffinity(0, sizeof(cpus), &cpus);
        if (idle) {
            cpu_set_t first;
            CPU_ZERO(&first);
            CPU_SET(0, &first);
            sched_setaffinity(0, sizeof(first), &first);
        }
        pid_ = startProgram(ZENTH_LOAD_BINARY,
                            {{emulated::kRootEnvironment, device_.root()},
                             {"ZENTH_HOST_STATS", "1"},
                             // One arena: otherwise the resident set steps up by 168 KiB
                             // whenever contention makes the allocator open another.
                             {"GLIBC_TUNABLES", "glibc.malloc.arena_max=1"},
                             {load::kBoardEnvironment, std::to_string(boardFd_)}},
                            "/dev/null", nullptr);
        sched_setaffinity(0, sizeof(cpus), &cpus);
        return waitFor([&life] { return life.ready == 1; }, "the daemon did not register");
    }

    // The first run also waits for the reporters' pass, which it sets off.
    bool run(milliseconds duration) {
        if (!command(Command::Run, "the load did not start")) return false;
        const Life& life = board_->lives[board_->lifeIndex];
        if (!waitFor([&life] { return life.reportersDone == 2; }, "the reporters did not run")) {
            return false;
        }
        const auto start = Clock::now();
        std::this_thread::sleep_for(duration);
        loaded_ += Clock::now() - start;
        return true;
    }

    bool pause() { return command(Command::Pause, "the daemon did not settle after the load"); }

    void kill() {
        if (pid_ <= 0) return;
        ::kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
        pid_ = -1;
    }

  private:
    bool command(Command command, const char* failure) {
        const uint32_t request = load::encode(++sequence_, command);
        board_->requested = request;
        return waitFor([this, request] { return board_->reached == request; }, failure);
    }

    bool waitFor(const std::function<bool()>& done, const char* failure) {
        const auto deadline = Clock::now() + kCommandTimeout;
        while (!done()) {
            if (Clock::now() > deadline || waitpid(pid_, nullptr, WNOHANG) != 0) {
                failure_ = failure;
                if (board_->harnessFailure[0] != '\0') {
                    failure_ += std::string(": ") + board_->harnessFailure;
                }
                return false;
            }
            std::this_thread::sleep_for(milliseconds(1));
        }
        return true;
    }

    const zenth_host::DeviceTree& device_;
    Board* board_ = nullptr;
    int boardFd_ = -1;
    pid_t pid_ = -1;
    uint32_t sequence_ = 0;
    Clock::duration loaded_{};
    std::string failure_;
};

// ---- Fault counts: every recording the daemon wrote back is in the partition ----

struct FaultLedger {
    FaultCounts base = {};  // the partition's counts when the current life started
    long raisedCounts = 0;
    long lost = 0;
    long landedUnseen = 0;  // written back, but the process died before it said so
    long misrecorded = 0;
    long recordedOverRaised = 0;
    std::vector<long> inFlightAtKills;
    long inFlightAtEnd = 0;

    void settle(const Life& life, const FaultCounts& partition, bool killed) {
        long inFlight = -life.misrecorded;
        for (int kind = 0; kind < load::kRecordedKinds; ++kind) {
            inFlight += life.raised[kind] - life.recorded[kind];
            recordedOverRaised += std::max<long>(0, life.recorded[kind] - life.raised[kind]);
            if (kind == load::kFaultCode) continue;
            raisedCounts += life.raised[kind];
            const long missing = base[kind] + life.recorded[kind] - partition[kind];
            lost += std::max(0L, missing);
            landedUnseen += std::max(0L, -missing);
        }
        misrecorded += life.misrecorded;
        if (killed) {
            inFlightAtKills.push_back(inFlight);
        } else {
            inFlightAtEnd = inFlight;
        }
        base = partition;
    }

    bool met() const {
        return lost == 0 && misrecorded == 0 && recordedOverRaised == 0 && inFlightAtEnd == 0 &&
               raisedCounts > 0;
    }
};

FaultCounts partitionCounts(const zenth_host::DeviceTree& device) {
    return countsInRecord(device.readPartition(kFaultRecordOffset, kFaultRecordSize).data());
}

// ---- Dumps: at most two of a kind in any 3000 ms of one process ----

struct DumpTally {
    long saved = 0;
    long beyondWindow = 0;   // within one process: must be 0
    long acrossRestart = 0;  // counting every process as one: allowed, the window is new
    std::map<int, std::vector<int64_t>> merged;  // decision times by mode

    static long beyond(std::vector<int64_t> times) {
        std::sort(times.begin(), times.end());
        long count = 0;
        for (size_t i = kDumpsPerWindow; i < times.size(); ++i) {
            const auto gap = std::chrono::nanoseconds(times[i] - times[i - kDumpsPerWindow]);
            if (gap <= kWindow) ++count;
        }
        return count;
    }

    void add(const Life& life) {
        std::map<int, std::vector<int64_t>> byMode;
        const int count = std::min<int>(life.dumpCount, Life::kMaxDumps);
        for (int i = 0; i < count; ++i) {
            byMode[life.dumps[i].mode].push_back(life.dumps[i].decidedNs);
            merged[life.dumps[i].mode].push_back(life.dumps[i].decidedNs);
        }
        saved += count;
        for (const auto& [mode, times] : byMode) beyondWindow += beyond(times);
    }

    void finish() {
        for (const auto& [mode, times] : merged) acrossRestart += beyond(times);
        acrossRestart -= beyondWindow;
    }
};

long entriesIn(const std::string& folder) {
    std::error_code error;
    fs::directory_iterator entries(folder, error);
    return error ? -1 : static_cast<long>(std::distance(entries, fs::directory_iterator()));
}

std::string joined(const std::vector<std::string>& items) {
    std::string text;
    for (const auto& item : items) text += (text.empty() ? "" : ", ") + item;
    return text;
}

// ---- The run ----

struct Footprint {
    long descriptors;
    long residentKiB;
    long heapBytes;
};

Footprint footprintOf(const LoadRun& run) {
    return {descriptorsOf(run.pid()), residentKiB(run.pid()),
            static_cast<long>(run.life(kLastLife).heapInUse)};
}

struct Outcome {
    FaultLedger faults;
    DumpTally dumps;
    Footprint start = {};
    Footprint end = {};
    long dumpsKept = 0;
    std::vector<std::string> changes;
};

// Killed lives: the load runs until the kill. The last life samples the daemon after a
// warm-up and again at the end, both times with the load paused and every fault handled.
bool runLives(LoadRun& run, const zenth_host::DeviceTree& device, Outcome* outcome) {
    if (!run.start(kIdleLife, true) || !run.run(kIdleRun) || !run.pause()) return false;
    run.kill();
    outcome->faults.base = partitionCounts(device);
    for (int life = 1; life < kLastLife; ++life) {
        if (!run.start(life, false) || !run.run(kKilledAfter[life - 1])) {
            return false;
        }
        run.kill();
        outcome->faults.settle(run.life(life), partitionCounts(device), true);
    }
    if (!run.start(kLastLife, false) || !run.run(kWarmUp) || !run.pause()) {
        return false;
    }
    outcome->start = footprintOf(run);
    if (!run.run(kHeld) || !run.pause()) return false;
    outcome->end = footprintOf(run);
    run.kill();
    outcome->faults.settle(run.life(kLastLife), partitionCounts(device), false);
    return true;
}

struct CallTally {
    long served = 0;
    long invalid = 0;
    long wrongValid = 0;
    long wrongInvalid = 0;
};

CallTally tallyCalls(const LoadRun& run, int first, int last) {
    CallTally tally;
    for (int i = first; i <= last; ++i) {
        tally.served += run.life(i).served;
        tally.invalid += run.life(i).invalid;
        tally.wrongValid += run.life(i).wrongValid;
        tally.wrongInvalid += run.life(i).wrongInvalid;
    }
    return tally;
}

void addCallFigures(const LoadRun& run, Figures& figures) {
    const CallTally load = tallyCalls(run, 1, kLastLife);
    figures.push_back({"Load held: calls served",
                       format("%.0f", static_cast<double>(load.served)) +
                               format(" in %.1f s of load", run.loadSeconds()) +
                               format(" (%.0f/s) from", load.served / run.loadSeconds()) +
                               format(" %.0f client processes,", kClients) +
                               format(" %.0f fault values/s;", 1e6 / kFaultIntervalUs) +
                               format(" %.0f starts under load, both reporters in each,", kLastLife) +
                               format(" %.0f ended by SIGKILL", kLastLife - 1),
                       "", true});
    auto latency = std::make_unique<load::LatencyHistogram>();
    for (int i = 1; i <= kLastLife; ++i) latency->merge(run.life(i).latency);
    const load::LatencyHistogram& idle = run.life(kIdleLife).latency;
    for (double q : {0.5, 0.99}) {
        const double loaded = static_cast<double>(latency->quantile(q)) / 1000;
        const double quiet = static_cast<double>(idle.quantile(q)) / 1000;
        figures.push_back({format("Load held: p%.0f call latency against an idle daemon", q * 100),
                           format("%.2fx", loaded / quiet) + format(" (%.1f us", loaded) +
                                   format(", idle %.1f us;", quiet) +
                                   format(" idle: one client, %.0f calls)",
                                          static_cast<double>(idle.count())),
                           "", true});
    }
}

void addFaultFigures(const Outcome& outcome, Figures& figures) {
    const FaultLedger& faults = outcome.faults;
    std::string kills;
    long inFlight = 0;
    for (long count : faults.inFlightAtKills) {
        kills += (kills.empty() ? "" : ", ") + format("%.0f", static_cast<double>(count));
        inFlight += count;
    }
    std::string value =
            format("%.0f", static_cast<double>(faults.lost)) +
            format(" (%.0f count values raised;", static_cast<double>(faults.raisedCounts)) +
            format(" %.0f values in flight at the", static_cast<double>(inFlight)) +
            format(" %.0f kills (", static_cast<double>(faults.inFlightAtKills.size())) + kills +
            format("), %.0f of them written back all the same;",
                   static_cast<double>(faults.landedUnseen)) +
            format(" %.0f unhandled after the last pause)",
                   static_cast<double>(faults.inFlightAtEnd));
    if (faults.misrecorded + faults.recordedOverRaised > 0) {
        value += format("; %.0f recordings gone wrong",
                        static_cast<double>(faults.misrecorded + faults.recordedOverRaised));
    }
    figures.push_back({"Load held: fault counts lost", value, "0", faults.met()});

    const DumpTally& dumps = outcome.dumps;
    figures.push_back(
            {"Load held: dumps",
             format("%.0f saved,", static_cast<double>(dumps.saved)) +
                     format(" %.0f beyond the window within a process",
                            static_cast<double>(dumps.beyondWindow)) +
                     format(" (%.0f more across a restart,",
                            static_cast<double>(dumps.acrossRestart)) +
                     " where the window starts afresh);" +
                     format(" %.0f kept", static_cast<double>(outcome.dumpsKept)),
             "<= 2 per kind per 3 s",
             dumps.saved > 0 && dumps.beyondWindow == 0 && outcome.dumpsKept <= kDumpsKept});
}

void addFootprintFigure(const Outcome& outcome, Figures& figures) {
    const Footprint& start = outcome.start;
    const Footprint& end = outcome.end;
    const long growth = end.residentKiB - start.residentKiB;
    figures.push_back({"Load held: daemon's descriptors and resident set, end against start",
                       format("descriptors %.0f", static_cast<double>(start.descriptors)) +
                               format(" -> %.0f;", static_cast<double>(end.descriptors)) +
                               format(" resident set %+.0f KiB", static_cast<double>(growth)) +
                               format(" (%.0f", static_cast<double>(start.residentKiB)) +
                               format(" -> %.0f KiB)", static_cast<double>(end.residentKiB)) +
                               format(" over %.0f s of load", seconds(kHeld)) +
                               format(" after %.0f s;", seconds(kWarmUp)) +
                               format(" heap in use %+.0f bytes",
                                      static_cast<double>(end.heapBytes - start.heapBytes)),
                       "flat (+0 descriptors, <= 64 KiB)",
                       start.descriptors > 0 && end.descriptors == start.descriptors &&
                               start.residentKiB > 0 && growth <= kResidentGrowthTargetKiB});
}

void addBadInputFigure(const LoadRun& run, const Outcome& outcome, Figures& figures) {
    const CallTally calls = tallyCalls(run, kIdleLife, kLastLife);
    std::string value = format("%.0f", static_cast<double>(calls.wrongInvalid)) +
                        format(" of %.0f invalid calls", static_cast<double>(calls.invalid)) +
                        format(" (valid: %.0f", static_cast<double>(calls.wrongValid)) +
                        format(" of %.0f);", static_cast<double>(calls.served - calls.invalid)) +
                        (outcome.changes.empty() ? " nothing else changed"
                                                 : " changed: " + joined(outcome.changes));
    if (run.board().wrongNamed != 0)
        value += std::string("; first wrong: ") + run.board().firstWrongCall;
    figures.push_back({"Bad input under load: wrong results", value, "0, nothing else changed",
                       calls.wrongInvalid == 0 && calls.wrongValid == 0 && outcome.changes.empty()});
}

}  // namespace

void measureLoadHeld(Figures& figures) {
    zenth_host::ScratchDevice device("/dev/shm");
    device.buildSamplePhone();
    const DeviceState before = deviceState(device);
    LoadRun run(device);
    Outcome outcome;
    if (!runLives(run, device, &outcome)) {
        figures.push_back({"Load held", "not measured: " + run.failure(), "completes", false});
        return;
    }
    for (int life = kIdleLife; life <= kLastLife; ++life) outcome.dumps.add(run.life(life));
    outcome.dumps.finish();
    outcome.dumpsKept = entriesIn(device.hostPath(misc::kFpgaLogDir));
    outcome.changes = changesBeyondTheLoad(before, deviceState(device));

    addCallFigures(run, figures);
    addFaultFigures(outcome, figures);
    addFootprintFigure(outcome, figures);
    addBadInputFigure(run, outcome, figures);
}

}  // namespace bench
