// SPDX-License-Identifier: MIT
// The port drivers' side of the control devices: the parameter sets, and the streams in which they travel.
//
// These drivers stand for kernel code that others wrote. They write and read the streams themselves, byte by
// byte, so that a mistake in the system's own codec meets somebody who does not share it.
#include "platform/machine/machine_internal.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

namespace qxsim {

namespace {

constexpr std::array<const char*, kPortSettingCount> kPortNames = {
    "PortType",
    "MaxBaudRate",
    "MinBaudRate",
    "DuplexMode",
    "Baudrate",
    "Databits",
    "Parity",
    "Stopbits",
    "FlowControl",
    "LogLevel",
    "ReceiveTriggerLevel",
    "TransmitTriggerLevel",
    "FlowControlTriggerLevel",
    "SupportedBaudRates",
    "SupportedParities",
    "SupportedDataBits",
    "SupportedStopBits",
    "SupportedFlowControls",
    "SupportedDuplexModes",
    "OverridBaudRates",  // so spelled since the first driver
    "OverrideDataBits",
    "OverrideParity",
    "OverrideStopbits",
    "OverrideFlowControl",
    "EmulateCTSTrue",
    "EmulateDSRTrue",
    "422485CtsTrue",
    "CtsSupported",
    "RtsSupported",
    "DtrSupported",
    "DsrSupported",
    "DcdSupported",
    "RiSupported"};

// An ordinary RS-232 port up to 921600 baud with every line, at 9600 8N1.
constexpr std::array<std::uint32_t, kPortSettingCount> kPortValues = {
    255,  921600, 75, 0, 9600, 3, 0, 0, 0, 0, 75, 10, 85, 0x1007FFFF, 0x1F00, 0x0F, 0x07,
    0x07, 0,      0,  0, 0,    0, 0, 0, 0, 0, 1,  1,  1,  1,          1,      1};

constexpr std::size_t kBusNumbersBeforeText = 6;
constexpr std::array<const char*, kBusNumberCount> kBusNames = {"USB_TxTransferSize",
                                                                "USB_RxTransferSize",
                                                                "USB_LatencyTimer",
                                                                "RxFifoSize",
                                                                "TxFifoSize",
                                                                "MaximumBaudRate",
                                                                "PolicyType",
                                                                "MaximumLatency",
                                                                "MaximumLatencySliderPos",
                                                                "MaximumLatencyFineTuning",
                                                                "LowCpuUsageFineTuning",
                                                                "PortType",
                                                                "SoftTxLimit"};
constexpr std::array<std::uint32_t, kBusNumberCount> kBusValues = {4096, 4096, 16, 128, 256, 921600, 1,
                                                                   16,   16,   1,  1,   0,   13};

template <std::size_t Count>
std::size_t PlaceOf(const std::array<const char*, Count>& names, std::string_view name) {
    const auto found = std::ranges::find(names, name, [](const char* one) { return std::string_view(one); });
    if (found == names.end())
        throw std::out_of_range("no setting " + std::string(name));
    return static_cast<std::size_t>(found - names.begin());
}

void Put(Bytes& stream, std::uint32_t number) {
    for (unsigned shift = 0; shift < 32; shift += 8)
        stream.push_back(static_cast<BYTE>(number >> shift));
}

Bytes StreamOf(const PortSettings& settings) {
    Bytes stream;
    for (const std::uint32_t value : settings.values)
        Put(stream, value);
    return stream;
}

Bytes StreamOf(const BusSettings& settings) {
    Bytes stream;
    for (std::size_t at = 0; at < kBusNumberCount; ++at) {
        if (at == kBusNumbersBeforeText) {
            Put(stream, static_cast<std::uint32_t>(settings.interface_type.size()));
            stream.insert(stream.end(), settings.interface_type.begin(), settings.interface_type.end());
            stream.push_back(0);
        }
        Put(stream, settings.values[at]);
    }
    return stream;
}

// Takes a written stream apart. Drivers take over a stream whole or not at all.
class StreamReader {
  public:
    explicit StreamReader(const Bytes& stream, std::size_t from) : stream_(stream), at_(from) {}
    [[nodiscard]] bool Number(std::uint32_t& number) {
        if (stream_.size() - at_ < 4)
            return false;
        number = static_cast<std::uint32_t>(stream_[at_]) |
                 static_cast<std::uint32_t>(stream_[at_ + 1]) << 8 |
                 static_cast<std::uint32_t>(stream_[at_ + 2]) << 16 |
                 static_cast<std::uint32_t>(stream_[at_ + 3]) << 24;
        at_ += 4;
        return true;
    }
    [[nodiscard]] bool Text(std::string& text) {
        std::uint32_t length = 0;
        if (!Number(length) || length >= stream_.size() - at_ || stream_[at_ + length] != 0)
            return false;
        text.assign(stream_.begin() + static_cast<std::ptrdiff_t>(at_),
                    stream_.begin() + static_cast<std::ptrdiff_t>(at_ + length));
        at_ += length + 1;
        return text.find('\0') == std::string::npos;
    }
    [[nodiscard]] bool AtEnd() const { return at_ == stream_.size(); }

  private:
    const Bytes& stream_;
    std::size_t at_;
};

bool Take(StreamReader reader, PortSettings& settings) {
    return std::ranges::all_of(settings.values, [&](std::uint32_t& value) { return reader.Number(value); }) &&
           reader.AtEnd();
}

bool Take(StreamReader reader, BusSettings& settings) {
    for (std::size_t at = 0; at < kBusNumberCount; ++at) {
        if ((at == kBusNumbersBeforeText && !reader.Text(settings.interface_type)) ||
            !reader.Number(settings.values[at]))
            return false;
    }
    return reader.AtEnd();
}

std::optional<DriverRequest> RequestOf(DWORD code) {
    switch (code) {
        case 0x8001E000:
            return DriverRequest::SettingsSize;
        case 0x8001E004:
            return DriverRequest::Settings;
        case 0x8001E008:
            return DriverRequest::Write;
        case 0x8001E010:
            return DriverRequest::DefaultsSize;
        case 0x8001E014:
            return DriverRequest::Defaults;
        default:
            return std::nullopt;
    }
}

constexpr std::size_t kHeaderSize = 8;

// The set that a request is about. A header is the selector and a word that is all ones; in front of a write
// it precedes the stream, and a reading request consists of it.
std::optional<std::uint32_t> SelectorOf(DriverRequest request, const Bytes& input) {
    StreamReader reader(input, 0);
    std::uint32_t selector = 0;
    std::uint32_t ones = 0;
    const bool good = reader.Number(selector) && reader.Number(ones) && selector <= 1 && ones == 0xFFFFFFFF &&
                      (request == DriverRequest::Write || reader.AtEnd());
    return good ? std::optional(selector) : std::nullopt;
}

DWORD TakeWrite(Call& call, Device& device, std::uint32_t selector, const Bytes& input) {
    PortSettings port;
    BusSettings bus;
    const StreamReader reader(input, kHeaderSize);
    if (selector == 0 ? !Take(reader, port) : !Take(reader, bus))
        return ERROR_INVALID_PARAMETER;
    call.Changing();
    if (selector == 0) {
        device.control->settings = port;
        Machine::Current().StoreSettings(device);
    } else {
        device.control->bus = bus;
    }
    return ERROR_SUCCESS;
}

}  // namespace

const std::array<const char*, kPortSettingCount>& PortSettingNames() {
    return kPortNames;
}

const std::array<const char*, kBusNumberCount>& BusNumberNames() {
    return kBusNames;
}

PortSettings::PortSettings() : values(kPortValues) {}
BusSettings::BusSettings() : values(kBusValues), interface_type("USB") {}

std::uint32_t& PortSettings::operator[](std::string_view name) {
    return values[PlaceOf(kPortNames, name)];
}
std::uint32_t PortSettings::operator[](std::string_view name) const {
    return values[PlaceOf(kPortNames, name)];
}
std::uint32_t& BusSettings::operator[](std::string_view name) {
    return values[PlaceOf(kBusNames, name)];
}
std::uint32_t BusSettings::operator[](std::string_view name) const {
    return values[PlaceOf(kBusNames, name)];
}

DWORD AnswerDriverRequest(Call& call, Device& device, DWORD code, const Bytes& input, BYTE* output,
                          DWORD output_size, DWORD& returned) {
    const std::optional<DriverRequest> request = RequestOf(code);
    if (!request)
        return ERROR_INVALID_FUNCTION;
    ControlDevice& control = *device.control;
    if (*request == DriverRequest::Write)
        control.writes.push_back(input);
    const std::optional<std::uint32_t> selector = SelectorOf(*request, input);
    if (!selector)
        return ERROR_INVALID_PARAMETER;
    const auto found = control.misbehaviour.find({*request, *selector});
    const Misbehaviour behaviour = found == control.misbehaviour.end() ? Misbehaviour() : found->second;
    if (behaviour.refuse)
        return *behaviour.refuse;
    if (*request == DriverRequest::Write)
        return TakeWrite(call, device, *selector, input);

    const bool defaults = *request == DriverRequest::DefaultsSize || *request == DriverRequest::Defaults;
    Bytes answer = *selector == 0 ? StreamOf(defaults ? control.defaults : control.settings)
                                  : StreamOf(defaults ? control.bus_defaults : control.bus);
    if (*request == DriverRequest::SettingsSize || *request == DriverRequest::DefaultsSize) {
        answer = DwordBytes(behaviour.size.value_or(static_cast<std::uint32_t>(answer.size())));
    } else {
        if (behaviour.stream)
            answer = *behaviour.stream;
        answer.insert(answer.end(), behaviour.extra, BYTE{0xEE});
    }
    if (behaviour.truncate)
        answer.resize(std::min<std::size_t>(answer.size(), *behaviour.truncate));
    if (answer.size() > output_size) {
        if (!behaviour.fill_what_fits)
            return ERROR_INSUFFICIENT_BUFFER;
        answer.resize(output_size);
    }
    CopyOut(output, answer.data(), answer.size());
    returned = behaviour.claimed.value_or(static_cast<std::uint32_t>(answer.size()));
    return ERROR_SUCCESS;
}

}  // namespace qxsim
