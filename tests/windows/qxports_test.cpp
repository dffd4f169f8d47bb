// qxports.exe on the system itself, with a port whose settings a kernel driver holds.
#include "tests/windows/installed_port.h"

#include <gmock/gmock.h>

#include <msports.h>

#include <array>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

namespace {

using testing::HasSubstr;

struct Outcome {
    DWORD code = 0;
    std::string text;  // of both streams
};

struct Started {
    PROCESS_INFORMATION process{};
    HANDLE output = INVALID_HANDLE_VALUE;
    std::wstring file;
};

Started Start(const std::wstring& command,
              const std::wstring& program = qxtest::BesideProgram(L"qxports.exe")) {
    Started started;
    started.file = qxtest::BesideProgram(L"qxports-output.txt");
    SECURITY_ATTRIBUTES inherited = {sizeof(inherited), nullptr, TRUE};
    started.output = CreateFileW(started.file.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherited,
                                 CREATE_ALWAYS, 0, nullptr);
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = started.output;
    startup.hStdError = started.output;
    std::wstring line = L"\"" + program + L"\" " + command;
    EXPECT_TRUE(CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                               &started.process));
    return started;
}

Outcome End(const Started& started) {
    Outcome outcome;
    EXPECT_EQ(WaitForSingleObject(started.process.hProcess, 20'000), WAIT_OBJECT_0);
    EXPECT_TRUE(GetExitCodeProcess(started.process.hProcess, &outcome.code));
    CloseHandle(started.process.hThread);
    CloseHandle(started.process.hProcess);
    CloseHandle(started.output);
    std::ifstream file(std::filesystem::path(started.file), std::ios::binary);
    outcome.text.assign(std::istreambuf_iterator<char>(file), {});
    return outcome;
}

template <typename... Program>
Outcome Qxports(const std::wstring& command, const Program&... program) {
    return End(Start(command, program...));
}

class QxportsTest : public testing::Test {
  public:
    static void SetUpTestSuite() {
        // The system's own port installer, which this one lacks, claims the number.
        HCOMDB database = HCOMDB_INVALID_HANDLE_VALUE;
        ComDBOpen(&database);
        ComDBClaimPort(database, 7, TRUE, nullptr);
        ComDBClose(database);
        port = std::make_unique<qxtest::InstalledPort>(L"COM7");
        ASSERT_EQ(port->problem(), L"");
    }
    static void TearDownTestSuite() { port.reset(); }
    static std::unique_ptr<qxtest::InstalledPort> port;
};

std::unique_ptr<qxtest::InstalledPort> QxportsTest::port;

TEST_F(QxportsTest, ListsThePortOfTheKernelDriver) {
    const Outcome list = Qxports(L"list --all");
    EXPECT_EQ(list.code, 0U) << list.text;
    EXPECT_THAT(list.text, HasSubstr("COM7"));
    EXPECT_THAT(list.text, HasSubstr("Test serial port"));
}

TEST_F(QxportsTest, SettingsGoToTheDriverAndComeBackFromAFile) {
    EXPECT_EQ(Qxports(L"settings COM7 --set Parity=even --set MaximumLatency=33").code, 0U);
    const Outcome settings = Qxports(L"settings COM7");
    EXPECT_THAT(settings.text, testing::ContainsRegex("Parity +2 +even"));
    const Outcome exported = Qxports(L"export COM7");
    EXPECT_EQ(exported.code, 0U) << exported.text;
    const std::wstring file = qxtest::BesideProgram(L"exported.json");
    std::ofstream(std::filesystem::path(file), std::ios::binary) << exported.text;
    EXPECT_EQ(Qxports(L"settings COM7 --set Parity=none --set MaximumLatency=16").code, 0U);
    const Outcome imported = Qxports(L"import \"" + file + L"\"");
    EXPECT_EQ(imported.code, 0U) << imported.text;
    EXPECT_EQ(Qxports(L"export COM7").text, exported.text);
    EXPECT_EQ(Qxports(L"import \"" + file + L"\"").text, "COM7: nothing to change\n");
    DeleteFileW(file.c_str());
}

BOOL CALLBACK KeepSheet(HWND window, LPARAM place) {
    auto* const search = reinterpret_cast<std::pair<DWORD, HWND>*>(place);
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    if (process != search->first || !IsWindowVisible(window))
        return TRUE;
    search->second = window;
    return FALSE;
}

TEST_F(QxportsTest, ShowsThePropertySheet) {
    const Started show = Start(L"show COM7");
    std::pair<DWORD, HWND> search{show.process.dwProcessId, nullptr};
    for (int tries = 0; tries < 200 && search.second == nullptr; ++tries) {
        EnumWindows(&KeepSheet, reinterpret_cast<LPARAM>(&search));
        Sleep(50);
    }
    ASSERT_NE(search.second, nullptr) << End(show).text;
    std::array<wchar_t, 128> caption{};
    GetWindowTextW(search.second, caption.data(), 128);
    EXPECT_NE(std::wstring(caption.data()).find(L"Test serial port"), std::wstring::npos) << caption.data();
    PostMessageW(search.second, WM_COMMAND, IDCANCEL, 0);
    const Outcome outcome = End(show);
    EXPECT_EQ(outcome.code, 0U) << outcome.text;
}

// In a folder of its own the program has the system's own port database, which is none here.
TEST_F(QxportsTest, EndsWithAMessageWhereTheSystemLacksAService) {
    const std::wstring alone = qxtest::BesideProgram(L"driver\\qxports.exe");
    ASSERT_TRUE(CopyFileW(qxtest::BesideProgram(L"qxports.exe").c_str(), alone.c_str(), FALSE));
    EXPECT_EQ(Qxports(L"list", alone).code, 0U);
    EXPECT_EQ(Qxports(L"settings COM7", alone).code, 0U);
    const Outcome names = Qxports(L"names", alone);
    EXPECT_EQ(names.code, 9U);
    EXPECT_THAT(names.text, HasSubstr("may lack a service"));
}

}  // namespace
