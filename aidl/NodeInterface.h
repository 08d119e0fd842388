#pragma once

namespace aidl::vendor::zenth::hardware::misc {

// One open, one seek from the start, one transfer, one close. The result is the byte
// count of the single transfer or -1; nothing is appended to the buffer.
int readInterface(const char* path, int offset, void* buffer, int length);
// Never creates or truncates; a successful write is followed by fsync.
int writeInterface(const char* path, int offset, const char* buffer, int length);

}  // namespace aidl::vendor::zenth::hardware::misc
