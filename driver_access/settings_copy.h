// SPDX-License-Identifier: MIT
// A copy of one of a port's parameter sets, as its driver holds it.
#pragma once

#include "driver_access/user_mode_config.h"

namespace qx {

// The values of `Set` (CQxUVcpUserModeInterface or CQxUBusUserModeInterface) as the driver last gave or took
// them whole. A read that fails midway leaves them as they were, and so does a write that is refused: what is
// to be changed is worked out on a copy of the values, which becomes the driver's and this one's together or
// not at all.
//
// The channel must outlive the copy. Requires of every exchange: FindInterface succeeded.
template <typename Set>
class SettingsCopy {
  public:
    using Values = typename Set::Values;

    explicit SettingsCopy(CQxUserModeConfig& channel) noexcept : channel_(channel) {}

    // Initial values until a read or a write succeeded.
    [[nodiscard]] const Values& operator*() const noexcept { return values_; }
    [[nodiscard]] const Values* operator->() const noexcept { return &values_; }
    // Whether the values are the driver's. Those that are not must not be written.
    [[nodiscard]] bool IsRead() const noexcept { return read_; }

    // Takes the driver's present values over.
    bool Read() noexcept {
        Set fresh;
        if (!channel_.ReadSettings(fresh, Set::kSelector))
            return false;
        Adopt(fresh);
        return true;
    }

    // Hands `wanted` to the driver.
    [[nodiscard]] bool Write(const Values& wanted) noexcept {
        Set parameters;
        static_cast<Values&>(parameters) = wanted;
        if (!channel_.WriteSettings(parameters, Set::kSelector))
            return false;
        Adopt(wanted);
        return true;
    }

    // Takes over one value that the driver is known to hold.
    void Learn(DWORD Values::*value, DWORD held) noexcept { values_.*value = held; }

  private:
    void Adopt(const Values& values) noexcept {
        values_ = values;
        read_ = true;
    }

    CQxUserModeConfig& channel_;
    Values values_;
    bool read_ = false;
};

}  // namespace qx
