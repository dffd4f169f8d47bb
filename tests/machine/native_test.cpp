// What Windows itself answers on Windows: versions, memory, letter case, single-byte text.
#include "tests/support/machine_fixture.h"

#include <array>
#include <string>

namespace {

using qxtest::MachineTest;

class NativeTest : public MachineTest {};

TEST_F(NativeTest, VersionComesInBothRecordSizesOnly) {
    machine().major_version = 6;
    machine().minor_version = 1;
    OSVERSIONINFOEXW version{};
    EXPECT_FALSE(GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(&version)));
    version.dwOSVersionInfoSize = sizeof(version);
    EXPECT_TRUE(GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(&version)));
    EXPECT_EQ(version.dwMajorVersion * 100 + version.dwMinorVersion, 601U);
    std::array<WCHAR, 260> path{};
    EXPECT_EQ(GetSystemDirectoryW(path.data(), 5), 20U);
    EXPECT_EQ(GetSystemDirectoryW(path.data(), path.size()), 19U);
}

TEST_F(NativeTest, LocalMemoryIsInTheLedger) {
    auto* memory = static_cast<BYTE*>(LocalAlloc(LPTR, 4));
    EXPECT_EQ(memory[3], 0);
    EXPECT_EQ(instruments().StillOpen().size(), 1U);
    EXPECT_EQ(LocalFree(memory), nullptr);
    EXPECT_EQ(LocalFree(nullptr), nullptr);
    instruments().Inject({.function = "LocalAlloc"});
    EXPECT_EQ(LocalAlloc(LPTR, 4), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NOT_ENOUGH_MEMORY));
}

TEST_F(NativeTest, CaseConversionKnowsMoreThanAscii) {
    std::basic_string<WCHAR> text = TEXT("usb\\vid_0f7a \u00E4\u00F7\u00DF\u0444");
    EXPECT_EQ(CharUpperW(text.data()), text.data());
    EXPECT_EQ(text, TEXT("USB\\VID_0F7A \u00C4\u00F7\u00DF\u0424"));
    CharLowerW(text.data());
    EXPECT_EQ(text, TEXT("usb\\vid_0f7a \u00E4\u00F7\u00DF\u0444"));
    for (unsigned unit = 0; unit < 0x600; ++unit) {  // down and up again: what has two cases has just two
        const auto upper = qxsim::UpperCase(static_cast<WCHAR>(unit));
        EXPECT_EQ(qxsim::UpperCase(qxsim::LowerCase(upper)), upper) << unit;
    }
}

TEST_F(NativeTest, SingleByteTextGoesThereAndBack) {
    std::array<WCHAR, 8> wide{};
    EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, "\x80-\xE4", -1, nullptr, 0), 4);
    EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, "\x80-\xE4", -1, wide.data(), wide.size()), 4);
    EXPECT_EQ(std::basic_string<WCHAR>(wide.data()), TEXT("\u20AC-\u00E4"));
    EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, "ab", -1, wide.data(), 2), 0);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
    std::array<char, 8> narrow{};
    BOOL lost = FALSE;
    EXPECT_EQ(
        WideCharToMultiByte(CP_ACP, 0, TEXT("\u20AC\u0416"), 2, narrow.data(), narrow.size(), nullptr, &lost),
        2);
    EXPECT_STREQ(narrow.data(), "\x80?");
    EXPECT_TRUE(lost);
}

}  // namespace
