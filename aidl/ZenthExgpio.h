#pragma once

namespace aidl::vendor::zenth::hardware::misc {

class ZenthExgpio {
  public:
    ZenthExgpio();
    ~ZenthExgpio();

    // Starts the detached one-shot expander GPIO health reporter.
    void exgpioReportStats();
};

}  // namespace aidl::vendor::zenth::hardware::misc
