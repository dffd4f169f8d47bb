// SPDX-License-Identifier: MIT
// What every fuzzer needs: its input taken apart, and a check whose failure ends the run.
#pragma once

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>

namespace qxfuzz {

// Ends the run, and with it finds the input, when the system and the fuzzer's own model of it disagree. The
// line that it prints tells a canary build's bug from a failure of the fuzzer's own.
inline void Require(bool holds, const char* what) {
    if (holds)
        return;
#ifdef QX_CANARY
    std::fprintf(stderr, "planted bug found: %s\n", what);
#else
    std::fprintf(stderr, "violated: %s\n", what);
#endif
    std::abort();
}

// Hands out an input piece by piece; zeros when it has run out.
class Input {
  public:
    Input(const std::uint8_t* data, std::size_t size) : rest_(data, size) {}

    [[nodiscard]] bool Empty() const { return rest_.empty(); }
    [[nodiscard]] std::size_t Left() const { return rest_.size(); }

    template <typename Number>
    [[nodiscard]] Number Take() {
        Number value{};
        const std::size_t size = std::min(sizeof(Number), rest_.size());
        if (size != 0)
            std::memcpy(&value, rest_.data(), size);
        rest_ = rest_.subspan(size);
        return value;
    }

    // A number below `limit`.
    [[nodiscard]] std::uint32_t Below(std::uint32_t limit) {
        return limit == 0 ? 0 : Take<std::uint16_t>() % limit;
    }

    [[nodiscard]] std::span<const std::uint8_t> Bytes(std::size_t size) {
        const auto piece = rest_.first(std::min(size, rest_.size()));
        rest_ = rest_.subspan(piece.size());
        return piece;
    }

    // A text of at most `longest` units. Mostly one byte a unit, so that the mutations of bytes are mutations
    // of characters; a byte of 0xFF takes a whole unit from the next two.
    [[nodiscard]] std::basic_string<WCHAR> Units(std::size_t longest) {
        std::basic_string<WCHAR> text;
        const std::size_t length = std::min<std::size_t>(Take<std::uint8_t>(), longest);
        while (text.size() < length && !Empty()) {
            const auto byte = Take<std::uint8_t>();
            text.push_back(byte == 0xFF ? static_cast<WCHAR>(Take<std::uint16_t>())
                                        : static_cast<WCHAR>(byte));
        }
        return text;
    }

    [[nodiscard]] std::span<const std::uint8_t> Rest() { return Bytes(rest_.size()); }

  private:
    std::span<const std::uint8_t> rest_;
};

}  // namespace qxfuzz
