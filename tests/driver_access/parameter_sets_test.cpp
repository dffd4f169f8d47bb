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

TEST(PortSet, AFreshSetSendsItsInitialValues) {
    CQxUVcpUserModeInterface set;
    constexpr DWORD kAll = 0xFFFFFFFF;
    Bytes expected;
    for (const DWORD value :
         {DWORD{0}, DWORD{921600}, DWORD{60}, DWORD{0}, DWORD{0}, DWORD{0}, DWORD{0}, DWORD{0}, DWORD{1},
          DWORD{0}, kAll, kAll, kAll, kAll, kAll, kAll, kAll, kAll, DWORD{255}})
        Add(expected, value);
    for (int flag = 20; flag <= 27; ++flag)
        Add(expected, 0);
    for (int line = 28; line <= 33; ++line)
        Add(expected, 1);
    EXPECT_EQ(Encoded(set), expected);
}

// Every value of the stream lands in the field that bears its name.
TEST(PortSet, StreamOrderIsTheDrivers) {
    CQxUVcpUserModeInterface set;
    ASSERT_TRUE(Decode(set, CountingStream(33)));
    const std::vector<DWORD> fields = {set.PortType,
                                       set.MaxBaudRate,
                                       set.MinBaudRate,
                                       set.DuplexMode,
                                       set.Baudrate,
                                       set.Databits,
                                       set.Parity,
                                       set.Stopbits,
                                       set.FlowControl,
                                       set.LogLevel,
                                       set.ReceiveTriggerLevel,
                                       set.TransmitTriggerLevel,
                                       set.FlowControlTriggerLevel,
                                       set.SupportedBaudRates,
                                       set.SupportedParities,
                                       set.SupportedDataBits,
                                       set.SupportedStopBits,
                                       set.SupportedFlowControls,
                                       set.SupportedDuplexModes,
                                       set.OverridBaudRates,
                                       set.OverrideDataBits,
                                       set.OverrideParity,
                                       set.OverrideStopbits,
                                       set.OverrideFlowControl,
                                       set.EmulateCTSTrue,
                                       set.EmulateDSRTrue,
                                       set._422485CtsTrue,
                                       set.CtsSupported,
                                       set.RtsSupported,
                                       set.DtrSupported,
                                       set.DsrSupported,
                                       set.DcdSupported,
                                       set.RiSupported};
    DWORD place = 0;
    for (const DWORD field : fields)
        EXPECT_EQ(field, ++place);
    EXPECT_EQ(Encoded(set), CountingStream(33));

    // Names and registered defaults that differ from their neighbours', so that a shifted table shows.
    const auto* element = set.First();
    std::vector<std::pair<std::string, DWORD>> table;
    for (; element != nullptr; element = set.Next()) {
        const auto name = element->Name().view();
        table.emplace_back(std::string(name.begin(), name.end()), *std::get<1>(element->Registered()));
    }
    ASSERT_EQ(table.size(), 33U);
    using Row = std::pair<std::string, DWORD>;
    EXPECT_EQ(table[0], Row("PortType", 255));
    EXPECT_EQ(table[1], Row("MaxBaudRate", 1000000));
    EXPECT_EQ(table[4], Row("Baudrate", 9600));
    EXPECT_EQ(table[12], Row("FlowControlTriggerLevel", 85));
    EXPECT_EQ(table[13], Row("SupportedBaudRates", 0x1007FFFF));
    EXPECT_EQ(table[19], Row("OverridBaudRates", 0));
    EXPECT_EQ(table[26], Row("422485CtsTrue", 0));
    EXPECT_EQ(table[32], Row("RiSupported", 1));
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

TEST(BusSet, StreamOrderIsTheDrivers) {
    CQxUBusUserModeInterface set;
    Bytes stream = CountingStream(6);
    for (const BYTE byte : Bytes{3, 0, 0, 0, 0x55, 0x53, 0x42, 0})
        stream.push_back(byte);
    for (DWORD i = 8; i <= 14; ++i)
        Add(stream, i);
    ASSERT_EQ(stream.size(), 60U);
    ASSERT_TRUE(Decode(set, stream));
    EXPECT_EQ(set.InterfaceType.text, Text(TEXT("USB")));
    const std::vector<DWORD> fields = {set.USB_TxTransferSize,
                                       set.USB_RxTransferSize,
                                       set.USB_LatencyTimer,
                                       set.RxFifoSize,
                                       set.TxFifoSize,
                                       set.MaximumBaudRate,
                                       7,
                                       set.PolicyType,
                                       set.MaximumLatency,
                                       set.MaximumLatencySliderPos,
                                       set.MaximumLatencyFineTuning,
                                       set.LowCpuUsageFineTuning,
                                       set.PortType,
                                       set.SoftTxLimit};
    DWORD place = 0;
    for (const DWORD field : fields)
        EXPECT_EQ(field, ++place);
    EXPECT_EQ(Encoded(set), stream);

    // A length that disagrees with the text: the numbers before it are new, those behind it old.
    CQxUBusUserModeInterface other;
    stream[24] = 2;
    EXPECT_FALSE(Decode(other, stream));
    EXPECT_EQ(other.MaximumBaudRate, 6U);
    EXPECT_TRUE(other.InterfaceType.text.empty());
    EXPECT_EQ(other.PolicyType, 0U);
}

TEST(BusSet, EmptyInterfaceTypeIsAZeroCountAndAZeroByte) {
    CQxUBusUserModeInterface set;
    EXPECT_EQ(Encoded(set), Bytes(57));
    EXPECT_EQ(*std::get<1>(set.Last()->Registered()), 13U);
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
