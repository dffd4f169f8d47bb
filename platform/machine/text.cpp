// SPDX-License-Identifier: MIT
#include "platform/machine/text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

namespace qxsim {

namespace {

void AppendUtf8(std::string& out, std::uint32_t point) {
    const auto put = [&](std::uint32_t byte) { out.push_back(static_cast<char>(byte)); };
    if (point < 0x80) {
        put(point);
    } else if (point < 0x800) {
        put(0xC0 | point >> 6);
        put(0x80 | (point & 0x3F));
    } else if (point < 0x10000) {
        put(0xE0 | point >> 12);
        put(0x80 | (point >> 6 & 0x3F));
        put(0x80 | (point & 0x3F));
    } else {
        put(0xF0 | point >> 18);
        put(0x80 | (point >> 12 & 0x3F));
        put(0x80 | (point >> 6 & 0x3F));
        put(0x80 | (point & 0x3F));
    }
}

constexpr std::uint32_t kReplacement = 0xFFFD;

}  // namespace

std::string ToUtf8(WideView text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        std::uint32_t point = static_cast<std::uint16_t>(text[at]);
        if (point >= 0xD800 && point <= 0xDFFF) {
            const std::uint32_t low = at + 1 < text.size() ? static_cast<std::uint16_t>(text[at + 1]) : 0;
            if (point <= 0xDBFF && low >= 0xDC00 && low <= 0xDFFF) {
                point = 0x10000 + ((point - 0xD800) << 10) + (low - 0xDC00);
                ++at;
            } else {
                point = kReplacement;
            }
        }
        AppendUtf8(out, point);
    }
    return out;
}

WideString ToWide(std::string_view text) {
    WideString out;
    out.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const auto lead = static_cast<unsigned char>(text[at++]);
        const int more = lead < 0x80   ? 0
                         : lead < 0xC2 ? -1
                         : lead < 0xE0 ? 1
                         : lead < 0xF0 ? 2
                         : lead < 0xF5 ? 3
                                       : -1;
        std::uint32_t point = more <= 0 ? lead : lead & (0x3FU >> more);
        int taken = 0;
        while (taken < more && at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80) {
            point = point << 6 | (static_cast<unsigned char>(text[at++]) & 0x3F);
            ++taken;
        }
        if (more < 0 || taken < more || point > 0x10FFFF || (point >= 0xD800 && point <= 0xDFFF))
            point = kReplacement;
        if (point >= 0x10000) {
            out.push_back(static_cast<WCHAR>(0xD800 + ((point - 0x10000) >> 10)));
            out.push_back(static_cast<WCHAR>(0xDC00 + ((point - 0x10000) & 0x3FF)));
        } else {
            out.push_back(static_cast<WCHAR>(point));
        }
    }
    return out;
}

WCHAR UpperCase(WCHAR unit) {
    const bool small = (unit >= 'a' && unit <= 'z') || (unit >= 0xE0 && unit <= 0xFE && unit != 0xF7);
    return small ? static_cast<WCHAR>(unit - 0x20) : unit;
}

WCHAR LowerCase(WCHAR unit) {
    const bool capital = (unit >= 'A' && unit <= 'Z') || (unit >= 0xC0 && unit <= 0xDE && unit != 0xD7);
    return capital ? static_cast<WCHAR>(unit + 0x20) : unit;
}

WideString UpperCase(WideView text) {
    WideString upper(text);
    for (WCHAR& unit : upper)
        unit = UpperCase(unit);
    return upper;
}

WideString LowerCase(WideView text) {
    WideString lower(text);
    for (WCHAR& unit : lower)
        unit = LowerCase(unit);
    return lower;
}

// Instance ids of one adapter differ in their ends, so it is cheapest to look there first.
bool EqualsCaseless(WideView a, WideView b) {
    if (a.size() != b.size())
        return false;
    for (std::size_t at = a.size(); at-- > 0;) {
        if (a[at] != b[at] && UpperCase(a[at]) != UpperCase(b[at]))
            return false;
    }
    return true;
}

bool CaselessLess::operator()(WideView a, WideView b) const {
    const std::size_t common = std::min(a.size(), b.size());
    for (std::size_t at = 0; at < common; ++at) {
        if (a[at] == b[at])
            continue;
        const WCHAR upper_a = UpperCase(a[at]);
        const WCHAR upper_b = UpperCase(b[at]);
        if (upper_a != upper_b)
            return upper_a < upper_b;
    }
    return a.size() < b.size();
}

Bytes TextBytes(WideView text) {
    Bytes bytes((text.size() + 1) * sizeof(WCHAR));
    CopyOut(bytes.data(), text.data(), text.size() * sizeof(WCHAR));
    return bytes;
}

WideString BytesText(const Bytes& bytes) {
    WideString text(bytes.size() / sizeof(WCHAR), WCHAR{});
    CopyOut(text.data(), bytes.data(), text.size() * sizeof(WCHAR));
    if (const std::size_t end = text.find(WCHAR{}); end != WideString::npos)
        text.resize(end);
    return text;
}

Bytes DwordBytes(std::uint32_t value) {
    return {static_cast<BYTE>(value), static_cast<BYTE>(value >> 8), static_cast<BYTE>(value >> 16),
            static_cast<BYTE>(value >> 24)};
}

void CopyOut(void* target, const void* source, std::size_t count) {
    if (count != 0)
        std::memcpy(target, source, count);
}

std::size_t CopyText(WideView text, std::size_t room, WCHAR* buffer) {
    if (room == 0 || buffer == nullptr)
        return 0;
    const std::size_t count = std::min(text.size(), room - 1);
    CopyOut(buffer, text.data(), count * sizeof(WCHAR));
    buffer[count] = WCHAR{};
    return count;
}

std::string Hexadecimal(std::uint64_t value) {
    std::array<char, 20> text{};
    std::snprintf(text.data(), text.size(), "0x%llX", static_cast<unsigned long long>(value));
    return text.data();
}

std::optional<GUID> ParseGuid(std::string_view text) {
    constexpr std::string_view kShape = "{xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}";
    if (text.size() != kShape.size())
        return std::nullopt;
    std::array<BYTE, 16> bytes{};
    std::size_t digits = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (kShape[at] != 'x') {
            if (text[at] != kShape[at])
                return std::nullopt;
            continue;
        }
        const std::string_view hexadecimal = "0123456789abcdef";
        const std::size_t digit = hexadecimal.find(
            text[at] >= 'A' && text[at] <= 'F' ? static_cast<char>(text[at] + 32) : text[at]);
        if (digit == std::string_view::npos)
            return std::nullopt;
        bytes[digits / 2] =
            static_cast<BYTE>(static_cast<unsigned>(bytes[digits / 2]) << 4 | static_cast<unsigned>(digit));
        ++digits;
    }
    GUID guid{};
    guid.Data1 = static_cast<std::uint32_t>(bytes[0]) << 24 | static_cast<std::uint32_t>(bytes[1]) << 16 |
                 static_cast<std::uint32_t>(bytes[2]) << 8 | bytes[3];
    guid.Data2 = static_cast<std::uint16_t>(bytes[4] << 8 | bytes[5]);
    guid.Data3 = static_cast<std::uint16_t>(bytes[6] << 8 | bytes[7]);
    std::copy(bytes.begin() + 8, bytes.end(), guid.Data4);
    return guid;
}

std::string FormatGuid(const GUID& guid) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "{%08lx-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x}",
                  static_cast<unsigned long>(guid.Data1), guid.Data2, guid.Data3, guid.Data4[0],
                  guid.Data4[1], guid.Data4[2], guid.Data4[3], guid.Data4[4], guid.Data4[5], guid.Data4[6],
                  guid.Data4[7]);
    return text.data();
}

unsigned ComNumber(WideView name) {
    if (name.size() < 4 || !EqualsCaseless(name.substr(0, 3), ToWide("COM")))
        return 0;
    unsigned number = 0;
    for (const WCHAR unit : name.substr(3)) {
        if (unit < '0' || unit > '9' || number > 4096)
            return 0;
        number = number * 10 + (unit - static_cast<unsigned>('0'));
    }
    return number;
}

std::string WithoutAccessKeys(std::string_view caption) {
    std::string readable;
    for (std::size_t at = 0; at < caption.size(); ++at) {
        if (caption[at] == '&' && ++at == caption.size())
            break;
        readable.push_back(caption[at]);
    }
    return readable;
}

}  // namespace qxsim
