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

// The FPGA fault node: poll, lseek and read on its descriptors deliver injected events.

#include <errno.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <deque>
#include <mutex>

#include "DeviceInternal.h"
#include "RealCalls.h"
#include "zenth_host/DaemonThreads.h"
#include "zenth_host/EmulatedDevice.h"

namespace emulated::fault_node {
namespace {

enum class Kind {
    Value,
    PollInterrupted,
    PollTimeout,
    PollWithoutPollin,
    PollError,
    LseekError,
    ReadError,
};

struct Event {
    Kind kind;
    uint64_t value = 0;
    int bytes = 0;
    short revents = 0;
    int error = 0;
};

// Events that survive a poll: poll reports POLLIN and lseek/read consume them.
bool reachesTransfer(Kind kind) {
    return kind == Kind::Value || kind == Kind::LseekError || kind == Kind::ReadError;
}

struct Node {
    std::mutex mutex;
    // The fault watcher parks in it while its poll waits for an event.
    emulated::daemon_threads::ParkingCondition changed;
    std::deque<Event> pending;
    bool armed = false;  // the front event passed poll
    unsigned pollCalls = 0;
    unsigned blockedPolls = 0;
};

Node& node() {
    static Node* instance = new Node;  // detached threads may outlive static destruction
    return *instance;
}

// Every poll, lseek, read and close of the process asks whether its descriptor is the
// node's, so the answer takes no lock: a count, and slots holding descriptor + 1 (0: free).
constexpr int kMaxDescriptors = 8;
std::atomic<int> gOpenCount{0};
std::atomic<int> gDescriptors[kMaxDescriptors];

bool isNodeDescriptor(int fd) {
    if (gOpenCount.load(std::memory_order_acquire) == 0) return false;
    for (const std::atomic<int>& slot : gDescriptors) {
        if (slot.load(std::memory_order_acquire) == fd + 1) return true;
    }
    return false;
}

// With the node locked.
bool addDescriptor(int fd) {
    for (std::atomic<int>& slot : gDescriptors) {
        int free = 0;
        if (slot.compare_exchange_strong(free, fd + 1)) {
            gOpenCount.fetch_add(1);
            return true;
        }
    }
    return false;
}

// With the node locked.
void removeDescriptor(int fd) {
    for (std::atomic<int>& slot : gDescriptors) {
        int mine = fd + 1;
        if (slot.compare_exchange_strong(mine, 0)) {
            gOpenCount.fetch_sub(1);
            return;
        }
    }
}

void inject(const Event& event) {
    Node& n = node();
    std::lock_guard<std::mutex> lock(n.mutex);
    n.pending.push_back(event);
    n.changed.notify_all();
}

int fail(int error) {
    errno = error;
    return -1;
}

void popFront(Node& n) {
    n.pending.pop_front();
    n.armed = false;
    n.changed.notify_all();
}

bool waitForEvent(Node& n, std::unique_lock<std::mutex>& lock, int timeout) {
    auto ready = [&n] { return !n.pending.empty(); };
    ++n.blockedPolls;
    n.changed.notify_all();
    bool got = true;
    if (timeout < 0) {
        n.changed.park(lock, ready);
    } else {
        got = n.changed.parkFor(lock, std::chrono::milliseconds(timeout), ready);
    }
    --n.blockedPolls;
    return got;
}

int pollNode(struct pollfd* entry, int timeout) {
    Node& n = node();
    std::unique_lock<std::mutex> lock(n.mutex);
    ++n.pollCalls;
    n.changed.notify_all();
    entry->revents = 0;
    if (n.pending.empty() && !waitForEvent(n, lock, timeout)) return 0;
    Event event = n.pending.front();
    if (reachesTransfer(event.kind)) {
        n.armed = true;
        entry->revents = POLLIN;
        return 1;
    }
    popFront(n);
    switch (event.kind) {
        case Kind::PollInterrupted:
            return fail(EINTR);
        case Kind::PollTimeout:
            return 0;
        case Kind::PollWithoutPollin:
            entry->revents = event.revents;
            return 1;
        default:
            return fail(event.error);
    }
}

// The armed event for a call on a node descriptor, if it is of the given kinds.
bool takeArmed(Node& n, Kind a, Kind b, Event* event) {
    if (!n.armed) return false;
    Kind kind = n.pending.front().kind;
    if (kind != a && kind != b) return false;
    *event = n.pending.front();
    popFront(n);
    return true;
}

}  // namespace

void injectValue(uint64_t value, int bytes) {
    inject({Kind::Value, value, std::clamp(bytes, 0, 8)});
}

void injectPollInterrupted() {
    inject({Kind::PollInterrupted});
}

void injectPollTimeout() {
    inject({Kind::PollTimeout});
}

void injectPollWithoutPollin(short revents) {
    inject({Kind::PollWithoutPollin, 0, 0, static_cast<short>(revents & ~POLLIN)});
}

void injectPollError(int error) {
    inject({Kind::PollError, 0, 0, 0, error});
}

void injectLseekError(int error) {
    inject({Kind::LseekError, 0, 0, 0, error});
}

void injectReadError(int error) {
    inject({Kind::ReadError, 0, 0, 0, error});
}

int openDescriptors() {
    return gOpenCount.load();
}

unsigned pollCalls() {
    Node& n = node();
    std::lock_guard<std::mutex> lock(n.mutex);
    return n.pollCalls;
}

size_t pendingEvents() {
    Node& n = node();
    std::lock_guard<std::mutex> lock(n.mutex);
    return n.pending.size();
}

namespace {

template <typename Predicate>
bool waitFor(std::chrono::milliseconds timeout, Predicate predicate) {
    Node& n = node();
    std::unique_lock<std::mutex> lock(n.mutex);
    return n.changed.wait_for(lock, timeout, [&n, &predicate] { return predicate(n); });
}

}  // namespace

bool waitForPollCalls(unsigned count, std::chrono::milliseconds timeout) {
    return waitFor(timeout, [count](const Node& n) { return n.pollCalls >= count; });
}

bool waitUntilIdle(std::chrono::milliseconds timeout) {
    return waitFor(timeout, [](const Node& n) { return n.pending.empty() && n.blockedPolls > 0; });
}

bool waitUntilClosed(std::chrono::milliseconds timeout) {
    return waitFor(timeout, [](const Node&) { return gOpenCount.load() == 0; });
}

}  // namespace emulated::fault_node

namespace emulated::internal {

using fault_node::Node;
using fault_node::node;

bool adoptFaultNodeDescriptor(int fd) {
    Node& n = node();
    std::lock_guard<std::mutex> lock(n.mutex);
    n.changed.notify_all();
    return fault_node::addDescriptor(fd);
}

void resetFaultNode() {
    Node& n = node();
    std::lock_guard<std::mutex> lock(n.mutex);
    n.pending.clear();
    n.armed = false;
    n.pollCalls = 0;
    n.changed.notify_all();
}

}  // namespace emulated::internal

namespace {

using emulated::fault_node::Event;
using emulated::fault_node::isNodeDescriptor;
using emulated::fault_node::Kind;
using emulated::fault_node::Node;

bool armedFor(int fd, Kind a, Kind b, Event* event) {
    if (!isNodeDescriptor(fd)) return false;
    Node& n = emulated::fault_node::node();
    std::lock_guard<std::mutex> lock(n.mutex);
    return emulated::fault_node::takeArmed(n, a, b, event);
}

// Like the driver's node, a read starts at the descriptor's offset into the value.
ssize_t readNode(int fd, void* buf, size_t count, const Event& event) {
    if (event.kind == Kind::ReadError) return emulated::fault_node::fail(event.error);
    size_t offset = std::min(static_cast<size_t>(std::max<off_t>(__real_lseek(fd, 0, SEEK_CUR), 0)),
                             static_cast<size_t>(event.bytes));
    size_t bytes = std::min(count, static_cast<size_t>(event.bytes) - offset);
    std::memcpy(buf, reinterpret_cast<const char*>(&event.value) + offset, bytes);
    return static_cast<ssize_t>(bytes);
}

}  // namespace

extern "C" {

int __wrap_poll(struct pollfd* fds, nfds_t count, int timeout) {
    if (count != 1 || !isNodeDescriptor(fds[0].fd)) {
        return __real_poll(fds, count, timeout);
    }
    return emulated::fault_node::pollNode(&fds[0], timeout);
}

int __wrap___poll_chk(struct pollfd* fds, nfds_t count, int timeout, size_t fdslen) {
    if (count != 1 || !isNodeDescriptor(fds[0].fd)) {
        return __real___poll_chk(fds, count, timeout, fdslen);
    }
    return emulated::fault_node::pollNode(&fds[0], timeout);
}

off_t __wrap_lseek(int fd, off_t offset, int whence) {
    Event event;
    if (armedFor(fd, Kind::LseekError, Kind::LseekError, &event)) {
        return emulated::fault_node::fail(event.error);
    }
    return __real_lseek(fd, offset, whence);
}

off64_t __wrap_lseek64(int fd, off64_t offset, int whence) {
    return __wrap_lseek(fd, offset, whence);
}

ssize_t __wrap_read(int fd, void* buf, size_t count) {
    Event event;
    if (armedFor(fd, Kind::Value, Kind::ReadError, &event)) {
        return readNode(fd, buf, count, event);
    }
    return __real_read(fd, buf, count);
}

ssize_t __wrap___read_chk(int fd, void* buf, size_t count, size_t buflen) {
    Event event;
    if (armedFor(fd, Kind::Value, Kind::ReadError, &event)) {
        return readNode(fd, buf, std::min(count, buflen), event);
    }
    return __real___read_chk(fd, buf, count, buflen);
}

int __wrap_close(int fd) {
    emulated::internal::untrackDescriptor(fd);
    if (isNodeDescriptor(fd)) {
        Node& n = emulated::fault_node::node();
        std::lock_guard<std::mutex> lock(n.mutex);
        emulated::fault_node::removeDescriptor(fd);
        // Closed before anyone waiting for the close can look at the process's descriptors.
        int result = __real_close(fd);
        n.changed.notify_all();
        return result;
    }
    return __real_close(fd);
}

}  // extern "C"
