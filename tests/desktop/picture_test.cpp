// SPDX-License-Identifier: MIT
// Texts that have no room.
#include "platform/desktop/picture.h"
#include "tests/desktop/desktop_fixture.h"

using testing::ElementsAre;
using testing::HasSubstr;

namespace qxtest {
namespace {

class Picture : public DesktopTest {};

TEST_F(Picture, FindsTextsThatHaveNoRoom) {
    TestPage page{.name = "Page", .dialog = IDD_USB_SETTINGS};
    RunSheet({&page}, {[&](HWND sheet) {
                 EXPECT_THAT(qxsim::ClippedTexts(desktop().Picture(sheet)), testing::IsEmpty());
                 SetWindowTextW(GetDlgItem(page.window, IDC_RESTORE_DEFAULTS),
                                TEXT("Restore everything that was ever changed on this page"));
                 EXPECT_THAT(qxsim::ClippedTexts(desktop().Picture(sheet)),
                             ElementsAre(HasSubstr("push button 892")));
             }});
}

}  // namespace
}  // namespace qxtest
