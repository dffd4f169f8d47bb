// SPDX-License-Identifier: MIT
// The file that users install: what it offers, what it needs, how large it is, and how it registers.
#include "module/product_data.h"
#include "tests/windows/installed_port.h"

#include <gtest/gtest.h>

#include <oleauto.h>
#include <setupapi.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace {

constexpr std::uintmax_t kLargestFile = 350'000;

const IMAGE_NT_HEADERS* Head(HMODULE module) {
    const auto base = reinterpret_cast<std::uintptr_t>(module);
    return reinterpret_cast<const IMAGE_NT_HEADERS*>(
        base + static_cast<std::uintptr_t>(reinterpret_cast<const IMAGE_DOS_HEADER*>(base)->e_lfanew));
}

template <typename Type>
const Type* Table(HMODULE module, int directory) {
    return reinterpret_cast<const Type*>(
        reinterpret_cast<std::uintptr_t>(module) +
        Head(module)->OptionalHeader.DataDirectory[directory].VirtualAddress);
}

const char* TextAt(HMODULE module, DWORD offset) {
    return reinterpret_cast<const char*>(reinterpret_cast<std::uintptr_t>(module) + offset);
}

std::wstring TypeLibraryKey() {
#define QX_TEXT_OF(x) L"" #x
#define QX_TEXT(x) QX_TEXT_OF(x)
    return L"TypeLib\\{" + std::wstring(QX_TEXT(QX_TYPE_LIBRARY_ID)) + L"}";
}

bool KeyExists(const std::wstring& path) {
    HKEY key = nullptr;
    const bool exists = RegOpenKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, KEY_READ, &key) == ERROR_SUCCESS;
    if (exists)
        RegCloseKey(key);
    return exists;
}

class ShippedLibraryTest : public testing::Test {
  public:
    void SetUp() override {
        library = LoadLibraryW(qxtest::BesideProgram(L"QxUUI10.DLL").c_str());
        ASSERT_NE(library, nullptr);
    }
    void TearDown() override { FreeLibrary(library); }

    template <typename Entry>
    [[nodiscard]] Entry Find(const char* name) const {
        return reinterpret_cast<Entry>(reinterpret_cast<void*>(GetProcAddress(library, name)));
    }

    HMODULE library = nullptr;
};

using Register = HRESULT(STDAPICALLTYPE*)();

}  // namespace

TEST_F(ShippedLibraryTest, ExportsTheEightEntriesByName) {
    const auto* const table = Table<IMAGE_EXPORT_DIRECTORY>(library, IMAGE_DIRECTORY_ENTRY_EXPORT);
    ASSERT_EQ(table->NumberOfNames, table->NumberOfFunctions);
    std::set<std::string> names;
    const auto* const offsets = reinterpret_cast<const DWORD*>(TextAt(library, table->AddressOfNames));
    for (DWORD i = 0; i < table->NumberOfNames; ++i)
        names.insert(TextAt(library, offsets[i]));
    EXPECT_EQ(names, (std::set<std::string>{"DllCanUnloadNow", "DllGetClassObject", "DllRegisterServer",
                                            "DllUnregisterServer", "QxUCoInstallCard", "QxUCoInstallGpio",
                                            "QxUCoInstallPort", "QxUPortPropPage"}));
    EXPECT_STREQ(TextAt(library, table->Name), "QxUUI10.DLL");
}

TEST_F(ShippedLibraryTest, NeedsLibrariesOfTheSystemOnly) {
    // Of Windows 7, in its system directory; nothing that a package would have to bring along.
    const std::set<std::string> system = {"ADVAPI32", "CFGMGR32", "COMCTL32", "GDI32",    "KERNEL32",
                                          "MSPORTS",  "MSVCRT",   "OLE32",    "OLEAUT32", "SETUPAPI",
                                          "SHELL32",  "USER32",   "UXTHEME"};
    const auto* from = Table<IMAGE_IMPORT_DESCRIPTOR>(library, IMAGE_DIRECTORY_ENTRY_IMPORT);
    int count = 0;
    for (; from->Name != 0; ++from, ++count) {
        std::string name = TextAt(library, from->Name);
        name.resize(name.rfind('.'));
        std::transform(name.begin(), name.end(), name.begin(), [](char letter) {
            return static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
        });
        EXPECT_TRUE(system.contains(name)) << name;
    }
    EXPECT_GT(count, 5);
}

TEST_F(ShippedLibraryTest, MayLieAnywhereAndRunsNoData) {
    const IMAGE_OPTIONAL_HEADER& header = Head(library)->OptionalHeader;
    EXPECT_EQ(header.Magic, IMAGE_NT_OPTIONAL_HDR64_MAGIC);
    for (const int flag : {IMAGE_DLLCHARACTERISTICS_HIGH_ENTROPY_VA, IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE,
                           IMAGE_DLLCHARACTERISTICS_NX_COMPAT})
        EXPECT_NE(header.DllCharacteristics & flag, 0) << flag;
    EXPECT_NE(header.DataDirectory[IMAGE_DIRECTORY_ENTRY_BASERELOC].Size, 0U);
    const auto* section = IMAGE_FIRST_SECTION(Head(library));
    for (WORD i = 0; i < Head(library)->FileHeader.NumberOfSections; ++i)
        EXPECT_NE(section[i].Characteristics & (IMAGE_SCN_MEM_EXECUTE | IMAGE_SCN_MEM_WRITE),
                  DWORD{IMAGE_SCN_MEM_EXECUTE | IMAGE_SCN_MEM_WRITE});
}

TEST_F(ShippedLibraryTest, IsSmall) {
    const std::uintmax_t size = std::filesystem::file_size(qxtest::BesideProgram(L"QxUUI10.DLL"));
    std::printf("QxUUI10.DLL: %llu bytes\n", static_cast<unsigned long long>(size));
    EXPECT_LT(size, kLargestFile);
}

// Windows reads these: where the other libraries may come from, and where it writes the stack cookie.
TEST_F(ShippedLibraryTest, LoadsOthersFromTheSystemDirectoryAndHasACookie) {
    const auto* const config =
        Table<IMAGE_LOAD_CONFIG_DIRECTORY64>(library, IMAGE_DIRECTORY_ENTRY_LOAD_CONFIG);
    ASSERT_GE(config->Size, offsetof(IMAGE_LOAD_CONFIG_DIRECTORY64, SEHandlerTable));
    EXPECT_EQ(config->Reserved1, LOAD_LIBRARY_SEARCH_SYSTEM32);  // "DependentLoadFlags" in newer headers
    const auto cookie = *reinterpret_cast<const std::uintptr_t*>(config->SecurityCookie);
    EXPECT_NE(cookie, 0x00002B992DDFA232U) << "still what the linker wrote";
    EXPECT_EQ(cookie >> 48, 0U) << "a text that runs over could go on behind it";
}

// No thread library, which would be called at each thread's end in every process that loads ours.
TEST_F(ShippedLibraryTest, HooksNoExceptionsOfItsProcess) {
    const auto* from = Table<IMAGE_IMPORT_DESCRIPTOR>(library, IMAGE_DIRECTORY_ENTRY_IMPORT);
    for (; from->Name != 0; ++from) {
        const auto* name =
            reinterpret_cast<const IMAGE_THUNK_DATA*>(TextAt(library, from->OriginalFirstThunk));
        for (; name->u1.AddressOfData != 0; ++name) {
            const auto* const call = reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(
                TextAt(library, static_cast<DWORD>(name->u1.AddressOfData)));
            EXPECT_STRNE(reinterpret_cast<const char*>(call->Name), "AddVectoredExceptionHandler");
        }
    }
}

TEST_F(ShippedLibraryTest, CarriesItsResources) {
    const HRSRC found = FindResourceW(library, MAKEINTRESOURCEW(2), MAKEINTRESOURCEW(24));
    ASSERT_NE(found, nullptr);
    const std::string manifest(static_cast<const char*>(LockResource(LoadResource(library, found))),
                               SizeofResource(library, found));
    for (const char* const part :
         {"level=\"asInvoker\"", "name=\"Microsoft.Windows.Common-Controls\" version=\"6.0.0.0\""})
        EXPECT_NE(manifest.find(part), std::string::npos) << part;
    EXPECT_NE(FindResourceW(library, MAKEINTRESOURCEW(VS_VERSION_INFO), MAKEINTRESOURCEW(16)), nullptr);
}

TEST_F(ShippedLibraryTest, DescribesItsPageClass) {
    ITypeLib* types = nullptr;
    ASSERT_EQ(LoadTypeLib(qxtest::BesideProgram(L"QxUUI10.DLL").c_str(), &types), S_OK);
    TLIBATTR* library_is = nullptr;
    ASSERT_EQ(types->GetLibAttr(&library_is), S_OK);
    EXPECT_EQ(std::pair(library_is->wMajorVerNum, library_is->wMinorVerNum), std::pair(WORD{1}, WORD{0}));
    types->ReleaseTLibAttr(library_is);
    GUID page{};
    ASSERT_EQ(CLSIDFromString(L"{" QX_TEXT(QX_PROP_PAGE_CLASS_ID) L"}", &page), S_OK);
    ITypeInfo* page_class = nullptr;
    ASSERT_EQ(types->GetTypeInfoOfGuid(page, &page_class), S_OK);
    TYPEATTR* page_is = nullptr;
    ASSERT_EQ(page_class->GetTypeAttr(&page_is), S_OK);
    EXPECT_EQ(page_is->typekind, TKIND_COCLASS);
    page_class->ReleaseTypeAttr(page_is);
    const auto texts = [](auto* described) {
        BSTR name = nullptr;
        BSTR help = nullptr;
        EXPECT_EQ(described->GetDocumentation(-1, &name, &help, nullptr, nullptr), S_OK);
        const std::wstring both = std::wstring(name ? name : L"") + L": " + (help ? help : L"");
        SysFreeString(name);
        SysFreeString(help);
        return both;
    };
    EXPECT_EQ(texts(types), L"QxUUILib: QxUUI 1.0 Type Library");
    EXPECT_EQ(texts(page_class), L"PropPage: PropPage Class");
    page_class->Release();
    types->Release();
}

TEST_F(ShippedLibraryTest, RegistersItsTypeLibraryAndTakesItBack) {
    const LCID german = MAKELCID(MAKELANGID(LANG_GERMAN, SUBLANG_GERMAN), SORT_DEFAULT);
    const LCID before = GetThreadLocale();
    ASSERT_FALSE(KeyExists(TypeLibraryKey()));
    ASSERT_TRUE(SetThreadLocale(german));
    EXPECT_EQ(Find<Register>("DllRegisterServer")(), S_OK);
    EXPECT_EQ(GetThreadLocale(), german);
    EXPECT_TRUE(KeyExists(TypeLibraryKey() + L"\\1.0\\0\\win64"));
    std::wstring path(MAX_PATH, L'\0');
    LONG size = MAX_PATH * 2;
    EXPECT_EQ(RegQueryValueW(HKEY_CLASSES_ROOT, (TypeLibraryKey() + L"\\1.0\\0\\win64").c_str(), path.data(),
                             &size),
              ERROR_SUCCESS);
    EXPECT_EQ(_wcsicmp(path.c_str(), qxtest::BesideProgram(L"QxUUI10.DLL").c_str()), 0);
    EXPECT_EQ(Find<Register>("DllUnregisterServer")(), S_OK);
    EXPECT_EQ(GetThreadLocale(), german);
    EXPECT_FALSE(KeyExists(TypeLibraryKey()));
    // Nothing to take back: the code of the platform, and the locale all the same.
    EXPECT_TRUE(FAILED(Find<Register>("DllUnregisterServer")()));
    EXPECT_EQ(GetThreadLocale(), german);
    SetThreadLocale(before);
}

TEST_F(ShippedLibraryTest, ServesNoClass) {
    using GetClass = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
    const auto get_class = Find<GetClass>("DllGetClassObject");
    GUID page{};
    ASSERT_EQ(CLSIDFromString(L"{" QX_TEXT(QX_PROP_PAGE_CLASS_ID) L"}", &page), S_OK);
    for (const GUID& id : {page, GUID{}}) {
        void* result = this;
        EXPECT_EQ(get_class(id, page, &result), CLASS_E_CLASSNOTAVAILABLE);
        EXPECT_EQ(result, nullptr);
    }
    EXPECT_EQ(get_class(page, page, nullptr), E_POINTER);
    EXPECT_EQ(Find<Register>("DllCanUnloadNow")(), S_OK);
}

TEST_F(ShippedLibraryTest, TheSystemReadsTheExampleInfs) {
    for (const wchar_t* name : {L"usb-adapter", L"port", L"pci-card", L"pci-gpio"}) {
        const std::wstring file =
            qxtest::BesideProgram(L"package\\QxUUI10-example-" + std::wstring(name) + L".inf");
        UINT line = 0;
        const HINF inf = SetupOpenInfFileW(file.c_str(), nullptr, INF_STYLE_WIN4, &line);
        EXPECT_NE(inf, INVALID_HANDLE_VALUE) << "line " << line;
        if (inf != INVALID_HANDLE_VALUE)
            SetupCloseInfFile(inf);
    }
}
