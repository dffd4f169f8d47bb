// SPDX-License-Identifier: MIT
// The two parameter sets as the drivers know them.
#include "driver_access/bus_parameters.h"
#include "driver_access/vcp_parameters.h"
#include "platform/machine/machine.h"
#include "tests/support/allocations.h"

#include <gmock/gmock.h>
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

Bytes BusStream() {
    Bytes stream = CountingStream(6);
    for (const BYTE byte : Bytes{3, 0, 0, 0, 'U', 'S', 'B', 0})
        stream.push_back(byte);
    for (DWORD i = 8; i <= 14; ++i)
        Add(stream, i);
    return stream;
}

// The elements' names in their order.
std::vector<std::string> NamesOf(qx::CSsInformationSet& set) {
    std::vector<std::string> names;
    for (const auto* element = set.First(); element != nullptr; element = set.Next())
        names.emplace_back(element->Name().view().begin(), element->Name().view().end());
    return names;
}

// All numbers in one figure.
DWORD Digest(const std::vector<DWORD>& numbers) {
    DWORD digest = 0;
    for (const DWORD number : numbers)
        digest = digest * 31 + number;
    return digest;
}

template <typename Set>
void CheckValues(DWORD initial, DWORD registered) {
    Set set;
    std::vector<DWORD> values;
    std::vector<DWORD> defaults;
    for (const auto* element = set.First(); element != nullptr; element = set.Next())
        if (const auto* const number = std::get_if<1>(&element->Registered())) {
            values.push_back(*element->Number());
            defaults.push_back(**number);
        }
    EXPECT_EQ(Digest(values), initial) << "what a page shows that could not read";
    EXPECT_EQ(Digest(defaults), registered);
}

TEST(ParameterSets, BeginWithTheValuesThatTheDriversAgreedOn) {
    CheckValues<CQxUVcpUserModeInterface>(3872869340, 928208999);
    CheckValues<CQxUBusUserModeInterface>(0, 4197722046);
}

// Every number has a field of its own, in the drivers' order: what comes in goes out again.
TEST(ParameterSets, ElementsAreTheDrivers) {
    CQxUVcpUserModeInterface port;
    EXPECT_THAT(NamesOf(port), testing::ElementsAreArray(qxsim::PortSettingNames()));
    ASSERT_TRUE(Decode(port, CountingStream(33)));
    EXPECT_EQ(std::pair(port.Baudrate, port.FlowControl), std::pair(DWORD{5}, DWORD{9}));
    EXPECT_EQ(Encoded(port), CountingStream(33));

    CQxUBusUserModeInterface bus;
    std::vector<std::string> names(qxsim::BusNumberNames().begin(), qxsim::BusNumberNames().end());
    names.insert(names.begin() + 6, qxsim::kBusTextName);
    EXPECT_EQ(NamesOf(bus), names);
    ASSERT_TRUE(Decode(bus, BusStream()));
    EXPECT_EQ(bus.InterfaceType.text, Text(TEXT("USB")));
    EXPECT_EQ(std::pair(bus.MaximumBaudRate, bus.PolicyType), std::pair(DWORD{6}, DWORD{8}));
    EXPECT_EQ(Encoded(bus), BusStream());
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

TEST(BusSet, ATextWhoseLengthDisagreesEndsTheRead) {
    CQxUBusUserModeInterface set;
    Bytes stream = BusStream();
    stream[24] = 2;
    EXPECT_FALSE(Decode(set, stream));
    EXPECT_EQ(set.MaximumBaudRate, 6U) << "before the text, new";
    EXPECT_TRUE(set.InterfaceType.text.empty());
    EXPECT_EQ(set.PolicyType, 0U) << "behind it, old";
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
