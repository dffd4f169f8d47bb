// The entries of the choice boxes, by what a driver offers.
#include "device_records/utils.h"
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

TEST_F(OptionLists, OfferBaudRatesByMaskAndLimitInTheOrderOfTheDriversTable) {
    const std::vector<std::string> all = Written(CUtils::BaudRateList(0x1007FFFF, 921600));
    ASSERT_EQ(all.size(), 21U);
    EXPECT_EQ(all.front(), "75=75");
    EXPECT_EQ(all[16], "115200=115200");
    EXPECT_EQ(all[17], "128000=128000");
    EXPECT_EQ(all.back(), "921600=921600");
    EXPECT_EQ(Written(CUtils::BaudRateList(kEverything, 115200)).size(), 17U);
    EXPECT_THAT(Written(CUtils::BaudRateList(0x8000, kEverything)), ElementsAre("57600=57600"));
    EXPECT_THAT(Written(CUtils::BaudRateList(0x20000, kEverything)), ElementsAre("115200=115200"));
    EXPECT_THAT(Written(CUtils::BaudRateList(0x40000, kEverything)), IsEmpty()) << "the platform's own bit";
    EXPECT_THAT(Written(CUtils::BaudRateList(0x10000000, 460800)),
                ElementsAre("230400=230400", "460800=460800"));
    EXPECT_THAT(Written(CUtils::BaudRateList(kEverything, 74)), IsEmpty());
}

TEST_F(OptionLists, KeepEachTextWithItsValueWhenOthersAreMaskedOut) {
    EXPECT_THAT(Written(CUtils::DataBitsList(kEverything)), ElementsAre("5=0", "6=1", "7=2", "8=3"));
    EXPECT_THAT(Written(CUtils::DataBitsList(0xA)), ElementsAre("6=1", "8=3"));
    EXPECT_THAT(Written(CUtils::ParityList(IDS_PARITIES, 0x1F00)),
                ElementsAre("Even=2", "Odd=1", "None=0", "Mark=3", "Space=4"));
    EXPECT_THAT(Written(CUtils::ParityList(IDS_PARITIES, 0x1100)), ElementsAre("None=0", "Space=4"));
    EXPECT_THAT(Written(CUtils::ParityList(IDS_PARITIES, 0x400)), ElementsAre("Even=2"));
    EXPECT_THAT(Written(CUtils::StopBitsList(IDS_STOP_BITS, 0x5)), ElementsAre("1=0", "2=2"));
    EXPECT_THAT(Written(CUtils::FlowControlList(IDS_FLOW_CONTROLS, 0x5)),
                ElementsAre("Xon / Xoff=4", "Hardware=1", "None=0"));
    EXPECT_THAT(Written(CUtils::FlowControlList(IDS_FLOW_CONTROLS, 0x4)),
                ElementsAre("Xon / Xoff=4", "None=0"));
    EXPECT_THAT(Written(CUtils::FlowControlList(IDS_FLOW_CONTROLS, 0x2)), ElementsAre("None=0"));
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

}  // namespace
}  // namespace qxtest
