/*
 * Copyright (C) 2026 Zenth
 *
 * Licensed under the Apache License, Version 2.0 (the "License");
 * you may not use this file except in compliance with the License.
 * You may obtain a copy of the License at
 *
 *      http://www.apache.org/licenses/LICENSE-2.0
 *
 * Unless required by applicable law or agreed to in writing, software
 * distributed under the License is distributed on an "AS IS" BASIS,
 * WITHOUT WARRANTIES OR CONDITIONS OF ANY KIND, either express or implied.
 * See the License for the specific language governing permissions and
 * limitations under the License.
 */

/*
 * Union VendorAtomValue of android.frameworks.stats, version 1 (stand-in of the generated header).
 */
#pragma once

#include <android/binder_parcel.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

namespace aidl {
namespace android {
namespace frameworks {
namespace stats {

class VendorAtomValue {
  public:
    typedef std::false_type fixed_size;
    static const char* descriptor;

    binder_status_t readFromParcel(const AParcel* _aidl_parcel);
    binder_status_t writeToParcel(AParcel* _aidl_parcel) const;

    enum class Tag : int32_t {
        intValue = 0,
        longValue,
        floatValue,
        stringValue,
    };

    // Tag names usable without the enum's scope.
    static const inline Tag intValue = Tag::intValue;
    static const inline Tag longValue = Tag::longValue;
    static const inline Tag floatValue = Tag::floatValue;
    static const inline Tag stringValue = Tag::stringValue;

    template <typename _Tp>
    static constexpr bool _not_self =
            !std::is_same_v<std::remove_cv_t<std::remove_reference_t<_Tp>>, VendorAtomValue>;

    VendorAtomValue() : _value(std::in_place_index<static_cast<size_t>(intValue)>, int32_t(0)) {}

    template <typename _Tp, typename = std::enable_if_t<_not_self<_Tp>>>
    // NOLINTNEXTLINE(google-explicit-constructor)
    constexpr VendorAtomValue(_Tp&& _arg) : _value(std::forward<_Tp>(_arg)) {}

    template <size_t _Np, typename... _Tp>
    constexpr explicit VendorAtomValue(std::in_place_index_t<_Np>, _Tp&&... _args)
        : _value(std::in_place_index<_Np>, std::forward<_Tp>(_args)...) {}

    template <Tag _tag, typename... _Tp>
    static VendorAtomValue make(_Tp&&... _args) {
        return VendorAtomValue(std::in_place_index<static_cast<size_t>(_tag)>,
                               std::forward<_Tp>(_args)...);
    }

    template <Tag _tag, typename _Tp, typename... _Up>
    static VendorAtomValue make(std::initializer_list<_Tp> _il, _Up&&... _args) {
        return VendorAtomValue(std::in_place_index<static_cast<size_t>(_tag)>, std::move(_il),
                               std::forward<_Up>(_args)...);
    }

    Tag getTag() const { return static_cast<Tag>(_value.index()); }

    template <Tag _tag>
    const auto& get() const {
        if (getTag() != _tag) badAccess();
        return std::get<static_cast<size_t>(_tag)>(_value);
    }

    template <Tag _tag>
    auto& get() {
        if (getTag() != _tag) badAccess();
        return std::get<static_cast<size_t>(_tag)>(_value);
    }

    template <Tag _tag, typename... _Tp>
    void set(_Tp&&... _args) {
        _value.template emplace<static_cast<size_t>(_tag)>(std::forward<_Tp>(_args)...);
    }

    inline bool operator!=(const VendorAtomValue& _rhs) const { return _value != _rhs._value; }
    inline bool operator<(const VendorAtomValue& _rhs) const { return _value < _rhs._value; }
    inline bool operator<=(const VendorAtomValue& _rhs) const { return _value <= _rhs._value; }
    inline bool operator==(const VendorAtomValue& _rhs) const { return _value == _rhs._value; }
    inline bool operator>(const VendorAtomValue& _rhs) const { return _value > _rhs._value; }
    inline bool operator>=(const VendorAtomValue& _rhs) const { return _value >= _rhs._value; }

    std::string toString() const;

  private:
    [[noreturn]] static void badAccess() {
        std::fputs("VendorAtomValue: bad access: a wrong tag\n", stderr);
        std::abort();
    }

    std::variant<int32_t, int64_t, float, std::string> _value;
};

}  // namespace stats
}  // namespace frameworks
}  // namespace android
}  // namespace aidl
