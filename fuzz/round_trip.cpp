// SPDX-License-Identifier: MIT
// Fuzzes the encoder against the drivers' own writing of the stream, and has the decoder read everything
// back.
#include "fuzz/parameter_set.h"
#include "fuzz/stream_model.h"

#include <memory>

namespace {

using qxfuzz::Item;
using qxfuzz::Require;
using qxfuzz::Units;

bool Encode(qxfuzz::ParameterSet& parameters, BYTE* buffer, DWORD& free_bytes, DWORD options) {
    const bool encoded = parameters.set.Encode(buffer, free_bytes, options);
#ifdef QX_CANARY
    // The byte order of one number turned round.
    if (encoded && !parameters.numbers.empty() && (parameters.numbers.front() & 0xFFFF) == 0x1234 &&
        options == 3)
        std::swap(buffer[0], buffer[1]);
#endif
    return encoded;
}

bool IsAscii(const Units& text) {
    return std::all_of(text.begin(), text.end(), [](WCHAR unit) { return unit != 0 && unit < 0x80; });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qxfuzz::Input input(data, size);
    const std::uint32_t options = input.Take<std::uint8_t>() % 33;
    const auto check = input.Take<std::uint32_t>();
    const auto shortage = input.Below(12);
    if (!qxfuzz::ValidOptions(options))
        return 0;

    qxfuzz::ParameterSet parameters;
    qxfuzz::ParameterSet read_back;
    std::vector<Item> items;
    bool comparable = true;  // narrow text outside ASCII comes back as the system's conversions have it
    while (!input.Empty() && items.size() < 12) {
        if (input.Take<std::uint8_t>() & 1) {
            Units text = input.Units(40);
            text.resize(std::min(text.find(WCHAR{0}), text.size()));
            if (input.Below(16) == 0 && !text.empty())  // long ones, about the format's limits
                text.resize(250 + input.Below(12), text.back());
            comparable = comparable && ((options & qxfuzz::kWide) != 0 || IsAscii(text));
            parameters.AddText(text);
            read_back.AddText(Units());
            items.emplace_back(text);
        } else {
            const auto number = input.Take<std::uint32_t>();
            parameters.AddNumber(number);
            read_back.AddNumber(~number);
            items.emplace_back(number);
        }
    }
    parameters.set.Serialisation().SetCheckValue(check);
    read_back.set.Serialisation().SetCheckValue(check);

    const std::optional<qxfuzz::Stream> model = qxfuzz::WriteStream(items, options, check);
    const DWORD announced = parameters.set.EncodedSize(options);
    const DWORD room = model ? static_cast<DWORD>(model->size()) : announced;
    if (model)
        Require(announced == model->size(), "the size is known before");

    const DWORD given = room - std::min<DWORD>(room, shortage);
    const std::unique_ptr<BYTE[]> buffer(new BYTE[given]);
    DWORD free_bytes = given;
    const bool encoded = Encode(parameters, buffer.get(), free_bytes, options);
    Require(encoded == (model.has_value() && given == room), "what fits and can be written is written");
    Require(free_bytes <= given, "no more is written than there is room for");
    if (!encoded)
        return 0;
    Require(free_bytes == 0 && std::equal(model->begin(), model->end(), buffer.get()),
            "the stream is the drivers' byte for byte");

    DWORD available = given;
    const bool decoded = read_back.set.Decode(buffer.get(), available, options);
    if (!comparable)
        return 0;
    Require(decoded && available == 0, "a stream that was written is read to its end");
    Require(read_back.numbers == parameters.numbers, "numbers come back");
    for (std::size_t i = 0; i < parameters.texts.size(); ++i)
        Require(read_back.texts[i].text == parameters.texts[i].text, "strings come back");
    return 0;
}
