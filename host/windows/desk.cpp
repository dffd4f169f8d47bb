// SPDX-License-Identifier: MIT
// The desk in front of a real screen: the shipped library with real dialogs, on the simulated computer.
#include "host/desk.h"

#include "host/windows/import_redirect.h"
#include "host/windows/screen.h"
#include "host/windows/user_thread.h"
#include "platform/machine/calls.h"
#include "platform/machine/machine.h"

#include <cfgmgr32.h>
#include <commctrl.h>
#include <msports.h>
#include <setupapi.h>
#include <shellapi.h>

#include <io.h>

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <utility>

// Every call that the simulated computer answers.
namespace qxsim {
#define MACHINE_CALL(name) QX_PLATFORM_CALL(name);
#include "machine_calls.inc"
#undef MACHINE_CALL
}  // namespace qxsim

namespace qxhost {

namespace {

constexpr wchar_t kLibrary[] = L"QxUUI10.DLL";

// What the program itself needs of the system that runs it: its threads, and how it loads the library.
const std::vector<std::string> kTheSystems = {
    "CreateMutexW",        "OpenMutexW",     "ReleaseMutex",  "WaitForSingleObject",   "CreateProcessW",
    "GetSystemDirectoryW", "GetProcAddress", "GetVersionExW", "SystemParametersInfoW", "ShellExecuteW"};

// The system's own functions, for this program: its imports of these names are redirected as well.
template <typename Function>
Function* SystemFunction(const wchar_t* library, const char* name) {
    return reinterpret_cast<Function*>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(library), name)));
}
const auto system_create_file = SystemFunction<decltype(CreateFileW)>(L"kernel32.dll", "CreateFileW");
const auto system_close_handle = SystemFunction<decltype(CloseHandle)>(L"kernel32.dll", "CloseHandle");
const auto system_reg_close_key = SystemFunction<decltype(RegCloseKey)>(L"advapi32.dll", "RegCloseKey");

// The program's own files and handles stay the system's: only device paths lead to the simulated computer,
// and only what it opened is closed there. The list is guarded by a lock that needs no handle itself.
SRWLOCK simulated_lock = SRWLOCK_INIT;
std::vector<HANDLE> simulated_files;

HANDLE WINAPI HostCreateFileW(LPCWSTR path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                              DWORD disposition, DWORD flags, HANDLE pattern) {
    if (path == nullptr || path[0] != L'\\' || path[1] != L'\\')
        return system_create_file(path, access, share, security, disposition, flags, pattern);
    const HANDLE file = qxsim::CreateFileW(path, access, share, security, disposition, flags, pattern);
    if (file != INVALID_HANDLE_VALUE) {
        AcquireSRWLockExclusive(&simulated_lock);
        simulated_files.push_back(file);
        ReleaseSRWLockExclusive(&simulated_lock);
    }
    return file;
}

BOOL WINAPI HostCloseHandle(HANDLE handle) {
    AcquireSRWLockExclusive(&simulated_lock);
    const auto found = std::find(simulated_files.begin(), simulated_files.end(), handle);
    const bool simulated = found != simulated_files.end();
    if (simulated)
        simulated_files.erase(found);
    ReleaseSRWLockExclusive(&simulated_lock);
    return simulated ? qxsim::CloseHandle(handle) : system_close_handle(handle);
}

// Opening a document or an address would leave the desk; it is told instead.
HINSTANCE WINAPI TellShellExecuteW(HWND, LPCWSTR operation, LPCWSTR file, LPCWSTR, LPCWSTR, INT) {
    constexpr ULONG_PTR kStarted = 42;
    std::printf("opened: %ls %ls\n", operation != nullptr ? operation : L"", file != nullptr ? file : L"");
    return reinterpret_cast<HINSTANCE>(kStarted);
}

void AnswerMachineCalls(ImportRedirection& redirection) {
#define MACHINE_CALL(name) redirection.Answer(#name, reinterpret_cast<void*>(&qxsim::name));
#include "machine_calls.inc"
#undef MACHINE_CALL
    redirection.Answer("ShellExecuteW", reinterpret_cast<void*>(&TellShellExecuteW));
}

class RealDesk : public Desk {
  public:
    RealDesk() {
        INITCOMMONCONTROLSEX classes = {sizeof(classes), ICC_WIN95_CLASSES};
        InitCommonControlsEx(&classes);
    }

    void RunModal(const std::function<void()>& work, const std::function<bool()>& user) override {
        if (!user) {
            work();
            return;
        }
        MovePointerAway();
        const TipTitles titles;
        RunWithUser(work, user);
    }

    [[nodiscard]] bool HasScreen() const override {
        // tests/windows/wine.sh says so of the display that nobody sees.
        return GetEnvironmentVariableW(L"QX_VIRTUAL_DISPLAY", nullptr, 0) == 0;
    }

    [[nodiscard]] std::string TipOf(HWND control) override {
        const Tip tip = RestPointerOn(control);
        if (tip.title.empty() && tip.text.empty())
            return {};
        return qxsim::ToUtf8(tip.title) + '\n' + qxsim::ToUtf8(tip.text);
    }

    [[nodiscard]] bool CanDraw() const override { return true; }
    void Draw(HWND window, const std::filesystem::path& file) override {
        PictureOf(window, file);
        MovePointerAway();
    }
};

std::wstring LibraryPath() {
    std::wstring program(MAX_PATH, L'\0');
    program.resize(GetModuleFileNameW(nullptr, program.data(), MAX_PATH));
    return (std::filesystem::path(program).parent_path() / kLibrary).wstring();
}

}  // namespace

std::unique_ptr<Desk> OpenDesk() {
    return std::make_unique<RealDesk>();
}

void PrepareHost() {
    // Handles of the real system that reach a redirected call.
    qxsim::Passthrough& passthrough = qxsim::ThePassthrough();
    passthrough.close_handle = [](HANDLE handle) { return system_close_handle(handle); };
    passthrough.reg_close_key = [](HKEY key) { return static_cast<LONG>(system_reg_close_key(key)); };
    passthrough.wait_for_single_object = [](HANDLE handle, DWORD timeout) {
        return ::WaitForSingleObject(handle, timeout);
    };
    passthrough.release_mutex = [](HANDLE handle) { return ::ReleaseMutex(handle); };

    ImportRedirection hosts_own(L"");
    AnswerMachineCalls(hosts_own);
    hosts_own.Answer("CreateFileW", reinterpret_cast<void*>(&HostCreateFileW));
    hosts_own.Answer("CloseHandle", reinterpret_cast<void*>(&HostCloseHandle));
    hosts_own.PatchAllBut(GetModuleHandleW(nullptr), kTheSystems);
}

FARPROC LibraryEntry(const char* name) {
    static const HMODULE library = [] {
        // Outlives the library, which stays loaded to the end of the process.
        auto* const redirection = new ImportRedirection(kLibrary);
        AnswerMachineCalls(*redirection);
        const HMODULE loaded = redirection->Load(LibraryPath());
        if (loaded == nullptr)
            throw std::runtime_error(qxsim::ToUtf8(LibraryPath()) + " cannot be loaded, error " +
                                     std::to_string(GetLastError()));
        return loaded;
    }();
    const FARPROC entry = GetProcAddress(library, name);
    if (entry == nullptr)
        throw std::runtime_error("the library exports no " + std::string(name));
    return entry;
}

std::shared_ptr<void> LockFile(const std::filesystem::path& file, const std::function<void()>& waiting) {
    std::error_code ignored;
    const std::filesystem::path whole = std::filesystem::weakly_canonical(file, ignored);
    const std::wstring name = L"qxhost-" + std::to_wstring(std::filesystem::hash_value(whole));
    const HANDLE mutex = CreateMutexW(nullptr, FALSE, name.c_str());
    if (::WaitForSingleObject(mutex, 0) == WAIT_TIMEOUT) {
        waiting();
        ::WaitForSingleObject(mutex, INFINITE);
    }
    return {mutex, [](HANDLE held) {
                ::ReleaseMutex(held);
                system_close_handle(held);
            }};
}

bool TerminalIsThere() {
    return _isatty(0) != 0;
}

}  // namespace qxhost
