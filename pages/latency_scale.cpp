// SPDX-License-Identifier: MIT
#include "pages/latency_scale.h"

#include <algorithm>
#include <array>

namespace qx {

namespace {

// The share of its distance from the low end, in 1/1024, that a position counts for; one entry for each 255th
// of the range.
constexpr std::array<int, 256> kScale = {
    // clang-format off
    0, 2, 3, 5, 6, 8, 9, 11, 13, 14, 16, 17, 19, 21, 22, 24,  // 0
    25, 27, 29, 30, 32, 34, 35, 37, 39, 40, 42, 44, 45, 47, 49, 51,  // 16
    52, 54, 56, 58, 59, 61, 63, 65, 66, 68, 70, 72, 74, 76, 77, 79,  // 32
    81, 83, 85, 87, 89, 90, 92, 94, 96, 98, 100, 102, 104, 106, 108, 110,  // 48
    112, 114, 116, 118, 120, 122, 124, 126, 128, 130, 132, 134, 137, 139, 141, 143,  // 64
    145, 147, 149, 152, 154, 156, 158, 160, 163, 165, 167, 169, 172, 174, 176, 179,  // 80
    181, 183, 186, 188, 190, 193, 195, 198, 200, 202, 205, 207, 210, 212, 215, 217,  // 96
    220, 223, 225, 228, 230, 233, 236, 238, 241, 244, 246, 249, 252, 255, 257, 260,  // 112
    263, 266, 269, 272, 274, 277, 280, 283, 286, 289, 292, 295, 298, 301, 305, 308,  // 128
    311, 314, 317, 320, 324, 327, 330, 333, 337, 340, 344, 347, 350, 354, 357, 361,  // 144
    364, 368, 372, 375, 379, 383, 386, 390, 394, 398, 402, 406, 410, 413, 418, 422,  // 160
    426, 430, 434, 438, 442, 447, 451, 455, 460, 464, 469, 473, 478, 483, 487, 492,  // 176
    497, 502, 507, 512, 517, 522, 527, 532, 538, 543, 548, 554, 559, 565, 571, 576,  // 192
    582, 588, 594, 600, 607, 613, 619, 626, 632, 639, 646, 653, 660, 667, 674, 681,  // 208
    689, 696, 704, 712, 720, 728, 736, 745, 754, 762, 771, 781, 790, 800, 810, 820,  // 224
    830, 840, 851, 862, 874, 886, 898, 910, 923, 936, 949, 963, 978, 993, 1008, 1024,  // 240
    // clang-format on
};

constexpr int kRange = kHighestLatencyPosition - kLowestLatencyPosition;

}  // namespace

int LatencyOfPosition(int position) noexcept {
    const int distance = std::clamp(position - kLowestLatencyPosition, 0, kRange);
    const int entry = distance * (static_cast<int>(kScale.size()) - 1) / kRange;
    return kScale[static_cast<unsigned>(entry)] * distance / 1024 + 2;
}

}  // namespace qx
