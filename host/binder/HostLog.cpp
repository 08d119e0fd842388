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

// Logcat-style log lines on stderr for binaries running off-device.

#include <zenth_host/host_log.h>

#include <android/log.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <string>

namespace zenth_host {

namespace {

char priorityLetter(int priority) {
    static constexpr char kLetters[] = "??VDIWEFS";
    return priority >= 0 && priority < static_cast<int>(sizeof(kLetters) - 1) ? kLetters[priority]
                                                                              : '?';
}

// "MM-DD HH:MM:SS.mmm  PID  TID P tag: " as logcat's threadtime format shows it.
std::string linePrefix(int priority, const char* tag) {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local = {};
    localtime_r(&now.tv_sec, &local);
    char stamp[32];
    strftime(stamp, sizeof(stamp), "%m-%d %H:%M:%S", &local);
    char prefix[96];
    snprintf(prefix, sizeof(prefix), "%s.%03ld %5d %5d %c ", stamp, now.tv_nsec / 1000000L,
             static_cast<int>(getpid()), static_cast<int>(syscall(SYS_gettid)),
             priorityLetter(priority));
    return std::string(prefix) + (tag != nullptr ? tag : "") + ": ";
}

// Base logging passes its source position, as the device's log shows it for fatal checks.
std::string sourcePosition(const struct __android_log_message* log_message) {
    if (log_message->file == nullptr) {
        return "";
    }
    return std::string(log_message->file) + ":" + std::to_string(log_message->line) + "] ";
}

// Bytes other than printable ASCII and tabs as "\xNN", as `logcat -v printable` shows them:
// partition garbage in a message must not make the log unreadable as text.
std::string printable(const std::string& line) {
    std::string out;
    for (unsigned char byte : line) {
        if (byte == '\t' || (byte >= 0x20 && byte < 0x7F)) {
            out += static_cast<char>(byte);
        } else {
            char escaped[8];
            snprintf(escaped, sizeof(escaped), "\\x%02x", byte);
            out += escaped;
        }
    }
    return out;
}

}  // namespace

void logcatLogger(const struct __android_log_message* log_message) {
    const std::string prefix =
            linePrefix(log_message->priority, log_message->tag) + sourcePosition(log_message);
    std::string text;
    // One output line per message line; a trailing newline does not start another.
    std::string rest = log_message->message != nullptr ? log_message->message : "";
    do {
        size_t end = rest.find('\n');
        text += prefix + printable(rest.substr(0, end)) + "\n";
        rest = end == std::string::npos ? std::string() : rest.substr(end + 1);
    } while (!rest.empty());
    // One write per message keeps lines of concurrent threads apart.
    fwrite(text.data(), 1, text.size(), stderr);
}

void useLogger(Logger logger) {
    __android_log_set_logger(logger == Logger::NoOp ? [](const struct __android_log_message*) {}
                                                    : logcatLogger);
}

const char* loggerName(Logger logger) {
    return logger == Logger::NoOp ? "no-op logger" : "stderr logger";
}

}  // namespace zenth_host

#if ZENTH_LIBLOG_LOGGER_DATA
namespace {

std::atomic<void (*)(const struct __android_log_message*)> gLogger{nullptr};

void forwardToLogger(const struct __android_logger_data* data, const char* message) {
    const __android_log_message log_message = {
            sizeof(log_message), data->buffer_id, data->priority, data->tag,
            data->file,          data->line,      message};
    gLogger.load()(&log_message);
}

}  // namespace

void __android_log_set_logger(void (*logger)(const struct __android_log_message* log_message)) {
    gLogger.store(logger);
    __android_log_set_logger(forwardToLogger);
}

void __android_log_stderr_logger(const struct __android_log_message* log_message) {
    __android_logger_data data = {sizeof(data),     log_message->buffer_id, log_message->priority,
                                  log_message->tag, log_message->file,      log_message->line};
    __android_log_stderr_logger(&data, log_message->message);
}
#endif
