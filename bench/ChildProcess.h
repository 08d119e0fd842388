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

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace bench {

// Runs work() in a child process, so that the threads and memory it takes are its own and end
// with it, and hands its result back through a pipe. False when no result came back.
template <typename Result, typename Work>
bool runInChild(Work work, Result* result) {
    static_assert(std::is_trivially_copyable_v<Result>);
    int pipeFds[2];
    if (pipe(pipeFds) != 0) return false;
    pid_t child = fork();
    if (child == 0) {
        close(pipeFds[0]);
        const Result sent = work();
        ssize_t ignored = write(pipeFds[1], &sent, sizeof(sent));
        (void)ignored;
        _exit(0);
    }
    close(pipeFds[1]);
    const bool received = read(pipeFds[0], result, sizeof(*result)) == sizeof(*result);
    close(pipeFds[0]);
    waitpid(child, nullptr, 0);
    return received;
}

// A number of /proc/<pid>/status: "VmRSS" (resident set, KiB), "VmHWM" (its peak, KiB),
// "Threads"; -1 when it cannot be read.
inline long processStatus(pid_t pid, const std::string& field) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    const std::string prefix = field + ":";
    for (std::string line; std::getline(status, line);) {
        if (line.rfind(prefix, 0) == 0) return std::stol(line.substr(prefix.size()));
    }
    return -1;
}

inline long residentKiB(pid_t pid) {
    return processStatus(pid, "VmRSS");
}

using Environment = std::vector<std::pair<std::string, std::string>>;

// Starts a program in a child process with the variables added to its environment and its
// stdout or stderr sent to a file when one is named. The child dies with this process.
inline pid_t startProgram(const char* program, const Environment& environment,
                          const char* stdoutFile, const char* stderrFile) {
    pid_t child = fork();
    if (child != 0) return child;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const std::pair<const char*, int> redirects[] = {{stdoutFile, STDOUT_FILENO},
                                                     {stderrFile, STDERR_FILENO}};
    for (const auto& [file, target] : redirects) {
        if (file == nullptr) continue;
        int fd = open(file, O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (fd < 0 || dup2(fd, target) < 0) _exit(127);
        close(fd);
    }
    for (const auto& [name, value] : environment) setenv(name.c_str(), value.c_str(), 1);
    execl(program, program, static_cast<char*>(nullptr));
    _exit(127);
}

}  // namespace bench
