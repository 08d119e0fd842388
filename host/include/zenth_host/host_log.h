/*
 * Host-only: the logcat-style logger every host binary installs into liblog before main.
 */
#pragma once

struct __android_logger_data;

namespace zenth_host {

// Writes "MM-DD HH:MM:SS.mmm  PID  TID P tag: message" lines to stderr, one per message line.
void logcatLogger(const struct __android_logger_data* data, const char* message);

}  // namespace zenth_host
