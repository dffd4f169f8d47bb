// Pictures, and texts that have no room.
#include "platform/desktop/picture.h"
#include "tests/desktop/desktop_fixture.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace qxtest {
namespace {

class Picture : public DesktopTest {};

TEST_F(Picture, ShowsThePageInFrontWithItsTextsAndWithoutWhatIsHidden) {
    TestPage front{.name = "Front", .dialog = IDD_USB_SETTINGS};
    TestPage behind{.name = "Behind <&>", .dialog = IDD_RS422_485};
    RunSheet({&front, &behind}, {[&](HWND sheet) {
                 ShowWindow(GetDlgItem(front.window, IDC_RESTORE_DEFAULTS), FALSE);
                 const std::string svg = qxsim::SvgPicture(desktop().Picture(sheet), 2);
                 EXPECT_THAT(svg, HasSubstr(">CPU usage</text>"));
                 EXPECT_THAT(svg, HasSubstr(">Need More Help? Click:</text>"));
                 EXPECT_THAT(svg, HasSubstr(">Behind &lt;&amp;&gt;</text>"));
                 EXPECT_THAT(svg, Not(HasSubstr("Restore Defaults")));
                 EXPECT_THAT(svg, Not(HasSubstr("Duplex Mode:")));
             }});
}

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
