// SPDX-License-Identifier: MIT
#include "admin/text.h"

#include <array>
#include <cstdio>

namespace qxports {

namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kFirstSupplementary = 0x10000;

void AppendUtf8(std::string& text, char32_t point) {
    const auto tail = [&](unsigned shift) {
        text.push_back(static_cast<char>(0x80 | ((point >> shift) & 0x3F)));
    };
    if (point < 0x80) {
        text.push_back(static_cast<char>(point));
    } else if (point < 0x800) {
        text.push_back(static_cast<char>(0xC0 | (point >> 6)));
        tail(0);
    } else if (point < kFirstSupplementary) {
        text.push_back(static_cast<char>(0xE0 | (point >> 12)));
        tail(6);
        tail(0);
    } else {
        text.push_back(static_cast<char>(0xF0 | (point >> 18)));
        tail(12);
        tail(6);
        tail(0);
    }
}

// The character that `text` begins with, which is taken from it.
char32_t TakePoint(std::string_view& text) {
    const auto lead = static_cast<unsigned char>(text.front());
    text.remove_prefix(1);
    if (lead < 0x80)
        return lead;
    const unsigned tails = lead >= 0xF0 && lead < 0xF5 ? 3 : lead >= 0xE0 ? 2 : 1;
    if (lead < 0xC2 || lead >= 0xF5)
        return kReplacement;
    char32_t point = lead & (0x3FU >> tails);
    for (unsigned i = 0; i < tails; ++i) {
        if (text.empty() || (static_cast<unsigned char>(text.front()) & 0xC0) != 0x80)
            return kReplacement;
        point = (point << 6) | (static_cast<unsigned char>(text.front()) & 0x3F);
        text.remove_prefix(1);
    }
    constexpr std::array<char32_t, 4> kLeast{0, 0x80, 0x800, kFirstSupplementary};
    const bool surrogate = point >= 0xD800 && point < 0xE000;
    return point < kLeast[tails] || point > 0x10FFFF || surrogate ? kReplacement : point;
}

}  // namespace

std::string Utf8(qx::TextView text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t point = text[i];
        if (point >= 0xD800 && point < 0xE000) {
            const bool pair =
                point < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000;
            point =
                pair ? kFirstSupplementary + ((point - 0xD800) << 10) + (text[++i] - 0xDC00U) : kReplacement;
        }
        AppendUtf8(result, point);
    }
    return result;
}

std::string Utf8(const qx::Text& text) {
    return Utf8(text.view());
}

qx::Text Wide(std::string_view text) {
    std::basic_string<WCHAR> result;
    while (!text.empty()) {
        const char32_t point = TakePoint(text);
        if (point >= kFirstSupplementary) {
            result.push_back(static_cast<WCHAR>(0xD800 + ((point - kFirstSupplementary) >> 10)));
            result.push_back(static_cast<WCHAR>(0xDC00 + ((point - kFirstSupplementary) & 0x3FF)));
        } else {
            result.push_back(static_cast<WCHAR>(point));
        }
    }
    return qx::Text(qx::TextView(result));
}

std::string Visible(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const char32_t point = TakePoint(text);
        const bool control = point < 0x20 || (point >= 0x7F && point < 0xA0);
        // These change the direction of what follows them.
        const bool turns = point == 0x200E || point == 0x200F || (point >= 0x202A && point <= 0x202E) ||
                           (point >= 0x2066 && point <= 0x2069) || point == 0x2028 || point == 0x2029;
        if (!control && !turns) {
            AppendUtf8(result, point);
            continue;
        }
        std::array<char, 16> code{};
        std::snprintf(code.data(), code.size(), control ? "\\x%02X" : "\\u%04X",
                      static_cast<unsigned>(point));
        result += code.data();
    }
    return result;
}

bool IsSameName(std::string_view a, std::string_view b) {
    return qx::UpperCase(Wide(a)) == qx::UpperCase(Wide(b));
}

bool HasPart(std::string_view text, std::string_view part) {
    return qx::UpperCase(Wide(text)).Contains(qx::UpperCase(Wide(part)).view());
}

std::string ErrorWords(DWORD error) {
    std::array<WCHAR, 512> words{};
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                        error, 0, words.data(), static_cast<DWORD>(words.size()), nullptr);
    std::string text = Utf8(qx::TextView(words.data(), length));
    text.erase(text.find_last_not_of(" \r\n") + 1);
    // Errors of device installation are known by their hexadecimal form.
    std::array<char, 32> code{};
    std::snprintf(code.data(), code.size(), error < 0x10000 ? "error %u" : "error 0x%X",
                  static_cast<unsigned>(error));
    return text.empty() ? code.data() : text + " (" + code.data() + ")";
}

}  // namespace qxports
