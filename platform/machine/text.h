// SPDX-License-Identifier: MIT
// Texts as the platform has them, UTF-16 and compared without regard to case, and as this side of it reads
// them, UTF-8.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qxsim {

using WideString = std::basic_string<WCHAR>;
using WideView = std::basic_string_view<WCHAR>;
using Bytes = std::vector<BYTE>;

// UTF-16 to UTF-8 and back; a lone surrogate becomes U+FFFD.
[[nodiscard]] std::string ToUtf8(WideView text);
[[nodiscard]] WideString ToWide(std::string_view text);

// Letter case of ASCII and Latin-1, which is what ids, registry keys and COM names are written in.
[[nodiscard]] WCHAR UpperCase(WCHAR unit);
[[nodiscard]] WCHAR LowerCase(WCHAR unit);
[[nodiscard]] WideString UpperCase(WideView text);
[[nodiscard]] WideString LowerCase(WideView text);
[[nodiscard]] bool EqualsCaseless(WideView a, WideView b);
struct CaselessLess {
    using is_transparent = void;
    bool operator()(WideView a, WideView b) const;
};

// A text as a registry value or property holds it: its units and one NUL.
[[nodiscard]] Bytes TextBytes(WideView text);
// The text in such bytes: up to the first NUL, or all of them.
[[nodiscard]] WideString BytesText(const Bytes& bytes);
[[nodiscard]] Bytes DwordBytes(std::uint32_t value);
// Copies bytes to a caller's buffer, which may be unaligned.
void CopyOut(void* target, const void* source, std::size_t count);
// Copies what fits into a caller's room, always with a NUL; the number of units without it.
std::size_t CopyText(WideView text, std::size_t room, WCHAR* buffer);

[[nodiscard]] std::string Hexadecimal(std::uint64_t value);  // "0x1F4"
[[nodiscard]] std::optional<GUID> ParseGuid(std::string_view text);
[[nodiscard]] std::string FormatGuid(const GUID& guid);  // "{4d36e978-...}", lower case

// The number in a COM name: "COM5" has 5, anything else 0. Letter case does not matter.
[[nodiscard]] unsigned ComNumber(WideView name);

// A caption as it is read: without the marks of access keys. Two of them in a row stand for one that is read.
[[nodiscard]] std::string WithoutAccessKeys(std::string_view caption);

}  // namespace qxsim
