// SPDX-License-Identifier: MIT
// A second, plain writing of the settings stream, from the drivers' side of the wire. It shares nothing with
// the library: a mistake there must not be mirrored here.
#pragma once

#include "fuzz/fuzz_input.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace qxfuzz {

inline constexpr std::uint32_t kTerminated = 1, kPrefixed = 2, kWide = 4, kTagged = 8, kHeader = 16;

using Units = std::basic_string<WCHAR>;
using Item = std::variant<std::uint32_t, Units>;
using Stream = std::vector<std::uint8_t>;

inline bool ValidOptions(std::uint32_t options) {
    return options < 32 && (options & 3) != 0;
}

inline void Put(Stream& out, std::uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i)
        out.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

// The stream of the items, or none when an item cannot be written.
inline std::optional<Stream> WriteStream(const std::vector<Item>& items, std::uint32_t options,
                                         std::uint32_t check) {
    Stream out;
    const bool wide = (options & kWide) != 0;
    const auto tag = [&](std::uint32_t value) {
        if (options & kTagged)
            Put(out, value, 1);
    };
    if (options & kHeader) {
        tag(0);
        Put(out, check, 4);
    }
    for (const Item& item : items) {
        if (const auto* number = std::get_if<std::uint32_t>(&item)) {
            tag(2);
            Put(out, *number, 4);
            continue;
        }
        const Units& text = std::get<Units>(item);
        if (text.size() > (wide ? 32767U : 255U))
            return std::nullopt;
        tag(wide ? 4 : 3);
        if (options & kPrefixed)
            Put(out, static_cast<std::uint32_t>(text.size()), 4);
        for (const WCHAR unit : text) {
            if (!wide && static_cast<std::uint16_t>(unit) > 255)
                return std::nullopt;
            Put(out, static_cast<std::uint16_t>(unit), wide ? 2 : 1);
        }
        if (options & kTerminated)
            Put(out, 0, wide ? 2 : 1);
    }
    return out;
}

// Reads a stream item by item. A narrow text with bytes outside ASCII depends on the system's conversions, so
// the model has no opinion on it: `doubtful` says that it met one, and reading ends there.
class StreamReader {
  public:
    StreamReader(std::span<const std::uint8_t> stream, std::uint32_t options)
        : rest_(stream), options_(options) {}

    bool doubtful = false;

    [[nodiscard]] bool Header(std::uint32_t check) {
        if (!(options_ & kHeader))
            return true;
        const auto value = Tag({0, 0}) ? Number() : std::nullopt;
        return value == check;
    }

    [[nodiscard]] std::optional<std::uint32_t> NumberItem() { return Tag({2, 2}) ? Number() : std::nullopt; }

    [[nodiscard]] std::optional<Units> TextItem() {
        const std::size_t width = options_ & kWide ? 2 : 1;
        const std::uint8_t wanted = width == 2 ? 4 : 3;
        if (!Tag({wanted, wanted}))
            return std::nullopt;
        std::optional<std::uint32_t> length;
        if (options_ & kPrefixed) {
            length = Number();
            if (!length)
                return std::nullopt;
        }
        Units text;
        if (options_ & kTerminated) {
            for (;;) {
                const auto unit = Number(width);
                if (!unit)
                    return std::nullopt;
                if (*unit == 0)
                    break;
                Append(text, *unit, width);
            }
            if (length && *length != text.size())
                return std::nullopt;
        } else {
            if (std::uint64_t{*length} * width > rest_.size())
                return std::nullopt;
            bool ended = false;
            for (std::uint32_t i = 0; i < *length; ++i) {
                const auto unit = *Number(width);
                ended = ended || unit == 0;
                if (!ended)
                    Append(text, unit, width);
            }
        }
        // What the format cannot hold was not written by a driver that keeps to it.
        if (text.size() > (width == 2 ? 32767U : 255U) || (length && *length > (width == 2 ? 32767U : 255U)))
            doubtful = true;
        return text;
    }

    [[nodiscard]] std::size_t Left() const { return rest_.size(); }

  private:
    void Append(Units& text, std::uint32_t unit, std::size_t width) {
        if (width == 1 && unit > 0x7F)
            doubtful = true;
        text.push_back(static_cast<WCHAR>(unit));
    }

    [[nodiscard]] bool Tag(std::array<std::uint8_t, 2> allowed) {
        if (!(options_ & kTagged))
            return true;
        const auto tag = Number(1);
        return tag && (*tag == allowed[0] || *tag == allowed[1]);
    }

    [[nodiscard]] std::optional<std::uint32_t> Number(std::size_t bytes = 4) {
        if (rest_.size() < bytes)
            return std::nullopt;
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < bytes; ++i)
            value |= std::uint32_t{rest_[i]} << (8 * i);
        rest_ = rest_.subspan(bytes);
        return value;
    }

    std::span<const std::uint8_t> rest_;
    std::uint32_t options_;
};

}  // namespace qxfuzz
