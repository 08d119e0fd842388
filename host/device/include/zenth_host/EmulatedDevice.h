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

// The emulated device: the C library calls of a binary linked with `zenth_device` are
// interposed at link time, so that the daemon's literal device paths land in a root folder
// on the host and the kernel facilities that plain files cannot imitate (the FPGA fault
// node, the kernel log ring buffer, usleep) are driven by the controls below.
//
// Every control is process-wide and thread-safe. Tests normally reach them through the
// DeviceTest fixture, which gives each test a fresh root and resets everything else.

#include <poll.h>
#include <sys/types.h>

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace emulated {

// ---- Root folder and path mapping -------------------------------------------------------
//
// With a root set, absolute paths under "/dev/block/", "/proc/", "/sys/" and "/mnt/vendor/"
// map to root + path, and relative paths (such as "dev/block/sda") resolve against the
// root, which stands for the daemon's working directory "/" on a device. Any other path is
// used unchanged. Without a root nothing is mapped.
//
// Mapped paths get the permission checks the phone's kernel makes for the daemon's
// credentials (see "Owners, modes and credentials" below), even when the host runs as root.
//
// C++ streams and std::filesystem bypass the emulation (their calls come from inside the
// shared C++ library); product code must use the C library calls.

// Environment variable giving a binary its root at start ("" or unset: no mapping).
inline constexpr const char* kRootEnvironment = "ZENTH_DEVICE_ROOT";

// Sets the root folder (an absolute host path; "" switches the mapping off).
void setRoot(const std::string& hostFolder);
std::string root();

// The host path that a device path maps to now; unchanged when it is not mapped.
std::string hostPath(const std::string& devicePath);
// Whether the device path is mapped under the current root.
bool isMapped(const std::string& devicePath);

// Host paths (symbolic links resolved) of the files that fsync was called on, in order: the
// newest 256.
std::vector<std::string> syncedFiles();

// Returns the fault node, the kernel log, usleep and the fsync record to their start-up
// state. The root is left as it is. The fault node should not be open then
// (fault_node::openDescriptors()).
void reset();

// ---- Owners, modes and credentials -------------------------------------------------------
//
// Every mapped path has an owner, a group and a mode. Owners and groups are recorded in the
// root folder (".ownership"), so that every process on the device sees them: those boot gives
// (below) and those of the files and folders the daemon creates (its user and group). A path
// without a record is root's. The mode is the host file's, except under "/proc/" and "/sys/":
// there the host file's mode is what the driver supports (without the owner's write bit the
// node cannot be stored to, and opening it for writing fails with EACCES whatever its mode),
// and the mode that ueventd or init gives the node is recorded beside its owner.
//
// Checks are the kernel's for a process without CAP_DAC_OVERRIDE: search permission on every
// folder on the way, then the bits of the owner, the group or the others, whichever class
// the process falls in first. What the daemon creates gets its umask.

struct Credentials {
    uid_t uid = 0;
    gid_t gid = 0;
    std::vector<gid_t> groups;  // supplementary
    uint64_t capabilities = 0;  // bit n: capability n of <linux/capability.h>
    mode_t umask = 0;

    bool has(int capability) const { return ((capabilities >> capability) & 1U) != 0; }
};

// The daemon's credentials as init gives them: the user, groups and capabilities of the
// service in the init files, and umask 077. Every process on the emulated device runs with
// them; a test that calls product functions directly does too.
const Credentials& credentials();

// Environment variable: the init and ueventd files to boot from, separated by commas (a file
// whose name starts with "ueventd" is read as a ueventd file). Unset: the shipped files in
// aidl/ and the emulated board's init file (host/device/board).
inline constexpr const char* kInitFilesEnvironment = "ZENTH_DEVICE_INIT_FILES";

// Copies a device's root folder with the owners of its paths, which a plain copy would lose
// (they belong to the files, not their names).
void copyDevice(const std::string& fromRoot, const std::string& toRoot);

// The device as the phone's kernel, ueventd and init leave it before the service starts:
// device nodes get their ueventd line or root:root 0600, sysfs attributes their ueventd
// line, the drivers' procfs nodes user and group system (the board's drivers create them
// so), and init's mkdir, chown and chmod actions run in the order of their triggers.
namespace boot {

// Boots the whole device under the current root. A binary started with ZENTH_DEVICE_ROOT set
// does it before main and then sets umask 077, as init starts the service.
void run();
// Gives one path what boot gives it, for a path made after boot. A file boot gives nothing
// that lies in a folder of the daemon's user stands for one the daemon made: it gets the
// daemon's user and group.
void place(const std::string& devicePath);

}  // namespace boot

// ---- Crash models ------------------------------------------------------------------------
//
// Once armed, the process's write-side calls on mapped paths are counted and each is reported
// on stderr as "emulated: write point K: CALL PATH": write, fsync, open with O_CREAT or
// O_TRUNC, chmod, mkdir, remove, unlink and rmdir (the daemon's log is no device write). Right
// after the armed point the process dies as SIGKILL ends it, after one more line on stderr
// ("emulated: process crash after write point K" or "emulated: power cut ...").
namespace crash {

enum class Model {
    Count,         // counts and reports, never cuts
    ProcessCrash,  // everything handed to the kernel stays
    // Storage keeps only what was synced: each file written since arming goes back to its
    // content as of its last fsync (what it held when first touched counts as synced), and a
    // file created or truncated and not synced since comes back empty. Folder entries (made,
    // removed) and modes are kept at once; a write is never torn.
    PowerCut,
};

// Environment variable: "count", "process:K" or "power:K" arms a binary from its start.
inline constexpr const char* kCutEnvironment = "ZENTH_DEVICE_CUT";

// Counts from the next write-side call on; the process ends right after point K (K >= 1).
// Only descriptors opened after arming are followed.
void arm(Model model, unsigned point);
// Reads "count", "process:K" or "power:K"; false for anything else.
bool parse(const std::string& text, Model* model, unsigned* point);

}  // namespace crash

// ---- FPGA fault node ---------------------------------------------------------------------
//
// The node exists when the file root + kPath exists. A descriptor opened on it is real, but
// poll, lseek and read on it follow the injected events: poll blocks until an event is
// pending, then the events are delivered one by one in the order injected. A value arms the
// next lseek and read (poll reports POLLIN); a read then returns its bytes from the
// descriptor's offset on, as the driver's node does. Calls on other descriptors are not
// affected beyond one atomic load.
namespace fault_node {

inline constexpr const char* kPath = "/proc/fpga/errinfoto_op";

// Poll reports POLLIN and the next read returns the first `bytes` (0 to 8) bytes of the
// value in native byte order.
void injectValue(uint64_t value, int bytes = 8);
// Poll fails with EINTR.
void injectPollInterrupted();
// Poll returns 0 (timed out).
void injectPollTimeout();
// Poll returns 1 with returned events lacking POLLIN.
void injectPollWithoutPollin(short revents = POLLPRI);
// Poll fails with the error (not EINTR).
void injectPollError(int error = EINVAL);
// Poll reports POLLIN; the following lseek fails with the error.
void injectLseekError(int error = EINVAL);
// Poll reports POLLIN; lseek succeeds and the read fails with the error.
void injectReadError(int error = EIO);

// Descriptors currently open on the node.
int openDescriptors();
// Calls of poll on the node so far (blocking or not).
unsigned pollCalls();
// Injected events not yet delivered.
size_t pendingEvents();

// Waits until poll has been called on the node at least `count` times.
bool waitForPollCalls(unsigned count, std::chrono::milliseconds timeout);
// Waits until every injected event is delivered and a poll is blocked on the empty queue:
// the watcher handled everything and waits for the next fault.
bool waitUntilIdle(std::chrono::milliseconds timeout);
// Waits until no descriptor is open on the node.
bool waitUntilClosed(std::chrono::milliseconds timeout);

}  // namespace fault_node

// ---- Kernel log ring buffer (klogctl) ----------------------------------------------------
//
// Action 10 reports the buffer size; action 3 copies the content (its newest `length`
// bytes when it is longer) and returns the number of bytes copied. Other actions fail with
// EINVAL. As on a phone (dmesg_restrict set), actions 3 and 10 fail with EPERM for a process
// without CAP_SYSLOG. The real kernel log is never touched.
namespace kernel_log {

inline constexpr int kDefaultBufferSize = 128 * 1024;
extern const char* const kDefaultContent;

void setContent(const std::string& bytes);
// What action 10 reports.
void setBufferSize(int bytes);
// Action 10 returns -1 with the error.
void failSizeQuery(int error);
// Action 3 returns `result` (0 or negative) and sets errno to the error.
void failRead(int result, int error);

struct Call {
    int action;
    int length;
};
// Every klogctl call so far, in order.
std::vector<Call> calls();

}  // namespace kernel_log

// ---- usleep ------------------------------------------------------------------------------
namespace sleeping {

enum class Mode {
    Real,     // sleeps for the time asked
    Instant,  // returns at once
    Held,     // blocks until release() (or a change of mode)
};

// Environment variable: "1" makes Instant the start-up mode of a binary (default Real).
inline constexpr const char* kFastSleepEnvironment = "ZENTH_DEVICE_FAST_SLEEP";

void setMode(Mode mode);
// The microsecond arguments of every usleep call so far, in order.
std::vector<unsigned> calls();
bool waitForCalls(size_t count, std::chrono::milliseconds timeout);
// Threads blocked in a held usleep now.
size_t held();
// Lets every held usleep return 0.
void release();

}  // namespace sleeping

}  // namespace emulated
