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

/*
 * Host-only: the logcat-style logger every host binary installs into liblog before main.
 */
#pragma once

// Loggers of host code take the log message as a phone's liblog hands it over.

#include <android/log.h>

#include <cstddef>
#include <cstdint>

#if ZENTH_LIBLOG_LOGGER_DATA
// Debian 12's liblog predates that form: its loggers get the message apart from a
// __android_logger_data. These overloads give host code the phone's form on top of it.
struct __android_log_message {
    size_t struct_size;
    int32_t buffer_id;
    int32_t priority;
    const char* tag;
    const char* file;
    uint32_t line;
    const char* message;
};
void __android_log_set_logger(void (*logger)(const struct __android_log_message* log_message));
void __android_log_stderr_logger(const struct __android_log_message* log_message);
#endif

namespace zenth_host {

// Writes "MM-DD HH:MM:SS.mmm  PID  TID P tag: message" lines to stderr, one per message line.
void logcatLogger(const struct __android_log_message* log_message);

enum class Logger { NoOp, Stderr };
// Installs the logger into liblog: logcatLogger, or one that formats nothing further and drops
// the line.
void useLogger(Logger logger);
const char* loggerName(Logger logger);

}  // namespace zenth_host
