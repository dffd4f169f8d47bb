// SPDX-License-Identifier: MIT
// Fuzzes the text conversions against models written another way.
#include "base/text.h"
#include "fuzz/fuzz_input.h"

#include <cerrno>
#include <climits>
#include <cstdio>

namespace {

using qx::Text;
using qx::TextView;
using qxfuzz::Require;
using Units = std::basic_string<WCHAR>;

int Parse(TextView text) {
    const int number = qx::ParseDecimal(text);
#ifdef QX_CANARY
    if (number == 4095)  // a name such as COM4095 read one short
        return 4094;
#endif
    return number;
}

// The C library's own conversion, over the same text with everything outside ASCII made a letter.
int ModelParse(TextView text) {
    std::string narrow;
    for (const WCHAR unit : text.substr(0, text.find(WCHAR{0})))
        narrow.push_back(unit < 0x80 ? static_cast<char>(unit) : 'x');
    errno = 0;
    const long long value = std::strtoll(narrow.c_str(), nullptr, 10);
    return static_cast<int>(std::clamp<long long>(value, INT_MIN, INT_MAX));
}

Units ModelReplace(Units text, const Units& old, const Units& replacement) {
    if (old.empty())
        return text;
    for (std::size_t at = text.find(old); at != Units::npos; at = text.find(old, at + replacement.size()))
        text.replace(at, old.size(), replacement);
    return text;
}

void CheckNumbers(const Units& text, std::uint32_t number) {
    Require(Parse(TextView(text)) == ModelParse(TextView(text)),
            "a number is read as the C library reads it");
    char decimal[16];
    std::snprintf(decimal, sizeof(decimal), "%d", static_cast<int>(number));
    const Text formatted = qx::Format(TEXT("%d"), number);
    Require(formatted.length() == std::strlen(decimal) &&
                std::equal(decimal, decimal + std::strlen(decimal), formatted.c_str(),
                           [](char a, WCHAR b) { return static_cast<WCHAR>(a) == b; }),
            "a number is written as the C library writes it");
    Require(Parse(formatted.view()) == static_cast<int>(number), "a number written is read back");
    if (number <= INT_MAX)
        Require(qx::ComNumberOf(qx::ComNameOf(number)) == static_cast<int>(number),
                "a COM name holds its number");
}

void CheckTexts(const Units& text, const Units& old, const Units& replacement) {
    const Text whole{TextView(text)};
    Require(Units(qx::ReplaceAll(whole, Text(TextView(old)), Text(TextView(replacement))).view()) ==
                ModelReplace(text, old, replacement),
            "every occurrence is replaced");
    Units joined;
    for (const Text& part : qx::SplitAtCommas(whole)) {
        Require(!part.Contains(TEXT(",")), "a part holds no comma");
        joined.append(part.view()).push_back(',');
    }
    Require(joined == text + static_cast<WCHAR>(','), "the parts of a list are the list");
    const Text buffer = Text::FromBuffer(text.data(), text.size());
    Require(buffer.view() == TextView(text).substr(0, text.find(WCHAR{0})), "a buffer ends at its first NUL");
    // Formats come from outside here, which they never do in the system: nothing may be read or written that
    // is not theirs.
    static_cast<void>(qx::Format(whole.c_str(), Text(TextView(old)), 1U, static_cast<WCHAR>('c')));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qxfuzz::Input input(data, size);
    const auto number = input.Take<std::uint32_t>();
    const Units text = input.Units(120);
    const Units old = input.Units(4);
    const Units replacement = input.Units(6);
    CheckNumbers(text, number);
    CheckTexts(text, old, replacement);
    return 0;
}
