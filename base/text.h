// SPDX-License-Identifier: MIT
// The system's text: UTF-16 strings as the platform passes them, and the few conversions made on them.
#pragma once

#include <windows.h>

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace qx {

using TextView = std::basic_string_view<WCHAR>;

// An immutable UTF-16 text whose storage is shared by its copies.
//
// Device ids, COM names and captions are handed from operation to operation by value; sharing makes that free
// of allocations. Copies may be used on different threads. The text always ends in a NUL, so c_str() goes to
// the platform as it stands. Constructing, concatenating and replacing allocate and may throw std::bad_alloc;
// copying, moving and reading never throw.
class Text {
  public:
    Text() noexcept = default;
    // Copies `text` up to its NUL; a null pointer gives the empty text.
    Text(const WCHAR* text);  // NOLINT(google-explicit-constructor): literals are texts
    explicit Text(TextView text);

    // The text in a fixed buffer that the platform filled: up to its first NUL, or all `capacity` units when
    // there is none.
    [[nodiscard]] static Text FromBuffer(const WCHAR* buffer, std::size_t capacity);

    [[nodiscard]] const WCHAR* c_str() const noexcept;
    [[nodiscard]] TextView view() const noexcept;
    operator TextView() const noexcept { return view(); }  // NOLINT(google-explicit-constructor)
    // Units without the terminating NUL.
    [[nodiscard]] std::size_t length() const noexcept { return view().size(); }
    [[nodiscard]] bool empty() const noexcept { return view().empty(); }

    [[nodiscard]] bool Contains(TextView part) const noexcept { return view().find(part) != TextView::npos; }
    // The text without its first `count` units; empty when it has no more than that.
    [[nodiscard]] Text WithoutFirst(std::size_t count) const;

    // Exact comparison, unit by unit: COM5 and com5 are two names.
    friend bool operator==(const Text& a, const Text& b) noexcept { return a.view() == b.view(); }
    friend Text operator+(const Text& a, const Text& b);

  private:
    using Storage = std::basic_string<WCHAR>;
    explicit Text(Storage&& text);

    std::shared_ptr<const Storage> text_;  // none for the empty text
};

// A text of at most `Capacity` units, in place. For what the platform hands over within a known length, and
// for steps that must not stop in the middle because memory ran out: nothing here allocates.
template <std::size_t Capacity>
class FixedText {
  public:
    static constexpr std::size_t kCapacity = Capacity;

    FixedText() noexcept = default;

    // Where the platform writes, `Capacity` units. The text ends at the first NUL that it leaves there.
    [[nodiscard]] WCHAR* Buffer() noexcept { return units_.data(); }

    [[nodiscard]] const WCHAR* c_str() const noexcept { return units_.data(); }
    [[nodiscard]] TextView view() const noexcept { return TextView(units_.data()); }
    operator TextView() const noexcept { return view(); }  // NOLINT(google-explicit-constructor)

    // Adds as much of `more` as fits.
    void Append(TextView more) noexcept {
        const std::size_t length = view().size();
        std::ranges::copy(more.substr(0, Capacity - length), units_.begin() + length);
    }
    // Keeps the first `length` units.
    void Truncate(std::size_t length) noexcept {
        std::ranges::fill(units_.begin() + length, units_.end(), 0);
    }

    friend bool operator==(const FixedText& a, TextView b) noexcept { return a.view() == b; }

  private:
    std::array<WCHAR, Capacity + 1> units_{};  // the last one stays NUL
};

// The number at the start of `text`, as the C library's decimal conversion reads it: leading white space and
// one sign are accepted, digits count up to the first other character, no digits give 0. A number that does
// not fit is held at the nearest end of the range of int.
[[nodiscard]] int ParseDecimal(TextView text) noexcept;

// The COM number of a COM name: its first three characters are dropped, whatever they are, and the rest is
// read by ParseDecimal. "COM12" gives 12, "LPT7" gives 7, "COM" and "" give 0.
[[nodiscard]] int ComNumberOf(TextView name) noexcept;

// "COM" followed by the number.
[[nodiscard]] Text ComNameOf(unsigned number);

// One argument of Format.
class FormatArgument {
  public:
    // NOLINTBEGIN(google-explicit-constructor): arguments are written as they are
    // A 32-bit number of either sign; the conversion decides how its bits are read.
    template <std::integral Number>
    requires(sizeof(Number) == sizeof(int)) FormatArgument(Number value)
    noexcept : kind_(Kind::kNumber), number_(static_cast<int>(value)) {}
    FormatArgument(WCHAR value) noexcept : kind_(Kind::kCharacter), character_(value) {}
    FormatArgument(const Text& value) : kind_(Kind::kString), text_(value) {}
    FormatArgument(const WCHAR* value) : kind_(Kind::kString), text_(value) {}
    // NOLINTEND(google-explicit-constructor)

  private:
    friend Text FormatWith(TextView format, std::initializer_list<FormatArgument> arguments);
    enum class Kind { kNumber, kCharacter, kString };
    Kind kind_;
    int number_ = 0;
    WCHAR character_ = 0;
    Text text_;
};

// The work of Format. A conversion without an argument, or with one of another kind, writes nothing; an
// unknown conversion is copied as it stands.
[[nodiscard]] Text FormatWith(TextView format, std::initializer_list<FormatArgument> arguments);

// Replaces %d (signed 32-bit number), %u (unsigned), %s (text) and %c (one UTF-16 unit) in turn by the
// arguments, and %% by one percent sign. The formats that the system uses come from its own tables, not from
// users.
template <typename... Arguments>
[[nodiscard]] Text Format(const WCHAR* format, const Arguments&... arguments) {
    return FormatWith(TextView(format), {FormatArgument(arguments)...});
}

// Calls `append` with the pieces of `text` in turn, `replacement` in place of every occurrence of `old`, left
// to right and without overlaps. An empty `old` replaces nothing.
template <typename Append>
void ReplaceEach(TextView text, TextView old, TextView replacement, Append append) {
    for (std::size_t at = old.empty() ? TextView::npos : text.find(old); at != TextView::npos;
         at = text.find(old)) {
        append(text.substr(0, at));
        append(replacement);
        text.remove_prefix(at + old.size());
    }
    append(text);
}

// `text` with every occurrence of `old` replaced, left to right and without overlaps. An empty `old` replaces
// nothing.
[[nodiscard]] Text ReplaceAll(const Text& text, const Text& old, const Text& replacement);

// The parts of `list` between its commas, in order; a text without a comma is one part, so there is always
// one.
[[nodiscard]] std::vector<Text> SplitAtCommas(const Text& list);

// A copy in upper or lower case, by the platform's rules (CharUpperW, CharLowerW), which the names of devices
// follow.
[[nodiscard]] Text UpperCase(const Text& text);
[[nodiscard]] Text LowerCase(const Text& text);

}  // namespace qx
