// SPDX-License-Identifier: MIT
// The shipped library on the system itself: a port installed from an INF with a kernel driver, the library
// called as co-installer by the system's device installer and as page provider by this program, which stands
// where the device manager stands.
#include "host/windows/import_redirect.h"
#include "host/windows/user_thread.h"
#include "package/qxsettings.h"
#include "tests/windows/installed_port.h"

#include <gtest/gtest.h>

#include <msports.h>
#include <prsht.h>
#include <setupapi.h>

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr GUID kControlClass = QX_CONTROL_CLASS;

// Places in the port set.
enum : std::size_t { kBaudRate = 4, kOverrideBaudRate = 19, kPortNumbers = 33 };

// --- the driver, past the library ---

// The reference string of the port's control device; another port may be there too.
std::wstring reference;

bool IsPortsOwn(const std::wstring& path) {
    const std::wstring last = path.substr(path.rfind(L'\\') + 1);
    return _wcsicmp(last.c_str(), reference.c_str()) == 0;
}

HANDLE OpenControl() {
    const HDEVINFO set =
        SetupDiGetClassDevsW(&kControlClass, nullptr, nullptr, DIGCF_PRESENT | DIGCF_DEVICEINTERFACE);
    SP_DEVICE_INTERFACE_DATA found = {};
    found.cbSize = sizeof(found);
    alignas(8) std::array<BYTE, 2048> buffer{};
    auto* const detail = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W*>(buffer.data());
    detail->cbSize = sizeof(*detail);
    HANDLE control = INVALID_HANDLE_VALUE;
    for (DWORD index = 0; SetupDiEnumDeviceInterfaces(set, nullptr, &kControlClass, index, &found); ++index) {
        if (SetupDiGetDeviceInterfaceDetailW(set, &found, detail, sizeof(buffer), nullptr, nullptr) &&
            IsPortsOwn(detail->DevicePath))
            control = CreateFileW(detail->DevicePath, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                  FILE_FLAG_OVERLAPPED, nullptr);
    }
    SetupDiDestroyDeviceInfoList(set);
    return control;
}

std::vector<BYTE> Stream(DWORD request, DWORD selector) {
    const std::array<DWORD, 2> header = {selector, 0xFFFFFFFF};
    std::vector<BYTE> stream(512);
    DWORD returned = 0;
    const HANDLE control = OpenControl();
    if (!DeviceIoControl(control, request, const_cast<DWORD*>(header.data()), 8, stream.data(),
                         static_cast<DWORD>(stream.size()), &returned, nullptr))
        returned = 0;
    CloseHandle(control);
    stream.resize(returned);
    return stream;
}

DWORD Number(const std::vector<BYTE>& stream, std::size_t offset) {
    DWORD value = 0xDEADBEEF;
    if (offset + 4 <= stream.size())
        value = static_cast<DWORD>(stream[offset] | stream[offset + 1] << 8 | stream[offset + 2] << 16) |
                static_cast<DWORD>(stream[offset + 3]) << 24;
    return value;
}

// Puts the driver's settings back to its defaults.
void ResetDriver() {
    for (const DWORD selector : {0UL, 1UL}) {
        std::vector<BYTE> request = {static_cast<BYTE>(selector), 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF};
        const std::vector<BYTE> defaults = Stream(QX_GET_DEFAULT_SETTINGS, selector);
        request.insert(request.end(), defaults.begin(), defaults.end());
        DWORD returned = 0;
        const HANDLE control = OpenControl();
        ASSERT_TRUE(DeviceIoControl(control, QX_SET_SETTINGS, request.data(),
                                    static_cast<DWORD>(request.size()), nullptr, 0, &returned, nullptr));
        CloseHandle(control);
    }
}

std::wstring TextOfValue(HKEY hive, const wchar_t* path, const wchar_t* value) {
    std::array<wchar_t, 128> text{};
    DWORD size = sizeof(text) - sizeof(wchar_t);
    if (RegGetValueW(hive, path, value, RRF_RT_REG_SZ, nullptr, text.data(), &size) != ERROR_SUCCESS)
        return L"(none)";
    return text.data();
}

std::wstring PortsEntry(const wchar_t* name) {
    return TextOfValue(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Ports", name);
}

bool Claimed(DWORD number) {
    HCOMDB database = HCOMDB_INVALID_HANDLE_VALUE;
    std::array<BYTE, 256> usage{};
    DWORD reported = 0;
    ComDBOpen(&database);
    ComDBGetCurrentPortUsage(database, usage.data(), 256, CDB_REPORT_BYTES, &reported);
    ComDBClose(database);
    return usage[number - 1] != 0;
}

void Claim(DWORD number) {
    HCOMDB database = HCOMDB_INVALID_HANDLE_VALUE;
    ComDBOpen(&database);
    ComDBClaimPort(database, number, TRUE, nullptr);
    ComDBClose(database);
}

// --- a user, by window messages ---

struct Search {
    int id;
    HWND found;
};

BOOL CALLBACK KeepControl(HWND window, LPARAM place) {
    auto* const search = reinterpret_cast<Search*>(place);
    if (GetDlgCtrlID(window) != search->id || !IsWindowVisible(window))
        return TRUE;
    search->found = window;
    return FALSE;
}

BOOL CALLBACK KeepFront(HWND window, LPARAM place) {
    if (!IsWindowVisible(window) || !IsWindowEnabled(window))
        return TRUE;
    *reinterpret_cast<HWND*>(place) = window;
    return FALSE;
}

HWND Front() {
    HWND front = nullptr;
    EnumThreadWindows(GetCurrentThreadId(), KeepFront, reinterpret_cast<LPARAM>(&front));
    return front;
}

// A control of the window in front, on whatever page shows it.
HWND Control(int id) {
    Search search = {id, nullptr};
    EnumChildWindows(Front(), KeepControl, reinterpret_cast<LPARAM>(&search));
    return search.found;
}

void Click(int id) {
    SendMessageW(Control(id), BM_CLICK, 0, 0);
}

void Type(int id, const wchar_t* text) {
    SetWindowTextW(Control(id), text);
}

using Steps = std::vector<std::function<void()>>;

// --- the test ---

class InstalledPortTest : public testing::Test {
  public:
    static void SetUpTestSuite() {
        redirection = std::make_unique<qxhost::ImportRedirection>(L"QxUUI10.DLL");
        Claim(7);
        port = std::make_unique<qxtest::InstalledPort>(L"COM7");
        ASSERT_EQ(port->problem(), L"");
        // This program has not loaded the library yet, so that it tells who did.
        loaded_by_system = !redirection->Redirected().empty();
        std::array<wchar_t, 128> driver{};
        SP_DEVINFO_DATA element = port->element();
        ASSERT_TRUE(SetupDiGetDeviceRegistryPropertyW(port->set(), &element, SPDRP_DRIVER, nullptr,
                                                      reinterpret_cast<BYTE*>(driver.data()), 256, nullptr));
        reference = L"" QX_REFERENCE_PREFIX + std::wstring(driver.data());
        std::erase(reference, L'\\');
    }
    static void TearDownTestSuite() { port.reset(); }
    void SetUp() override {
        ASSERT_EQ(port->problem(), L"");
        ResetDriver();
    }

    // An entry of the library, found by the name that the INF registered under `value`.
    template <typename Entry>
    static Entry RegisteredEntry(const wchar_t* value) {
        const std::wstring registered = port->DriverKeyText(value);
        const std::size_t comma = registered.find(L',');
        const std::wstring name = registered.substr(comma + 1);
        const HMODULE library = LoadLibraryW(registered.substr(0, comma).c_str());
        return reinterpret_cast<Entry>(
            reinterpret_cast<void*>(GetProcAddress(library, std::string(name.begin(), name.end()).c_str())));
    }

    // Opens the port's properties as the device manager does, with a user who takes the steps.
    static void OpenProperties(const Steps& steps) {
        using Provider = BOOL(CALLBACK*)(SP_PROPSHEETPAGE_REQUEST*, LPFNADDPROPSHEETPAGE, LPARAM);
        const auto provider = RegisteredEntry<Provider>(L"EnumPropPages32");
        ASSERT_NE(provider, nullptr);
        SP_DEVINFO_DATA element = port->element();
        SP_PROPSHEETPAGE_REQUEST request = {};
        request.cbSize = sizeof(request);
        request.PageRequested = SPPSR_ENUM_ADV_DEVICE_PROPERTIES;
        request.DeviceInfoSet = port->set();
        request.DeviceInfoData = &element;
        std::vector<HPROPSHEETPAGE> pages;
        ASSERT_TRUE(provider(&request, KeepPage, reinterpret_cast<LPARAM>(&pages)));
        ASSERT_EQ(pages.size(), 1U);
        PROPSHEETHEADERW header = {};
        header.dwSize = sizeof(header);
        header.dwFlags = PSH_NOAPPLYNOW;
        header.pszCaption = L"Test serial port (COM7)";
        header.nPages = 1;
        header.phpage = pages.data();
        std::size_t next = 0;
        qxhost::RunWithUser([&] { PropertySheetW(&header); },
                            [&] {
                                if (next >= steps.size())
                                    return false;
                                steps[next++]();
                                return true;
                            });
        EXPECT_EQ(next, steps.size());
    }
    static BOOL CALLBACK KeepPage(HPROPSHEETPAGE page, LPARAM place) {
        reinterpret_cast<std::vector<HPROPSHEETPAGE>*>(place)->push_back(page);
        return TRUE;
    }

    static inline std::unique_ptr<qxhost::ImportRedirection> redirection;
    static inline std::unique_ptr<qxtest::InstalledPort> port;
    static inline bool loaded_by_system = false;
};

}  // namespace

TEST_F(InstalledPortTest, TheSystemsInstallerCallsTheCoInstaller) {
    EXPECT_TRUE(loaded_by_system);
    EXPECT_EQ(port->DriverKeyText(L"CoInstallers32"), L"QxUUI10.DLL,QxUCoInstallPort");
    // Wine does not call back after its own work; what an installer does then is done here.
    using CoInstaller = DWORD(CALLBACK*)(DI_FUNCTION, HDEVINFO, SP_DEVINFO_DATA*, COINSTALLER_CONTEXT_DATA*);
    const auto entry = RegisteredEntry<CoInstaller>(L"CoInstallers32");
    ASSERT_NE(entry, nullptr);
    SP_DEVINFO_DATA element = port->element();
    COINSTALLER_CONTEXT_DATA context = {};
    EXPECT_EQ(entry(DIF_INSTALLDEVICE, port->set(), &element, &context),
              DWORD{ERROR_DI_POSTPROCESSING_REQUIRED});
    context.PostProcessing = TRUE;
    EXPECT_EQ(entry(DIF_INSTALLDEVICE, port->set(), &element, &context), DWORD{NO_ERROR});
    EXPECT_EQ(PortsEntry(L"COM7:"), L"9600,n,8,1");
}

TEST_F(InstalledPortTest, SettingsChangedOnThePageAreInTheDriver) {
    const std::vector<BYTE> before = Stream(QX_GET_SETTINGS, 0);
    OpenProperties({[] {
                        Type(841, L"115200");
                        Click(206);
                    },
                    [] { Click(IDOK); }});
    const std::vector<BYTE> after = Stream(QX_GET_SETTINGS, 0);
    ASSERT_EQ(after.size(), 4 * kPortNumbers);
    for (std::size_t i = 0; i < kPortNumbers; ++i) {
        const DWORD expected = i == kBaudRate ? 115200 : i == kOverrideBaudRate ? 1 : Number(before, 4 * i);
        EXPECT_EQ(Number(after, 4 * i), expected) << "value " << i;
    }
    EXPECT_EQ(PortsEntry(L"COM7:"), L"115200,8,n,1");
}

// Last, since it ends the port.
TEST_F(InstalledPortTest, RemovalByTheSystemGivesTheNumberBack) {
    ASSERT_TRUE(Claimed(7));
    SP_DEVINFO_DATA element = port->element();
    EXPECT_TRUE(SetupDiCallClassInstaller(DIF_REMOVE, port->set(), &element));
    EXPECT_FALSE(Claimed(7));
    EXPECT_EQ(OpenControl(), INVALID_HANDLE_VALUE);
}
