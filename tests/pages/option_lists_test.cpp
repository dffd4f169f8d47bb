// SPDX-License-Identifier: MIT
// The entries of the choice boxes, by what a driver offers.
#include "pages/utils.h"

#include "module/resource.h"
#include "tests/pages/port_sheet.h"

#include <commctrl.h>
#include <gmock/gmock.h>

namespace qxtest {
namespace {

using qx::CUtils;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr DWORD kEverything = 0xFFFFFFFF;

std::vector<std::string> Written(const qx::OptionList& options) {
    std::vector<std::string> entries;
    for (const auto& option : options)
        entries.push_back(qxsim::ToUtf8(option.text.view()) + "=" + std::to_string(option.value));
    return entries;
}

class OptionLists : public PortSheetTest {};

// One bit of the driver's mask for every entry; "no flow control" is offered always.
TEST_F(OptionLists, OfferEachEntryByOneBitOfTheDriversOwn) {
    const std::pair<const char*, std::function<qx::OptionList(DWORD)>> lists[] = {
        {"SupportedBaudRates", [](DWORD mask) { return CUtils::BaudRateList(mask, kEverything); }},
        {"SupportedDataBits", [](DWORD mask) { return CUtils::DataBitsList(mask); }},
        {"SupportedParities", [](DWORD mask) { return CUtils::ParityList(IDS_PARITIES, mask); }},
        {"SupportedStopBits", [](DWORD mask) { return CUtils::StopBitsList(IDS_STOP_BITS, mask); }},
        {"SupportedFlowControls",
         [](DWORD mask) { return CUtils::FlowControlList(IDS_FLOW_CONTROLS, mask); }},
    };
    for (const auto& [name, list] : lists) {
        const std::vector<std::string> all = Written(list(kEverything));
        EXPECT_EQ(Written(list(qxsim::PortSettings()[name])), all) << name;
        const std::size_t always = list(0).size();
        std::size_t by_bits = 0;
        for (int bit = 0; bit < 32; ++bit) {
            const std::vector<std::string> offered = Written(list(DWORD{1} << bit));
            by_bits += offered.size() - always;
            for (const std::string& entry : offered)
                EXPECT_THAT(all, testing::Contains(entry));
        }
        EXPECT_EQ(by_bits, all.size() - always) << name;
    }
}

TEST_F(OptionLists, HaveTheDriversValuesInTheOrderOfTheirTexts) {
    const std::vector<std::string> rates = Written(CUtils::BaudRateList(kEverything, 921600));
    ASSERT_EQ(rates.size(), 21U);
    EXPECT_EQ(rates.front(), "75=75");
    EXPECT_EQ(rates.back(), "921600=921600");
    EXPECT_EQ(Written(CUtils::BaudRateList(kEverything, 115200)).back(), "115200=115200");
    EXPECT_THAT(Written(CUtils::BaudRateList(kEverything, 74)), IsEmpty());
    EXPECT_THAT(Written(CUtils::BaudRateList(0x8000, kEverything)), ElementsAre("57600=57600"));
    EXPECT_THAT(Written(CUtils::DataBitsList(kEverything)), ElementsAre("5=0", "6=1", "7=2", "8=3"));
    EXPECT_THAT(Written(CUtils::ParityList(IDS_PARITIES, kEverything)),
                ElementsAre("Even=2", "Odd=1", "None=0", "Mark=3", "Space=4"));
    EXPECT_THAT(Written(CUtils::StopBitsList(IDS_STOP_BITS, 0x5)), ElementsAre("1=0", "2=2"));
    EXPECT_THAT(Written(CUtils::FlowControlList(IDS_FLOW_CONTROLS, kEverything)),
                ElementsAre("Xon / Xoff=4", "Hardware=1", "None=0"));
    EXPECT_THAT(Written(CUtils::DuplexModeList(IDS_DUPLEX_MODES, 0x18)),
                ElementsAre("Receive Only=4", "Transmitter and Receiver Disabled=5"));
}

class ChoiceBox : public OptionLists {
  public:
    void SetUp() override {
        OptionLists::SetUp();
        box_ = CreateWindowExW(0, WC_COMBOBOXW, nullptr, WS_POPUP | CBS_DROPDOWNLIST, 0, 0, 10, 10, nullptr,
                               nullptr, nullptr, nullptr);
        ASSERT_NE(box_, nullptr);
    }
    void TearDown() override {
        DestroyWindow(box_);
        OptionLists::TearDown();
    }

    [[nodiscard]] LRESULT Selected() const { return SendMessageW(box_, CB_GETCURSEL, 0, 0); }
    [[nodiscard]] LRESULT Count() const { return SendMessageW(box_, CB_GETCOUNT, 0, 0); }
    [[nodiscard]] DWORD Value() const { return CUtils::GetSelectedValue(box_); }

    HWND box_ = nullptr;
};

TEST_F(ChoiceBox, SelectsByValueAndShowsAValueThatIsNotOffered) {
    EXPECT_TRUE(CUtils::FillComboByValue(box_, CUtils::DataBitsList(0xF), 2, false));
    EXPECT_EQ(Value(), 2U);
    EXPECT_EQ(Count(), 4);
    EXPECT_TRUE(CUtils::FillComboByValue(box_, CUtils::DuplexModeList(IDS_DUPLEX_MODES, 0x3), 4, false));
    EXPECT_EQ(Count(), 3);
    EXPECT_EQ(Selected(), 2);
    EXPECT_EQ(Value(), 4U);
    // The last of several matches.
    EXPECT_TRUE(CUtils::FillComboByValue(box_, {{TEXT("a"), 7}, {TEXT("b"), 7}, {TEXT("c"), 1}}, 7, false));
    EXPECT_EQ(Selected(), 1);
}

TEST_F(ChoiceBox, SelectsFlowControlByItsBits) {
    const auto fill = [this](DWORD mask, DWORD current) {
        CUtils::FillComboByValue(box_, CUtils::FlowControlList(IDS_FLOW_CONTROLS, mask), current, true);
        return Value();
    };
    EXPECT_EQ(fill(0x5, 0), 0U);
    EXPECT_EQ(Selected(), 2);
    EXPECT_EQ(fill(0x5, 4), 4U);
    EXPECT_EQ(fill(0x5, 1), 1U);
    EXPECT_EQ(Count(), 3);
    EXPECT_EQ(fill(0x5, 5), 5U);  // both at once is none of the entries
    EXPECT_EQ(Count(), 4);
}

TEST_F(ChoiceBox, SelectsNamesExactlyAndTellsWhenNothingIsSelected) {
    EXPECT_TRUE(CUtils::FillComboByText(box_, {TEXT("COM1"), TEXT("com2"), TEXT("COM2")}, TEXT("COM2")));
    EXPECT_EQ(Selected(), 2);
    EXPECT_TRUE(CUtils::FillComboByText(box_, {TEXT("COM1"), TEXT("com2")}, TEXT("COM2")));
    EXPECT_EQ(Selected(), CB_ERR);
    EXPECT_EQ(Value(), 0xFFFFFFFF);
    EXPECT_EQ(CUtils::GetSelectedValue(nullptr), 0xFFFFFFFF);
}

TEST_F(OptionLists, GiveTheSystemLineSettingsOfEveryCode) {
    struct Case {
        int baud;
        DWORD data, parity, stop, flow;
        const char* entry;  // null: refused
    };
    const Case cases[] = {
        {115200, 3, 0, 0, 4, "115200,8,n,1,x"},
        {9600, 3, 0, 0, 0, "9600,8,n,1"},
        {75, 0, 1, 1, 1, "75,5,o,1.5,p"},
        {300, 1, 2, 2, 2, "300,6,e,2,p"},
        {1200, 2, 3, 0, 0, "1200,7,m,1"},
        {-1, 3, 4, 2, 4, "-1,8,s,2,x"},
        {9600, 4, 0, 0, 0, nullptr},
        {9600, 3, 5, 0, 0, nullptr},
        {9600, 3, 0, 3, 0, nullptr},
        {9600, 3, 0, 0, 3, nullptr},
        {9600, 3, 0, 0, 5, nullptr},
        {9600, 0xFFFFFFFF, 0, 0, 0, nullptr},
    };
    const auto entry = [&](const char* port) {
        return machine().ReadText(qxsim::kPortsPath, std::string(port) + ":");
    };
    machine().WriteText(qxsim::kPortsPath, "COM4:", "other");
    for (const Case& c : cases) {
        machine().WriteText(qxsim::kPortsPath, "COM3:", "before");
        EXPECT_EQ(CUtils::WritePortsEntry(TEXT("COM3"), c.baud, c.data, c.parity, c.stop, c.flow),
                  c.entry != nullptr);
        EXPECT_EQ(entry("COM3"), c.entry != nullptr ? c.entry : "before");
    }
    EXPECT_EQ(entry("COM4"), "other");
    ASSERT_TRUE(CUtils::WritePortsEntry(TEXT("COM12"), 9600, 3, 0, 0, 0));
    EXPECT_EQ(machine().FindKey(qxsim::ToWide(qxsim::kPortsPath))->Find(qxsim::ToWide("COM12:"))->data.size(),
              22U);

    for (const char* call : {"RegCreateKeyExW", "RegSetValueExW"}) {
        instruments().Inject({call, 1, false, ERROR_ACCESS_DENIED});
        EXPECT_FALSE(CUtils::WritePortsEntry(TEXT("COM3"), 1, 3, 0, 0, 0)) << call;
        EXPECT_NE(entry("COM3"), "1,8,n,1");
    }
    machine().DeleteKey(qxsim::ToWide(qxsim::kPortsPath));
    EXPECT_TRUE(CUtils::WritePortsEntry(TEXT("COM3"), 9600, 3, 0, 0, 0))
        << "makes the key where it is missing";
}

}  // namespace
}  // namespace qxtest
