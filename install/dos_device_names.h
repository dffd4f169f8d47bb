// SPDX-License-Identifier: MIT
// The DOS device names of ports: what makes "COM5" open the port's kernel device.
#pragma once

#include "base/text.h"

#include <optional>

namespace qx {

// The path of a kernel device.
using KernelPath = FixedText<256>;

// The kernel device path that a DOS name points at; none when no device has the name. Paths of up to 255
// characters fit, more than port drivers use.
[[nodiscard]] std::optional<KernelPath> TargetOfDosName(const WCHAR* name);

// Takes the name away from that target, and from no other: of several definitions stacked on one name,
// somebody else's stays. True when it is gone.
[[nodiscard]] bool RemoveDosName(const WCHAR* name, const KernelPath& target);

// Gives the port that is `old_name` the name `new_name`, in the DOS names and in the SERIALCOMM map, where
// programs look up which ports there are. An entry that the map has under another device stays.
//
// True when both were changed. False leaves the port under its old name, except when only the map could not
// be written: the DOS name has moved then, and stays moved.
[[nodiscard]] bool MoveDosDeviceName(const WCHAR* old_name, const Text& new_name);

}  // namespace qx
