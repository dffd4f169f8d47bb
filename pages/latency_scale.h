// The scale of the maximum-latency slider.
#pragma once

namespace qx {

// Positions of the slider. Its scale is stretched at the low end, where milliseconds matter.
inline constexpr int kLowestLatencyPosition = 2;
inline constexpr int kHighestLatencyPosition = 16640;

// The latency in milliseconds that a position within the slider's range stands for: 2 ms at the lowest, 16640
// ms at the highest, and never less than at the position before.
[[nodiscard]] int LatencyOfPosition(int position) noexcept;

}  // namespace qx
