// SPDX-License-Identifier: MIT
// Modules, their resources, and what can be missing on a computer.
#include "tests/desktop/desktop_fixture.h"

#include <htmlhelp.h>
#include <oleauto.h>

#include <array>

namespace qxtest {
namespace {

class Modules : public DesktopTest {};

TEST_F(Modules, KnowTheModuleByAnyAddressInsideOfIt) {
    HMODULE module = nullptr;
    ASSERT_TRUE(GetModuleHandleExW(
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
        reinterpret_cast<const WCHAR*>(&qx::ModuleInstance), &module));
    EXPECT_EQ(module, qx::ModuleInstance());
    std::array<WCHAR, 64> name{};
    EXPECT_EQ(GetModuleFileNameW(module, name.data(), 64), 31U);
    EXPECT_EQ(qxsim::ToUtf8(name.data()), "C:\\Windows\\System32\\QxUUI10.DLL");
    EXPECT_EQ(GetModuleFileNameW(module, name.data(), 4), 4U);  // cut, and told so by the size
    EXPECT_EQ(qxsim::ToUtf8(name.data()), "C:\\");
    EXPECT_FALSE(GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                                    reinterpret_cast<const WCHAR*>(this), &module));
    EXPECT_EQ(module, nullptr);
}

TEST_F(Modules, CutStringsToTheRoomAndAnswerNothingForMissingOnes) {
    std::array<WCHAR, 8> text{};
    EXPECT_EQ(LoadStringW(qx::ModuleInstance(), 5023, text.data(), 5), 4);  // "Need More &Help? Click:"
    EXPECT_EQ(qxsim::ToUtf8(text.data()), "Need");
    EXPECT_EQ(LoadStringW(qx::ModuleInstance(), 5, text.data(), 8), 0);
    EXPECT_EQ(LoadStringW(nullptr, 5023, text.data(), 8), 0);
}

TEST_F(Modules, LoadLibrariesOnlyWhenTheyAreThere) {
    EXPECT_EQ(GetModuleHandleW(TEXT("hhctrl.ocx")), nullptr);
    const HMODULE viewer = LoadLibraryExW(TEXT("C:\\Windows\\System32\\HHCTRL.OCX"), nullptr, 0);
    ASSERT_NE(viewer, nullptr);
    EXPECT_EQ(GetModuleHandleW(TEXT("hhctrl.ocx")), viewer);
    EXPECT_EQ(reinterpret_cast<void*>(GetProcAddress(viewer, "HtmlHelpW")),
              reinterpret_cast<void*>(&HtmlHelpW));
    EXPECT_EQ(GetProcAddress(viewer, "RegCloseKey"), nullptr);
    desktop().SetProcMissing("hhctrl.ocx", "HtmlHelpW");
    EXPECT_EQ(GetProcAddress(viewer, "HtmlHelpW"), nullptr);
    EXPECT_TRUE(FreeLibrary(viewer));
    EXPECT_FALSE(FreeLibrary(viewer));
    EXPECT_THAT(instruments().BadClosings(), testing::SizeIs(1));
    instruments().Reset();

    desktop().SetLibraryMissing("HHCTRL.OCX");
    EXPECT_EQ(LoadLibraryExW(TEXT("hhctrl.ocx"), nullptr, 0), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_MOD_NOT_FOUND});
    desktop().SetLibraryMissing("hhctrl.ocx", false);
    desktop().SetLibraryPath("D:\\Help\\Viewer.dll", "hhctrl.ocx");
    const HMODULE elsewhere = LoadLibraryExW(TEXT("d:\\help\\viewer.DLL"), nullptr, 0);
    EXPECT_EQ(elsewhere, viewer);
    FreeLibrary(elsewhere);
}

TEST_F(Modules, LeaveActivationContextsInTheOppositeOrderOnly) {
    ACTCTXW description{};
    description.cbSize = sizeof(description);
    description.dwFlags = ACTCTX_FLAG_HMODULE_VALID | ACTCTX_FLAG_RESOURCE_NAME_VALID;
    description.hModule = qx::ModuleInstance();
    description.lpResourceName = MAKEINTRESOURCEW(99);
    EXPECT_EQ(CreateActCtxW(&description), INVALID_HANDLE_VALUE);
    description.lpResourceName = MAKEINTRESOURCEW(IDR_MANIFEST);
    const HANDLE context = CreateActCtxW(&description);
    ASSERT_NE(context, INVALID_HANDLE_VALUE);
    ULONG_PTR outer = 0;
    ULONG_PTR inner = 0;
    EXPECT_TRUE(ActivateActCtx(context, &outer));
    EXPECT_TRUE(ActivateActCtx(context, &inner));
    EXPECT_FALSE(DeactivateActCtx(0, outer));
    EXPECT_THAT(instruments().BadClosings(), testing::SizeIs(1));
    EXPECT_TRUE(DeactivateActCtx(0, inner));
    EXPECT_TRUE(DeactivateActCtx(0, outer));
    ReleaseActCtx(context);
    EXPECT_THAT(instruments().StillOpen(), testing::IsEmpty());
    instruments().Reset();
}

TEST_F(Modules, RegisterTheTypeLibraryThatTheModuleCarries) {
    ITypeLib* library = nullptr;
    EXPECT_EQ(LoadTypeLib(TEXT("C:\\nothing.dll"), &library), TYPE_E_CANTLOADLIBRARY);
    ASSERT_EQ(LoadTypeLib(TEXT("C:\\Windows\\System32\\QxUUI10.DLL"), &library), S_OK);
    TLIBATTR* attributes = nullptr;
    ASSERT_EQ(library->GetLibAttr(&attributes), S_OK);
    EXPECT_EQ(attributes->wMajorVerNum, 1);
    const GUID id = attributes->guid;
    qxsim::WideString path = TEXT("C:\\Windows\\System32\\QxUUI10.DLL");
    EXPECT_EQ(RegisterTypeLib(library, path.data(), nullptr), S_OK);
    library->Release();
    const auto registered = machine().FindKey(TEXT("Software\\Classes\\TypeLib"));
    ASSERT_TRUE(registered);
    EXPECT_EQ(registered->subkeys.size(), 1U);
    EXPECT_EQ(UnRegisterTypeLib(id, 1, 0, 0, SYS_WIN64), S_OK);
    EXPECT_TRUE(registered->subkeys.empty());
    EXPECT_EQ(UnRegisterTypeLib(id, 1, 0, 0, SYS_WIN64), TYPE_E_REGISTRYACCESS);
}

}  // namespace
}  // namespace qxtest
