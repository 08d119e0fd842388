#pragma once

namespace aidl::vendor::zenth::hardware::misc {

class ZenthFan {
  public:
    // The fan probe: hands the fan driver its hardware variant and RPM table.
    ZenthFan();
    ~ZenthFan();
};

}  // namespace aidl::vendor::zenth::hardware::misc
