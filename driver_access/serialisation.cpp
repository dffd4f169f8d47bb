// SPDX-License-Identifier: MIT
#include "driver_access/serialisation.h"

namespace qx {

bool CSsSerialisationBase::SetOptions(DWORD options) noexcept {
    if (!AreValidOptions(options))
        return false;
    options_ = options;
    return true;
}

}  // namespace qx
