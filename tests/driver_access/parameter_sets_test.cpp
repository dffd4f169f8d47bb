// The two parameter sets as the drivers know them.
#include "driver_access/bus_parameters.h"
#include "driver_access/vcp_parameters.h"
#include "tests/support/allocations.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using qx::CQxUBusUserModeInterface;
using qx::CQxUVcpUserModeInterface;
using qx::Text;
using Bytes = std::vector<BYTE>;

void Add(Bytes& out, DWORD value) {
    for (int shift = 0; shift != 32; shift += 8)
        out.push_back(static_cast<BYTE>(value >> shift));
}

Bytes Encoded(qx::CSsInformationSet& set) {
    Bytes stream(set.EncodedSize());
    auto count = static_cast<DWORD>(stream.size());
    EXPECT_TRUE(set.Encode(stream.data(), count));
    EXPECT_EQ(count, 0U);
    return stream;
}

bool Decode(qx::CSsInformationSet& set, const Bytes& stream) {
    auto count = static_cast<DWORD>(stream.size());
    return set.Decode(stream.data(), count);
}

Bytes CountingStream(std::size_t numbers) {
    Bytes stream;
    for (DWORD i = 1; i <= numbers; ++i)
        Add(stream, i);
    return stream;
}

// One element: its name, its field (none for the text), and the values registered and set before any read.
template <typename Set>
struct Row {
    const char* name;
    DWORD Set::*field;
    DWORD registered;
    DWORD initial;
};

// The elements of a fresh set, in the drivers' order, and the fields that a counting stream lands in.
template <typename Set>
void CheckElements(const std::vector<Row<Set>>& rows, const Bytes& counting) {
    Set set;
    Bytes initial;
    const auto* element = set.First();
    for (const Row<Set>& row : rows) {
        ASSERT_NE(element, nullptr) << row.name;
        const auto name = element->Name().view();
        EXPECT_EQ(std::string(name.begin(), name.end()), row.name);
        EXPECT_EQ(element->Type(), row.field != nullptr ? qx::kNumberElement : qx::kStringElement)
            << row.name;
        if (row.field != nullptr)
            EXPECT_EQ(*std::get<1>(element->Registered()), row.registered) << row.name;
        else
            EXPECT_TRUE(std::get<2>(element->Registered())->text.empty()) << row.name;
        Add(initial, row.initial);
        if (row.field == nullptr)
            initial.push_back(0);  // no characters, and their terminator
        element = set.Next();
    }
    EXPECT_EQ(element, nullptr);
    EXPECT_EQ(Encoded(set), initial);

    ASSERT_TRUE(Decode(set, counting));
    DWORD place = 0;
    for (const Row<Set>& row : rows) {
        ++place;
        EXPECT_EQ(row.field != nullptr ? set.*row.field : place, place) << row.name;
    }
    EXPECT_EQ(Encoded(set), counting);
}

TEST(PortSet, ElementsAreTheDrivers) {
    using Set = CQxUVcpUserModeInterface;
    constexpr DWORD kAll = 0xFFFFFFFF;
    CheckElements<Set>(
        {
            {"PortType", &Set::PortType, 255, 0},
            {"MaxBaudRate", &Set::MaxBaudRate, 1000000, 921600},
            {"MinBaudRate", &Set::MinBaudRate, 75, 60},
            {"DuplexMode", &Set::DuplexMode, 0, 0},
            {"Baudrate", &Set::Baudrate, 9600, 0},
            {"Databits", &Set::Databits, 3, 0},
            {"Parity", &Set::Parity, 0, 0},
            {"Stopbits", &Set::Stopbits, 0, 0},
            {"FlowControl", &Set::FlowControl, 0, 1},
            {"LogLevel", &Set::LogLevel, 0, 0},
            {"ReceiveTriggerLevel", &Set::ReceiveTriggerLevel, 75, kAll},
            {"TransmitTriggerLevel", &Set::TransmitTriggerLevel, 10, kAll},
            {"FlowControlTriggerLevel", &Set::FlowControlTriggerLevel, 85, kAll},
            {"SupportedBaudRates", &Set::SupportedBaudRates, 0x1007FFFF, kAll},
            {"SupportedParities", &Set::SupportedParities, 0x1F00, kAll},
            {"SupportedDataBits", &Set::SupportedDataBits, 0x0F, kAll},
            {"SupportedStopBits", &Set::SupportedStopBits, 0x07, kAll},
            {"SupportedFlowControls", &Set::SupportedFlowControls, 0x0F, kAll},
            {"SupportedDuplexModes", &Set::SupportedDuplexModes, 0, 255},
            {"OverridBaudRates", &Set::OverridBaudRates, 0, 0},
            {"OverrideDataBits", &Set::OverrideDataBits, 0, 0},
            {"OverrideParity", &Set::OverrideParity, 0, 0},
            {"OverrideStopbits", &Set::OverrideStopbits, 0, 0},
            {"OverrideFlowControl", &Set::OverrideFlowControl, 0, 0},
            {"EmulateCTSTrue", &Set::EmulateCTSTrue, 0, 0},
            {"EmulateDSRTrue", &Set::EmulateDSRTrue, 0, 0},
            {"422485CtsTrue", &Set::_422485CtsTrue, 0, 0},
            {"CtsSupported", &Set::CtsSupported, 1, 1},
            {"RtsSupported", &Set::RtsSupported, 1, 1},
            {"DtrSupported", &Set::DtrSupported, 1, 1},
            {"DsrSupported", &Set::DsrSupported, 1, 1},
            {"DcdSupported", &Set::DcdSupported, 1, 1},
            {"RiSupported", &Set::RiSupported, 1, 1},
        },
        CountingStream(33));
}

TEST(PortSet, AShortStreamLeavesTheLastFieldAndALongOneIsNoFault) {
    CQxUVcpUserModeInterface set;
    Bytes stream = CountingStream(33);
    stream.pop_back();
    EXPECT_FALSE(Decode(set, stream));
    EXPECT_EQ(set.DcdSupported, 32U);
    EXPECT_EQ(set.RiSupported, 1U) << "its initial value";
    EXPECT_TRUE(Decode(set, CountingStream(40)));
    EXPECT_EQ(set.RiSupported, 33U);
}

TEST(BusSet, ElementsAreTheDrivers) {
    using Set = CQxUBusUserModeInterface;
    Bytes stream = CountingStream(6);
    for (const BYTE byte : Bytes{3, 0, 0, 0, 0x55, 0x53, 0x42, 0})
        stream.push_back(byte);
    for (DWORD i = 8; i <= 14; ++i)
        Add(stream, i);
    CheckElements<Set>(
        {
            {"USB_TxTransferSize", &Set::USB_TxTransferSize, 4096, 0},
            {"USB_RxTransferSize", &Set::USB_RxTransferSize, 4096, 0},
            {"USB_LatencyTimer", &Set::USB_LatencyTimer, 16, 0},
            {"RxFifoSize", &Set::RxFifoSize, 128, 0},
            {"TxFifoSize", &Set::TxFifoSize, 256, 0},
            {"MaximumBaudRate", &Set::MaximumBaudRate, 1000000, 0},
            {"InterfaceType", nullptr, 0, 0},
            {"PolicyType", &Set::PolicyType, 1, 0},
            {"MaximumLatency", &Set::MaximumLatency, 16, 0},
            {"MaximumLatencySliderPos", &Set::MaximumLatencySliderPos, 16, 0},
            {"MaximumLatencyFineTuning", &Set::MaximumLatencyFineTuning, 1, 0},
            {"LowCpuUsageFineTuning", &Set::LowCpuUsageFineTuning, 1, 0},
            {"PortType", &Set::PortType, 0, 0},
            {"SoftTxLimit", &Set::SoftTxLimit, 13, 0},
        },
        stream);
    Set set;
    ASSERT_TRUE(Decode(set, stream));
    EXPECT_EQ(set.InterfaceType.text, Text(TEXT("USB")));

    // A length that disagrees with the text: the numbers before it are new, those behind it old.
    Set other;
    stream[24] = 2;
    EXPECT_FALSE(Decode(other, stream));
    EXPECT_EQ(other.MaximumBaudRate, 6U);
    EXPECT_TRUE(other.InterfaceType.text.empty());
    EXPECT_EQ(other.PolicyType, 0U);
}

// Whatever allocation fails while a set is made, the set stands, with fewer elements at worst.
template <typename Set>
void MakeWithoutMemory(std::size_t elements) {
    std::size_t nth = 1;
    std::size_t least = elements;
    for (bool fired = true; fired; ++nth) {
        const qxtest::FailingAllocation fail(nth);
        Set set;
        fired = fail.Fired();
        least = std::min(least, set.Count());
        EXPECT_GE(set.Count() + (fired ? 1 : 0), elements);
    }
    EXPECT_GT(nth, elements);
    EXPECT_EQ(least, elements - 1);
}

TEST(ParameterSets, AreMadeWithWhatMemoryThereIs) {
    MakeWithoutMemory<CQxUVcpUserModeInterface>(33);
    MakeWithoutMemory<CQxUBusUserModeInterface>(14);
}

}  // namespace
