// SPDX-License-Identifier: MIT
#include "base/text.h"

#include <array>
#include <limits>

namespace qx {

namespace {

constexpr bool IsSpace(WCHAR unit) {
    return unit == ' ' || (unit >= '\t' && unit <= '\r');
}

// Appends `value` in decimal.
void AppendNumber(std::basic_string<WCHAR>& out, long long value) {
    std::array<WCHAR, 20> digits{};
    std::size_t count = 0;
    unsigned long long rest =
        value < 0 ? 0ULL - static_cast<unsigned long long>(value) : static_cast<unsigned long long>(value);
    do {
        digits[count++] = static_cast<WCHAR>('0' + rest % 10);
        rest /= 10;
    } while (rest != 0);
    if (value < 0)
        out.push_back('-');
    while (count != 0)
        out.push_back(digits[--count]);
}

// The text in the case that `convert` (CharUpperW or CharLowerW) gives it.
template <typename Convert>
Text ConvertCase(const Text& text, Convert convert) {
    std::basic_string<WCHAR> copy(text.view());
    convert(copy.data());
    return Text(TextView(copy));
}

}  // namespace

Text::Text(const WCHAR* text) : Text(text ? TextView(text) : TextView()) {}

Text::Text(TextView text) {
    if (!text.empty())
        text_ = std::make_shared<const Storage>(text);
}

Text::Text(Storage&& text) {
    if (!text.empty())
        text_ = std::make_shared<const Storage>(std::move(text));
}

Text Text::FromBuffer(const WCHAR* buffer, std::size_t capacity) {
    const TextView all(buffer, capacity);
    return Text(all.substr(0, all.find(WCHAR{0})));
}

const WCHAR* Text::c_str() const noexcept {
    static constexpr WCHAR kEmpty[1] = {};
    return text_ ? text_->c_str() : kEmpty;
}

TextView Text::view() const noexcept {
    return text_ ? TextView(*text_) : TextView();
}

Text Text::WithoutFirst(std::size_t count) const {
    return count >= length() ? Text() : Text(view().substr(count));
}

Text operator+(const Text& a, const Text& b) {
    if (a.empty())
        return b;
    if (b.empty())
        return a;
    Text::Storage joined;
    joined.reserve(a.length() + b.length());
    joined.append(a.view()).append(b.view());
    return Text(std::move(joined));
}

int ParseDecimal(TextView text) noexcept {
    std::size_t at = 0;
    while (at < text.size() && IsSpace(text[at]))
        ++at;
    bool negative = false;
    if (at < text.size() && (text[at] == '+' || text[at] == '-'))
        negative = text[at++] == '-';
    constexpr long long kLimit = 1LL + std::numeric_limits<int>::max();
    long long value = 0;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
        value = value * 10 + (text[at] - '0');
        if (value > kLimit)
            value = kLimit;  // further digits cannot bring it back
    }
    if (negative)
        return static_cast<int>(-value);
    return static_cast<int>(value < kLimit ? value : kLimit - 1);
}

int ComNumberOf(TextView name) noexcept {
    return ParseDecimal(name.substr(name.size() < 3 ? name.size() : 3));
}

Text ComNameOf(unsigned number) {
    return Format(TEXT("COM%d"), number);
}

Text FormatWith(TextView format, std::initializer_list<FormatArgument> arguments) {
    std::basic_string<WCHAR> out;
    const FormatArgument* next = arguments.begin();
    using Kind = FormatArgument::Kind;
    // The next argument when it is of the kind that the conversion wants; the argument is used up either way.
    const auto next_of = [&](Kind kind) -> const FormatArgument* {
        if (next == arguments.end())
            return nullptr;
        const FormatArgument* argument = next++;
        return argument->kind_ == kind ? argument : nullptr;
    };
    for (std::size_t at = 0; at < format.size(); ++at) {
        if (format[at] != '%' || at + 1 == format.size()) {
            out.push_back(format[at]);
            continue;
        }
        switch (const WCHAR conversion = format[++at]) {
            case 'd':
                if (const FormatArgument* argument = next_of(Kind::kNumber))
                    AppendNumber(out, argument->number_);
                break;
            case 'u':
                if (const FormatArgument* argument = next_of(Kind::kNumber))
                    AppendNumber(out, static_cast<unsigned>(argument->number_));
                break;
            case 's':
                if (const FormatArgument* argument = next_of(Kind::kString))
                    out.append(argument->text_.view());
                break;
            case 'c':
                if (const FormatArgument* argument = next_of(Kind::kCharacter))
                    out.push_back(argument->character_);
                break;
            case '%':
                out.push_back('%');
                break;
            default:
                out.push_back('%');
                out.push_back(conversion);
                break;
        }
    }
    return Text(TextView(out));
}

Text ReplaceAll(const Text& text, const Text& old, const Text& replacement) {
    if (old.empty() || !text.Contains(old.view()))
        return text;
    std::basic_string<WCHAR> out;
    ReplaceEach(text, old, replacement, [&](TextView piece) { out.append(piece); });
    return Text(TextView(out));
}

std::vector<Text> SplitAtCommas(const Text& list) {
    std::vector<Text> parts;
    TextView rest = list.view();
    for (std::size_t at = rest.find(WCHAR{','}); at != TextView::npos; at = rest.find(WCHAR{','})) {
        parts.emplace_back(rest.substr(0, at));
        rest.remove_prefix(at + 1);
    }
    parts.emplace_back(rest);
    return parts;
}

Text UpperCase(const Text& text) {
    return ConvertCase(text, CharUpperW);
}

Text LowerCase(const Text& text) {
    return ConvertCase(text, CharLowerW);
}

}  // namespace qx
