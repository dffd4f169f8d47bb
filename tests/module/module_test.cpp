// SPDX-License-Identifier: MIT
// The library as the loader and the component runtime see it.
#include "module/product_data.h"
#include "module/uui_module.h"
#include "tests/support/machine_fixture.h"

#include <initguid.h>
#include <objbase.h>

#include <gmock/gmock.h>

#include <array>
#include <cstdio>
#include <memory>

extern "C" {
HRESULT WINAPI DllRegisterServer();
HRESULT WINAPI DllUnregisterServer();
}

namespace qxtest {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr GUID kAnyClass{0x11111111, 0x2222, 0x3333, {1, 2, 3, 4, 5, 6, 7, 8}};
#define TEXT_OF_VALUE(value) TEXT_OF(value)
#define TEXT_OF(value) #value
constexpr const char* kTypeLibraryKey =
    "Software\\Classes\\TypeLib\\{" TEXT_OF_VALUE(QX_TYPE_LIBRARY_ID) "}\\1.0";

class Module : public MachineTest {
  public:
    [[nodiscard]] static std::vector<std::string> Arguments(std::string_view function) {
        std::vector<std::string> arguments;
        for (const auto& call : instruments().Trace())
            if (call.function == function)
                arguments.push_back(call.arguments);
        return arguments;
    }
};

TEST_F(Module, ServesNoClassAndMayAlwaysBeUnloaded) {
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
    for (const GUID& any : {kAnyClass, IID_IUnknown, GUID{}}) {
        void* object = this;
        EXPECT_EQ(DllGetClassObject(any, IID_IClassFactory, &object), CLASS_E_CLASSNOTAVAILABLE);
        EXPECT_EQ(object, nullptr);
        EXPECT_EQ(DllGetClassObject(any, IID_IClassFactory, nullptr), E_POINTER);
    }
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
}

TEST_F(Module, RegistersItsTypeLibraryAndLeavesNothingAfterwards) {
    // Every computer has the place for type libraries.
    machine().MakeKey(TEXT("Software\\Classes\\TypeLib"));
    const std::string before = machine().ToJson();
    SetThreadLocale(0x0407);
    EXPECT_EQ(DllRegisterServer(), S_OK);
    EXPECT_EQ(GetThreadLocale(), 0x0407U);
    EXPECT_EQ(machine().ReadText(std::string(kTypeLibraryKey) + "\\0\\win64", ""),
              "C:\\Windows\\System32\\QxUUI10.DLL");
    EXPECT_EQ(DllUnregisterServer(), S_OK);
    EXPECT_EQ(GetThreadLocale(), 0x0407U);
    EXPECT_EQ(machine().ToJson(), before);
    EXPECT_THAT(Arguments("SetThreadLocale"),
                ElementsAre(qxsim::Describe(0x0407U), qxsim::Describe(LOCALE_SYSTEM_DEFAULT),
                            qxsim::Describe(0x0407U), qxsim::Describe(LOCALE_SYSTEM_DEFAULT),
                            qxsim::Describe(0x0407U)));
}

// Every call of a registration fails in turn: the failure is told, the thread keeps its locale, and what is
// loaded is released (the ledger sees to that).
TEST_F(Module, TellsFailuresAndKeepsTheLocale) {
    SetThreadLocale(0x0407);
    for (const auto& entry : {DllRegisterServer, DllUnregisterServer}) {
        for (const char* function : {"GetModuleHandleExW", "GetModuleFileNameW", "LoadTypeLib",
                                     "RegisterTypeLib", "UnRegisterTypeLib"}) {
            SCOPED_TRACE(function);
            const std::uint64_t calls = instruments().CallCount(function);
            instruments().Inject({function, 1, true, 0});
            const HRESULT result = entry();
            instruments().ClearFaults();
            if (instruments().CallCount(function) != calls) {
                EXPECT_TRUE(FAILED(result)) << result;
            }
            EXPECT_EQ(GetThreadLocale(), 0x0407U);
        }
    }
    // The library's own file was tried first, then the one beside it, and never those of the program.
    EXPECT_THAT(Arguments("LoadTypeLib"), testing::Each(HasSubstr("QxUUI10.")));
    EXPECT_THAT(Arguments("LoadTypeLib"), testing::Contains(HasSubstr("QxUUI10.tlb")));
    EXPECT_TRUE(FAILED(DllUnregisterServer()));  // nothing is registered
}

// Whichever thread comes or goes: the window classes are those of the library's own context, and nothing of
// it stays with the thread (or, once unloaded, at all).
TEST_F(Module, RegistersTheControlsInItsOwnContextAtEachNotification) {
    qx::CQxUUIModule module;
    for (const DWORD reason : std::initializer_list<DWORD>{DLL_PROCESS_ATTACH, DLL_THREAD_ATTACH,
                                                           DLL_THREAD_DETACH, DLL_PROCESS_DETACH})
        module.OnLoadNotification(GetModuleHandleW(TEXT("QxUUI10.DLL")), reason);
    std::string steps;
    std::string context;
    for (const auto& call : instruments().Trace()) {
        if (call.function == "CreateActCtxW")
            context = call.result;
        else if (call.function == "InitCommonControlsEx" || call.function.ends_with("ActCtx"))
            steps += call.function + (call.function == "ActivateActCtx" ? ' ' + call.arguments : "") + '\n';
    }
    const std::string each = "ActivateActCtx " + context + "\nInitCommonControlsEx\nDeactivateActCtx\n";
    EXPECT_EQ(steps, each + each + each + each + "ReleaseActCtx\n");
}

// What the library exports is what packages and the platform rely on, no more and no less.
TEST_F(Module, ExportsTheEntriesAndNothingElse) {
    const std::unique_ptr<FILE, int (*)(FILE*)> symbols(popen("nm -D --defined-only " QX_LIBRARY_FILE, "r"),
                                                        &pclose);
    ASSERT_NE(symbols, nullptr);
    std::vector<std::string> names;
    for (std::array<char, 256> line{}; std::fgets(line.data(), line.size(), symbols.get()) != nullptr;) {
        std::string name = line.data();
        name.erase(name.find_last_not_of('\n') + 1);
        names.push_back(name.substr(name.rfind(' ') + 1));
    }
    EXPECT_THAT(names, testing::UnorderedElementsAre(
                           "DllCanUnloadNow", "DllGetClassObject", "DllRegisterServer", "DllUnregisterServer",
                           "QxUCoInstallCard", "QxUCoInstallGpio", "QxUCoInstallPort", "QxUPortPropPage"));
}

}  // namespace
}  // namespace qxtest
