// SPDX-License-Identifier: MIT
// Fuzzes the decoder with streams from drivers that answer anything, under every option word.
#include "fuzz/parameter_set.h"
#include "fuzz/stream_model.h"

#include <memory>

namespace {

using qxfuzz::Require;

constexpr std::uint32_t kUntouched = 0xA5A5A5A5;
const std::basic_string<WCHAR> kOldText(TEXT("old"));

bool Decode(qxfuzz::ParameterSet& parameters, const BYTE* stream, DWORD& available, DWORD options) {
    const bool decoded = parameters.set.Decode(stream, available, options);
#ifdef QX_CANARY
    // A length prefix that nobody compares with the string.
    if (decoded && !parameters.texts.empty() && parameters.texts.front().text.length() == 3)
        parameters.texts.front().text = qx::Text(TEXT("???"));
#endif
    return decoded;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qxfuzz::Input input(data, size);
    const auto own_options = input.Take<std::uint8_t>();
    const auto override_options = input.Take<std::uint8_t>();
    const auto check = input.Take<std::uint32_t>();
    const auto layout = input.Take<std::uint16_t>();
    const std::uint32_t count = input.Below(9);

    qxfuzz::ParameterSet parameters;
    for (std::uint32_t i = 0; i < count; ++i) {
        if (layout >> i & 1)
            parameters.AddText(kOldText);
        else
            parameters.AddNumber(kUntouched);
    }
    qx::CSsSerialisation& format = parameters.set.Serialisation();
    Require(format.SetOptions(own_options) == qxfuzz::ValidOptions(own_options),
            "only valid options are taken");
    format.SetCheckValue(check);
    const DWORD before = format.Options();
    const DWORD options = override_options != 0 ? override_options : before;

    // A copy of the exact size, so that the sanitizer sees the first byte read past it.
    const auto stream = input.Rest();
    const std::unique_ptr<BYTE[]> copy(new BYTE[stream.size()]);
    std::copy(stream.begin(), stream.end(), copy.get());
    auto available = static_cast<DWORD>(stream.size());
    const bool decoded = Decode(parameters, copy.get(), available, override_options);
    Require(format.Options() == before, "a call's options do not stay");
    Require(available <= stream.size(), "no more is taken than there is");
    if (!qxfuzz::ValidOptions(options)) {
        Require(!decoded && available == stream.size(), "invalid options fail the call at once");
        return 0;
    }

    qxfuzz::StreamReader model(stream, options);
    bool good = model.Header(check);
    std::size_t number = 0;
    std::size_t text = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        if (layout >> i & 1) {
            const auto value = good ? model.TextItem() : std::nullopt;
            if (model.doubtful)
                return 0;
            good = value.has_value();
            Require(parameters.texts[text++].text.view() == qx::TextView(good ? *value : kOldText),
                    "a string is the stream's up to the failure, and the old one from there on");
        } else {
            const auto value = good ? model.NumberItem() : std::nullopt;
            good = value.has_value();
            Require(parameters.numbers[number++] == (good ? *value : kUntouched),
                    "a number is the stream's up to the failure, and the old one from there on");
        }
    }
    Require(decoded == good, "exactly the streams that hold every item are decoded");
    if (good)
        Require(available == model.Left(), "a decoded stream is taken to the byte");
    return 0;
}
