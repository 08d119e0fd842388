#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include <aidl/android/frameworks/stats/IStats.h>

namespace aidl::vendor::zenth::hardware::misc {

// Length of one counter field of a reserve-partition counter area.
inline constexpr int kCounterFieldSize = 16;

// Looks the statistics service up without waiting. `declared` is the caller's own
// declared flag: once true, the declaration is not queried again.
std::shared_ptr<::aidl::android::frameworks::stats::IStats> getStatsService(bool* declared);

// Parses "key:number" of one 16-byte field; on failure logs and leaves *value untouched.
bool parseCounterField(const char* field, const char* key, int32_t* value);

void doReportEvent(const std::shared_ptr<::aidl::android::frameworks::stats::IStats>& stats,
                   int32_t atomId, const char* leadingText, const std::vector<int32_t>& counters,
                   const char* failureMessage);

}  // namespace aidl::vendor::zenth::hardware::misc
