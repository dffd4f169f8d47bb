// SPDX-License-Identifier: MIT
// Property sheets: which page is told what, and when.
#include "tests/desktop/desktop_fixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace qxtest {
namespace {

class Sheet : public DesktopTest {};

TEST_F(Sheet, OpensPagesLateAndEndsEachOnceInTabOrder) {
    TestPage a{.name = "A"};
    TestPage b{.name = "B"};
    TestPage never{.name = "C"};
    const INT_PTR result =
        RunSheet({&a, &b, &never}, {[&](HWND sheet) {
                     Happened();
                     OpenTab(sheet, 1);
                     EXPECT_THAT(Happened(), ElementsAre("A left", "B create", "B init", "B active"));
                     OpenTab(sheet, 0);
                     EXPECT_THAT(Happened(), ElementsAre("B left", "A active"));
                     Press(sheet, PSBTN_OK);
                 }});
    EXPECT_EQ(result, 1);
    EXPECT_THAT(Happened(), ElementsAre("A left", "A apply", "B apply", "A destroy", "A release", "B destroy",
                                        "B release", "C release"));
}

TEST_F(Sheet, StopsAtTheFirstPageThatRefusesAndShowsIt) {
    TestPage a{.name = "A"};
    TestPage b{.name = "B", .apply_answer = PSNRET_INVALID};
    TestPage c{.name = "C"};
    HWND front = nullptr;
    RunSheet({&a, &b, &c}, {[&](HWND sheet) {
                 OpenTab(sheet, 1);
                 OpenTab(sheet, 2);
                 OpenTab(sheet, 0);
                 Happened();
                 Press(sheet, PSBTN_OK);
                 EXPECT_THAT(Happened(), ElementsAre("A left", "A apply", "B apply", "B active"));
                 front = desktop().Picture(sheet).current_page;
                 // Corrected, all of them apply once more.
                 b.apply_answer = PSNRET_NOERROR;
                 Press(sheet, PSBTN_OK);
             }});
    EXPECT_EQ(front, b.window);
    EXPECT_THAT(std::vector(Happened()), testing::IsSupersetOf({"A apply", "B apply", "C apply"}));

    TestPage stays{.name = "A", .kill_answer = TRUE};
    TestPage other{.name = "B"};
    RunSheet({&stays, &other}, {[&](HWND sheet) {
                 Happened();
                 OpenTab(sheet, 1);
                 Press(sheet, PSBTN_OK);
                 EXPECT_THAT(Happened(), ElementsAre("A left", "A left"));
                 EXPECT_EQ(desktop().Picture(sheet).current_tab, 0);
             }});
}

TEST_F(Sheet, CancelsUnlessThePageInFrontObjects) {
    TestPage a{.name = "A", .cancel_answer = TRUE};
    const INT_PTR result = RunSheet({&a}, {[&](HWND sheet) {
                                        Happened();
                                        SendMessageW(sheet, WM_CLOSE, 0, 0);
                                        EXPECT_THAT(Happened(), ElementsAre("A may cancel?"));
                                        a.cancel_answer = FALSE;
                                        // Escape, as the keyboard sends it.
                                        PostMessageW(sheet, WM_KEYDOWN, VK_ESCAPE, 0);
                                    }});
    EXPECT_EQ(result, 0);
    EXPECT_THAT(Happened(), ElementsAre("A may cancel?", "A reset", "A destroy", "A release"));
}

TEST_F(Sheet, SkipsPagesThatCannotBeShown) {
    TestPage refused{.name = "A", .may_be_created = FALSE};
    TestPage no_template{.name = "B", .dialog = 9999};
    TestPage passes{.name = "C", .set_active_answer = -1};
    TestPage d{.name = "D"};
    RunSheet({&refused, &no_template, &passes, &d},
             {[&](HWND sheet) { EXPECT_EQ(desktop().Picture(sheet).current_page, d.window); }});

    // With none left there is no sheet; the pages end all the same.
    Happened();
    EXPECT_EQ(RunSheet({&refused}, {}), -1);
    EXPECT_THAT(Happened(), ElementsAre("A added", "A create", "A release"));
    instruments().Inject({.function = "PropertySheetW"});
    EXPECT_EQ(RunSheet({&d}, {}), -1);
    EXPECT_THAT(Happened(), ElementsAre("D added", "D release"));
}

TEST_F(Sheet, AppliesWithoutClosingAndGuardsTheApplyButton) {
    constexpr int kApply = 0x3021;
    TestPage a{.name = "A"};
    RunSheet({&a}, {[&](HWND sheet) {
                 const HWND apply = GetDlgItem(sheet, kApply);
                 EXPECT_FALSE(IsWindowEnabled(apply));
                 SendMessageW(sheet, PSM_CHANGED, reinterpret_cast<WPARAM>(a.window), 0);
                 EXPECT_TRUE(IsWindowEnabled(apply));
                 Happened();
                 SendMessageW(apply, BM_CLICK, 0, 0);
                 EXPECT_THAT(Happened(), ElementsAre("A left", "A apply", "A active"));
                 EXPECT_FALSE(IsWindowEnabled(apply));
                 EXPECT_TRUE(IsWindow(sheet));
             }},
             PSH_PROPTITLE);
}

TEST_F(Sheet, MakesAPageInTheContextThatThePageNames) {
    ACTCTXW description{};
    description.cbSize = sizeof(description);
    description.dwFlags = ACTCTX_FLAG_HMODULE_VALID | ACTCTX_FLAG_RESOURCE_NAME_VALID;
    description.hModule = qx::ModuleInstance();
    description.lpResourceName = MAKEINTRESOURCEW(IDR_MANIFEST);
    const HANDLE context = CreateActCtxW(&description);
    TestPage plain{.name = "A"};
    TestPage themed{.name = "B", .flags = PSP_USEFUSIONCONTEXT, .context = context};
    RunSheet({&plain, &themed}, {[&](HWND sheet) {
                 OpenTab(sheet, 1);
                 EXPECT_EQ(desktop().Picture(plain.window).activation_context, 0U);
                 EXPECT_EQ(desktop().Picture(themed.window).activation_context,
                           reinterpret_cast<std::uint64_t>(context));
             }});
    ReleaseActCtx(context);
}

TEST_F(Sheet, NoticesPagesThatAreEndedTwice) {
    TestPage a{.name = "A"};
    const HPROPSHEETPAGE page = MakePage(a);
    EXPECT_TRUE(DestroyPropertySheetPage(page));
    EXPECT_FALSE(DestroyPropertySheetPage(page));
    EXPECT_THAT(instruments().BadClosings(), testing::SizeIs(1));
    instruments().Reset();
}

}  // namespace
}  // namespace qxtest
