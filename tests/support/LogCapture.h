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

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace zenth_test {

// How long a test waits for work it started on another thread before it gives up.
inline constexpr std::chrono::milliseconds kWait{10000};

struct LogLine {
    int priority;
    std::string tag;
    std::string message;
};

// Records every platform log line while it exists (at most one at a time). Lines logged
// while none exists go to stderr as liblog would print them.
class LogCapture {
  public:
    using Predicate = std::function<bool(const std::vector<LogLine>&)>;

    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<LogLine> lines() const;
    size_t count(int priority, const std::string& tag, const std::string& message) const;
    // Lines with this message, whatever their priority and tag.
    size_t count(const std::string& message) const;
    // Blocks until the predicate holds over the lines so far; false after the timeout. The
    // predicate runs with the capture locked and must not log.
    bool waitFor(const Predicate& predicate, std::chrono::milliseconds timeout = kWait) const;
    void clear();

    // Called by the logger installed in liblog.
    void record(LogLine line);

  private:
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::vector<LogLine> lines_;
};

// The tag liblog gives a line logged without one: the program's short name.
std::string defaultTag();

}  // namespace zenth_test
