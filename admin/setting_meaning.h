// SPDX-License-Identifier: MIT
// The drivers' settings in plain words, both ways.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace qxports {

// Another value of the same set, by its name; settings limit one another.
using OtherValue = std::function<std::uint32_t(std::string_view)>;

// What a number means, in words: "8 bits", "Xon/Xoff", "115200 bits per second". Empty for a value that only
// its driver understands.
[[nodiscard]] std::string MeaningOf(std::string_view setting, std::uint32_t value, bool bus);

// The number that a user's word for a setting stands for. A number of data or stop bits means that many bits;
// "raw:N" is the driver's own number N, unchecked. Throws Failure, naming what the port allows.
[[nodiscard]] std::uint32_t ValueFor(std::string_view setting, const std::string& word, bool bus,
                                     const OtherValue& other);

// Throws Failure when the driver's own number is none that the port allows.
void RequireAllowed(std::string_view setting, std::uint32_t number, bool bus, const OtherValue& other);

}  // namespace qxports
