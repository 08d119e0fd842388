#include "ZenthFpga.h"

namespace aidl::vendor::zenth::hardware::misc {

std::mutex gFpgaOpInfoMutex;

int fpgaOpWrite(unsigned long /*value*/) {
    return -1;
}

int ZenthFpga::readFpgaOpInfoEn(const char* /*path*/, char* /*cb_data*/, int /*nodeFlag*/) {
    return -1;
}

int ZenthFpga::writeFpgaOpInfoEn(const char* /*path*/, const std::string& /*info*/) {
    return -1;
}

}  // namespace aidl::vendor::zenth::hardware::misc
