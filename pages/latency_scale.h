// SPDX-License-Identifier: MIT
// The scale of the maximum-latency slider.
#pragma once

namespace qx {

// Positions of the slider. Its scale is stretched at the low end, where milliseconds matter.
inline constexpr int kLowestLatencyPosition = 2;
inline constexpr int kHighestLatencyPosition = 16640;

// The latency in milliseconds that a position stands for: 2 ms at the lowest, 16640 ms at the highest, and
// never less than at the position before. A position outside the range counts as the nearest end.
[[nodiscard]] int LatencyOfPosition(int position) noexcept;

}  // namespace qx
