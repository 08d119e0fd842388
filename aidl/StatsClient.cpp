#include "StatsClient.h"

namespace aidl::vendor::zenth::hardware::misc {

using ::aidl::android::frameworks::stats::IStats;

std::shared_ptr<IStats> getStatsService(bool* /*declared*/) {
    return nullptr;
}

bool parseCounterField(const char* /*field*/, const char* /*key*/, int32_t* /*value*/) {
    return false;
}

void doReportEvent(const std::shared_ptr<IStats>& /*stats*/, int32_t /*atomId*/,
                   const char* /*leadingText*/, const std::vector<int32_t>& /*counters*/,
                   const char* /*failureMessage*/) {}

}  // namespace aidl::vendor::zenth::hardware::misc
