// SPDX-License-Identifier: MIT
// The page object's life: made by the provider, gone exactly once, whatever becomes of its sheet.
#include "module/resource.h"
#include "pages/advanced_dialog.h"
#include "pages/page_provider.h"
#include "pages/port_settings_page.h"
#include "tests/pages/port_sheet.h"

#include <memory>

namespace qxtest {
namespace {

int g_pages = 0;

// A page that is counted while it lives.
class CountedPage : public qx::CQxUIPropertyPage {
  public:
    CountedPage(HDEVINFO set, const SP_DEVINFO_DATA& element) : CQxUIPropertyPage(set, element) { ++g_pages; }
    ~CountedPage() override { --g_pages; }
};

class PageLife : public PortSheetTest {
  public:
    [[nodiscard]] std::unique_ptr<CountedPage> MakePage() {
        const Handed port = Hand(kPort);
        return std::make_unique<CountedPage>(port.set, port.element);
    }
    void TearDown() override {
        EXPECT_EQ(g_pages, 0);
        PortSheetTest::TearDown();
    }

    // The provider's answer, and how often it called back.
    struct Answer {
        BOOL result;
        int added;
    };
    [[nodiscard]] Answer Ask(DWORD kind, BOOL accept) {
        Handed port = Hand(kPort);
        SP_PROPSHEETPAGE_REQUEST request{};
        request.cbSize = sizeof(request);
        request.PageRequested = kind;
        request.DeviceInfoSet = port.set;
        request.DeviceInfoData = &port.element;
        struct Taker {
            BOOL accept;
            int added = 0;
            HPROPSHEETPAGE page = nullptr;
        } taker{accept};
        const LPFNADDPROPSHEETPAGE add = [](HPROPSHEETPAGE page, LPARAM argument) -> BOOL {
            auto& asked = *reinterpret_cast<Taker*>(argument);
            ++asked.added;
            asked.page = asked.accept ? page : nullptr;
            return asked.accept;
        };
        const BOOL result = QxUPortPropPage(&request, add, reinterpret_cast<LPARAM>(&taker));
        if (taker.page)
            DestroyPropertySheetPage(taker.page);
        return {result, taker.added};
    }
};

TEST_F(PageLife, EndsWithItsSheetPageShownOrNot) {
    const HPROPSHEETPAGE page = qx::CPropertyPage::CreateAndHandOver(MakePage());
    ASSERT_NE(page, nullptr);
    EXPECT_EQ(g_pages, 1);
    DestroyPropertySheetPage(page);
    EXPECT_EQ(g_pages, 0);

    HPROPSHEETPAGE shown = qx::CPropertyPage::CreateAndHandOver(MakePage());
    PROPSHEETHEADERW header{};
    header.dwSize = sizeof(header);
    header.nPages = 1;
    header.phpage = &shown;
    static_cast<void>(PropertySheetW(&header));  // nobody there: closed with Cancel
}

TEST_F(PageLife, EndsAtOnceWhenThePlatformCannotMakeTheSheetPage) {
    auto page = MakePage();
    instruments().Inject({"CreatePropertySheetPageW", 1, false, 0});
    EXPECT_EQ(qx::CPropertyPage::CreateAndHandOver(std::move(page)), nullptr);
    EXPECT_EQ(g_pages, 0);
    instruments().Inject({"CreatePropertySheetPageW", 1, false, 0});
    EXPECT_EQ(Ask(SPPSR_ENUM_ADV_DEVICE_PROPERTIES, TRUE).result, FALSE);
}

// The sheet pages of a sheet that was never shown are released while the pages that they call back are there.
TEST_F(PageLife, OutlivesItsSheetPageInASheetThatIsNeverShown) {
    Handed port = Hand(kPort);
    { const qx::CAdvancedDialog sheet(port.set, port.element); }
    std::string order;
    for (const qxsim::CallRecord& call : instruments().Trace())
        if (call.function == "DestroyPropertySheetPage")
            order += 'p';
        else if (call.function == "ReleaseActCtx")
            order += 'c';
    EXPECT_EQ(order, "pppccccc") << "three pages, then their contexts and the sheet's";
}

TEST_F(PageLife, EndsWhenTheSheetDoesNotWantThePage) {
    const Answer refused = Ask(SPPSR_ENUM_ADV_DEVICE_PROPERTIES, FALSE);
    EXPECT_EQ(refused.result, FALSE);
    EXPECT_EQ(refused.added, 1);
    const Answer taken = Ask(SPPSR_ENUM_ADV_DEVICE_PROPERTIES, TRUE);
    EXPECT_EQ(taken.result, TRUE);
    EXPECT_EQ(taken.added, 1);
}

TEST_F(PageLife, HasNoPageForOtherSheetsAndForDriversThatDoNotAnswer) {
    for (const DWORD other :
         {DWORD{SPPSR_SELECT_DEVICE_RESOURCES}, DWORD{SPPSR_ENUM_BASIC_DEVICE_PROPERTIES}}) {
        const Answer answer = Ask(other, TRUE);
        EXPECT_EQ(answer.result, TRUE);
        EXPECT_EQ(answer.added, 0);
    }
    // The properties of a whole class come without a device, and a request may lack its parts.
    SP_PROPSHEETPAGE_REQUEST request{};
    request.PageRequested = SPPSR_ENUM_ADV_DEVICE_PROPERTIES;
    const LPFNADDPROPSHEETPAGE add = [](HPROPSHEETPAGE, LPARAM) -> BOOL { return TRUE; };
    EXPECT_FALSE(QxUPortPropPage(&request, add, 0));
    EXPECT_FALSE(QxUPortPropPage(&request, nullptr, 0));
    request.PageRequested = SPPSR_ENUM_BASIC_DEVICE_PROPERTIES;
    EXPECT_TRUE(QxUPortPropPage(&request, nullptr, 0)) << "the kind of page comes first";
    EXPECT_FALSE(QxUPortPropPage(nullptr, add, 0));
    EXPECT_EQ(instruments().CallCount("SetupDiGetClassDevsW"), 0U);

    Driver().misbehaviour[{qxsim::DriverRequest::Settings, 0}].refuse = ERROR_GEN_FAILURE;
    EXPECT_EQ(Ask(SPPSR_ENUM_ADV_DEVICE_PROPERTIES, TRUE).result, FALSE);
    Dev(kPort).control.reset();
    Dev(kPort).interfaces.clear();
    const Answer answer = Ask(SPPSR_ENUM_ADV_DEVICE_PROPERTIES, TRUE);
    EXPECT_EQ(answer.result, FALSE);
    EXPECT_EQ(answer.added, 0);
    EXPECT_TRUE(qxsim::Desktop::The().Boxes().empty());
}

// What other programs did to the port while its pages were open is not undone, and a new name is looked for
// in the whole tree.
TEST_F(PageLife, WritesWhatTheUserChangedAndNothingElse) {
    Driver().settings["PortType"] = 1;
    Driver().settings["SupportedDuplexModes"] = 3;
    Dev(kPort).held_open_by = TEXT("terminal.exe");
    qxsim::Desktop::The().SetAnswers([](const qxsim::ShownBox& box) {
        EXPECT_NE(qxsim::Desktop::The().Picture(box.window).activation_context, 0U) << "without themes";
        return IDYES;
    });
    ShowProperties({
        [] { Press(IDC_ADVANCED); },
        [] { ChooseEntry(IDC_COM_NUMBER, 11); },
        [] { OpenTab(1); },
        [] { ChooseEntry(IDC_DUPLEX_MODE, 1); },
        [this] { Driver().settings["LogLevel"] = 9; },
        [] { PressOk(); },
        [] { TypeInto(IDC_BAUD_RATE, TEXT("4800")); },
        [] { PressOk(); },
    });
    EXPECT_EQ(qxsim::Desktop::The().Boxes().size(), 3U);
    EXPECT_EQ(Driver().settings["Baudrate"], 4800U);
    EXPECT_EQ(PortName(), "COM12");
    EXPECT_EQ(machine().Reenumerations(qxsim::Machine::kRoot), 1U);
    EXPECT_EQ(Driver().settings["DuplexMode"], 2U);
    EXPECT_EQ(Driver().settings["LogLevel"], 9U);
}

// The adapter is pulled between opening and OK: the pages refuse, say so where they can, and close with
// Cancel.
TEST_F(PageLife, SurvivesADriverThatGoes) {
    Driver().settings["PortType"] = 1;
    Driver().settings["SupportedDuplexModes"] = 3;
    qxsim::Desktop::The().SetAnswers(
        [](const qxsim::ShownBox& box) { return (box.type & MB_YESNO) ? IDYES : IDOK; });
    const INT_PTR result = ShowProperties({
        [] { Press(IDC_ADVANCED); },
        [] { OpenTab(1); },
        [] { OpenTab(2); },
        [] { MoveSlider(IDC_CPU_USAGE_TUNING, 44); },
        [this] { machine().SetPlugged(Dev(kAdapter), false); },
        [] { PressOk(); },
        [] { PressCancel(); },
        [] { TypeInto(IDC_BAUD_RATE, TEXT("4800")); },
        [] { PressOk(); },
        [] { PressCancel(); },
    });
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(qxsim::Desktop::The().RanOutOfScript().empty());
    EXPECT_TRUE(Driver().writes.empty());
}

}  // namespace
}  // namespace qxtest
