#include "ZenthFpga.h"

namespace aidl::vendor::zenth::hardware::misc {

bool compareFiles(const FileEntry& a, const FileEntry& b) {
    if (a.modTime.tv_sec != b.modTime.tv_sec) {
        return a.modTime.tv_sec < b.modTime.tv_sec;
    }
    return a.modTime.tv_nsec < b.modTime.tv_nsec;
}

int DeleteOldLog() {
    return 0;
}

}  // namespace aidl::vendor::zenth::hardware::misc
