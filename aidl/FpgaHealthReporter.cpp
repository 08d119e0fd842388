#include "ZenthFpga.h"

namespace aidl::vendor::zenth::hardware::misc {

void ZenthFpga::fpgaReportStats() {}

}  // namespace aidl::vendor::zenth::hardware::misc
