// SPDX-License-Identifier: MIT
// The help viewer: found once, from a place that not everybody can write to, and told the right topics.
//
// It is looked for once in a process, so every test here runs in a process of its own.
#include "module/resource.h"
#include "pages/help_links.h"
#include "platform/process/modules.h"
#include "tests/pages/port_sheet.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <cstdlib>

namespace qxtest {
namespace {

using qxsim::Desktop;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kViewerKey =
    "SOFTWARE\\Classes\\CLSID\\{ADB880A6-D8FF-11CF-9377-00AA003B7A11}\\InprocServer32";

class HelpViewer : public PortSheetTest {
  public:
    void SetUp() override {
        testing::GTEST_FLAG(death_test_style) = "threadsafe";
        PortSheetTest::SetUp();
    }

    // Runs `test` in a process of its own; its failures are this test's.
    template <typename Test>
    void InNewProcess(Test test) {
        EXPECT_EXIT(
            {
                test();
                std::fflush(stdout);
                std::exit(testing::Test::HasFailure() ? 1 : 0);
            },
            testing::ExitedWithCode(0), "");
    }

    [[nodiscard]] static std::vector<std::string> Loads() {
        std::vector<std::string> loads;
        for (const auto& call : instruments().Trace())
            if (call.function == "LoadLibraryExW")
                loads.push_back(call.arguments);
        return loads;
    }
    static void Ask() { qx::CallHelpViewer(nullptr, TEXT("QxUUI51.chm"), 0, 0); }
};

TEST_F(HelpViewer, IsMissedOnceAndNotLookedForAgain) {
    InNewProcess([] {
        qxsim::SetLibraryMissing("hhctrl.ocx");
        Ask();
        qxsim::SetLibraryMissing("hhctrl.ocx", false);
        Ask();
        EXPECT_THAT(Loads(), testing::SizeIs(1));
        EXPECT_THAT(Desktop::The().HelpRequests(), IsEmpty());
    });
}

TEST_F(HelpViewer, IsLoadedFromTheSystemDirectoryAloneUnlessRegisteredWithItsPath) {
    const auto load_of = [this](const char* registered, const char* expected, DWORD flags,
                                DWORD type = REG_SZ, std::uint64_t failing_query = 0) {
        InNewProcess([=, this] {
            if (registered) {
                for (const auto& key : {machine().MakeKey(qxsim::ToWide(kViewerKey)),
                                        machine().MakeKey(qxsim::ToWide(std::string(kViewerKey).substr(17)),
                                                          HKEY_CLASSES_ROOT)})
                    key->Set({}, type, qxsim::TextBytes(qxsim::ToWide(registered)));
                qxsim::SetLibraryPath(expected, "hhctrl.ocx");
            }
            if (failing_query != 0)
                instruments().Inject({.function = "RegQueryValueExW", .nth = failing_query});
            Ask();
            Ask();
            ASSERT_THAT(Loads(), testing::SizeIs(1));
            EXPECT_THAT(Loads()[0], HasSubstr(expected));
            EXPECT_THAT(Loads()[0], testing::EndsWith(qxsim::Describe(flags)));
            EXPECT_THAT(Desktop::The().HelpRequests(), testing::SizeIs(2));
        });
    };
    load_of(nullptr, "hhctrl.ocx", LOAD_LIBRARY_SEARCH_SYSTEM32);
    load_of("hhctrl.ocx", "hhctrl.ocx", LOAD_LIBRARY_SEARCH_SYSTEM32);
    load_of("viewer\\hhctrl.ocx", "hhctrl.ocx", LOAD_LIBRARY_SEARCH_SYSTEM32);
    const char* const path = "C:\\Windows\\System32\\hhctrl.ocx";
    const char* const share = "\\\\server\\share\\hhctrl.ocx";
    load_of(path, path, LOAD_WITH_ALTERED_SEARCH_PATH);
    load_of(share, share, LOAD_WITH_ALTERED_SEARCH_PATH);
    load_of("%SystemRoot%\\System32\\hhctrl.ocx", path, LOAD_WITH_ALTERED_SEARCH_PATH, REG_EXPAND_SZ);
    // What is no path, or cannot be read, is none.
    load_of(path, "hhctrl.ocx", LOAD_LIBRARY_SEARCH_SYSTEM32, REG_BINARY);
    load_of(path, "hhctrl.ocx", LOAD_LIBRARY_SEARCH_SYSTEM32, REG_SZ, 1);
    load_of(path, "hhctrl.ocx", LOAD_LIBRARY_SEARCH_SYSTEM32, REG_SZ, 2);
}

TEST_F(HelpViewer, OpensTheTopicOfThePageAndOfThePortsKind) {
    InNewProcess([] {
        for (const qx::PageHelp* help :
             {&qx::kPortSettingsHelp, &qx::kComNumberHelp, &qx::kUsbSettingsHelp, &qx::kRs422485Help}) {
            qx::OpenHelpTopic(nullptr, *help, false);
            qx::OpenHelpTopic(nullptr, *help, true);
        }
        std::vector<std::string> topics;
        for (const auto& request : Desktop::The().HelpRequests()) {
            EXPECT_EQ(request.command, 0U);
            topics.push_back(request.file);
        }
        EXPECT_THAT(
            topics,
            ElementsAre("QxUUI51.chm::/StdPage.htm>mainwin", "QxUUI51.chm::/StdPage485.htm>mainwin",
                        "QxUUI51.chm::/AdvDevice.htm>mainwin", "QxUUI51.chm::/AdvDevice485.htm>mainwin",
                        "QxUUI51.chm::/USBPage.htm>mainwin", "QxUUI51.chm::/USBPage485.htm>mainwin",
                        "QxUUI51.chm::/422485Page.htm>mainwin", "QxUUI51.chm::/422485Page.htm>mainwin"));
    });
}

}  // namespace
}  // namespace qxtest
