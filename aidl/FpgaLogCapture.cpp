#include "ZenthFpga.h"

namespace aidl::vendor::zenth::hardware::misc {

std::mutex gFpgaLogMutex;
std::mutex gExceptionWindowMutex;
std::chrono::steady_clock::time_point gExceptionWindowStart[kExceptionKindCount];
uint8_t gExceptionWindowBudget[kExceptionKindCount];

int LogSaveFunc(unsigned long /*value*/) {
    return -1;
}

}  // namespace aidl::vendor::zenth::hardware::misc
