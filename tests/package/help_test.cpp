// SPDX-License-Identifier: MIT
// The help file: everything that the pages can ask the viewer for is in it, and it is made of the sources in
// help/.
#include "pages/help_links.h"
#include "platform/desktop/desktop.h"
#include "tests/package/sources.h"
#include "tests/support/machine_fixture.h"

#include <gmock/gmock.h>

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <regex>
#include <set>

namespace {

using testing::IsEmpty;
using testing::SizeIs;

const qx::PageHelp* const kPages[] = {&qx::kPortSettingsHelp, &qx::kComNumberHelp, &qx::kUsbSettingsHelp,
                                      &qx::kRs422485Help};

class HelpFile : public qxtest::MachineTest {
  public:
    static void SetUpTestSuite() {
        contents = std::filesystem::temp_directory_path() / ("qxhelp" + std::to_string(getpid()));
        const std::string extract =
            "extract_chmLib '" + (kSource / "help/QxUUI51.chm").string() + "' '" + contents.string() + "'";
        ASSERT_EQ(std::system((extract + " >/dev/null").c_str()), 0) << extract;
    }
    static void TearDownTestSuite() { std::filesystem::remove_all(contents); }

    // A file within the help file, with the line ends of the sources.
    static std::string Held(const std::string& name) {
        std::string text = Contents(contents / name);
        std::erase(text, '\r');
        return text;
    }
    // The files that the viewer is asked for by `ask`.
    template <typename Ask>
    static std::set<std::string> Asked(Ask ask) {
        const std::size_t before = qxsim::Desktop::The().HelpRequests().size();
        ask();
        std::set<std::string> files;
        const auto requests = qxsim::Desktop::The().HelpRequests();
        for (std::size_t i = before; i < requests.size(); ++i)
            files.insert(requests[i].file);
        return files;
    }

    inline static std::filesystem::path contents;
};

// The popup texts by their numbers.
std::map<DWORD, std::string> PopupTexts(const std::string& file) {
    static const std::regex kTopic("\\.topic (\\d+)\n([^\n]+)\n(?=\n|$)");
    std::map<DWORD, std::string> texts;
    for (std::sregex_iterator topic(file.begin(), file.end(), kTopic), end; topic != end; ++topic)
        EXPECT_TRUE(texts.try_emplace(static_cast<DWORD>(std::stoul((*topic)[1])), (*topic)[2]).second)
            << (*topic)[1] << " stands there twice";
    const std::string word = ".topic";
    std::size_t written = 0;
    for (std::size_t at = file.find(word); at != std::string::npos; at = file.find(word, at + 1))
        ++written;
    EXPECT_THAT(texts, SizeIs(written)) << "a text is not one paragraph under its number";
    return texts;
}

}  // namespace

TEST_F(HelpFile, HasEveryTopicThatThePagesOpen) {
    const std::set<std::string> topics = Asked([] {
        for (const qx::PageHelp* page : kPages)
            for (const bool rs422_485_port : {false, true})
                qx::OpenHelpTopic(nullptr, *page, rs422_485_port);
    });
    EXPECT_THAT(topics, SizeIs(7));
    static const std::regex kTopic("QxUUI51\\.chm::/([^>]+)>(\\w+)");
    for (const std::string& topic : topics) {
        std::smatch parts;
        ASSERT_TRUE(std::regex_match(topic, parts, kTopic)) << topic;
        EXPECT_NE(Held(parts[1]).find("<h1>"), std::string::npos) << topic;
        // The kinds of windows are named in this table of texts.
        EXPECT_EQ(Held("#STRINGS").find(parts[2].str() + '\0'), 1U) << topic;
    }
}

TEST_F(HelpFile, HasATextForEveryControlThatAsksForOne) {
    const std::set<std::string> files = Asked([] {
        for (const qx::PageHelp* page : kPages) {
            HELPINFO request{};
            request.iContextType = HELPINFO_WINDOW;
            request.iCtrlId = static_cast<int>(page->map.front().control);
            qx::ShowControlHelp(nullptr, *page, request);
        }
    });
    ASSERT_THAT(files, testing::ElementsAre("QxUUI51.chm::/QxUUI.txt"));
    std::map<DWORD, std::string> texts = PopupTexts(Held("QxUUI.txt"));
    std::set<DWORD> asked;
    for (const qx::PageHelp* page : kPages)
        for (const qx::HelpId& entry : page->map)
            if (entry.control != 0)
                asked.insert(entry.context);
    for (const DWORD context : asked)
        EXPECT_EQ(texts.erase(context), 1U) << std::hex << context;
    EXPECT_THAT(texts, IsEmpty()) << "nothing asks for these";
}

TEST_F(HelpFile, IsMadeOfItsSources) {
    static const std::regex kLink("(?:href|src)=\"([^\"]+)\"");
    std::size_t pages = 0;
    for (const auto& file : std::filesystem::directory_iterator(kSource / "help")) {
        const std::string name = file.path().filename().string();
        const std::string kind = file.path().extension().string();
        if (kind != ".htm" && kind != ".css" && kind != ".txt")
            continue;
        ++pages;
        const std::string text = Contents(file.path());
        EXPECT_TRUE(Held(name) == text) << name << " has changed: run help/compile.sh";
        for (std::sregex_iterator link(text.begin(), text.end(), kLink), end; link != end; ++link)
            EXPECT_TRUE(std::filesystem::exists(contents / (*link)[1].str())) << name << " " << (*link)[1];
    }
    EXPECT_EQ(pages, 9U);
}
