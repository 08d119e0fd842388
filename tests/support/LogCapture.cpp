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

#include "support/LogCapture.h"

#include <errno.h>

#include <algorithm>
#include <mutex>

#include <android/log.h>

namespace zenth_test {
namespace {

// liblog keeps one logger for the process and detached product threads may log at any
// moment, so the logger stays installed and finds the current capture under a lock.
std::mutex gSinkMutex;
LogCapture* gSink = nullptr;

void captureLogger(const struct __android_logger_data* data, const char* message) {
    std::lock_guard<std::mutex> lock(gSinkMutex);
    if (gSink == nullptr) {
        __android_log_stderr_logger(data, message);
        return;
    }
    gSink->record({data->priority, data->tag != nullptr ? data->tag : "", message});
}

void installLogger() {
    // Every time: a released thread pool puts the host's own logger back.
    __android_log_set_logger(captureLogger);
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
}

}  // namespace

LogCapture::LogCapture() {
    installLogger();
    std::lock_guard<std::mutex> lock(gSinkMutex);
    gSink = this;
}

LogCapture::~LogCapture() {
    std::lock_guard<std::mutex> lock(gSinkMutex);
    gSink = nullptr;
}

void LogCapture::record(LogLine line) {
    std::lock_guard<std::mutex> lock(mutex_);
    lines_.push_back(std::move(line));
    changed_.notify_all();
}

std::vector<LogLine> LogCapture::lines() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return lines_;
}

size_t LogCapture::count(int priority, const std::string& tag, const std::string& message) const {
    std::lock_guard<std::mutex> lock(mutex_);
    return std::count_if(lines_.begin(), lines_.end(), [&](const LogLine& line) {
        return line.priority == priority && line.tag == tag && line.message == message;
    });
}

size_t LogCapture::count(const std::string& message) const {
    std::lock_guard<std::mutex> lock(mutex_);
    return std::count_if(lines_.begin(), lines_.end(),
                         [&](const LogLine& line) { return line.message == message; });
}

bool LogCapture::waitFor(const Predicate& predicate, std::chrono::milliseconds timeout) const {
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, timeout, [&] { return predicate(lines_); });
}

void LogCapture::clear() {
    std::lock_guard<std::mutex> lock(mutex_);
    lines_.clear();
}

std::string defaultTag() {
    return program_invocation_short_name;
}

}  // namespace zenth_test
