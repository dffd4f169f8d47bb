// SPDX-License-Identifier: MIT
// Mutexes, files, DOS names, processes, modules, text, locale, type libraries.
#include "tests/contract/contract.h"

#include <oleauto.h>

#include <array>
#include <string>
#include <thread>

namespace {

using Wide = std::basic_string<WCHAR>;

constexpr const WCHAR* kMutexName = TEXT("{0C6B7C1E-7A57-4D0C-9D62-6B1C2E7F4A11}");

const void* Procedure(const WCHAR* library, const char* name) {
    return reinterpret_cast<const void*>(GetProcAddress(GetModuleHandleW(library), name));
}

}  // namespace

CONTRACT(system, a_named_mutex_is_one_for_all, "CreateMutexW CloseHandle GetLastError") {
    SetLastError(ERROR_ALREADY_EXISTS);
    const HANDLE first = CreateMutexW(nullptr, FALSE, kMutexName);
    NEEDS(first != nullptr);
    IS(GetLastError(), DWORD{ERROR_SUCCESS});
    const HANDLE second = CreateMutexW(nullptr, FALSE, kMutexName);
    HOLDS(second != nullptr);
    IS(GetLastError(), DWORD{ERROR_ALREADY_EXISTS});
    HOLDS(CloseHandle(first));
    HOLDS(CloseHandle(second));
    // With its last handle it is gone.
    const HANDLE third = CreateMutexW(nullptr, FALSE, kMutexName);
    IS(GetLastError(), DWORD{ERROR_SUCCESS});
    HOLDS(CloseHandle(third));
}

CONTRACT(system, a_mutex_has_one_owner, "CreateMutexW WaitForSingleObject ReleaseMutex") {
    const HANDLE mutex = CreateMutexW(nullptr, FALSE, kMutexName);
    FAILS_WITH(ReleaseMutex(mutex), ERROR_NOT_OWNER);
    IS(WaitForSingleObject(mutex, INFINITE), DWORD{WAIT_OBJECT_0});
    IS(WaitForSingleObject(mutex, 0), DWORD{WAIT_OBJECT_0});  // its owner may take it again
    DWORD other = 0;
    std::thread([&] { other = WaitForSingleObject(mutex, 10); }).join();
    IS(other, DWORD{WAIT_TIMEOUT});
    HOLDS(ReleaseMutex(mutex));
    HOLDS(ReleaseMutex(mutex));
    std::thread([&] {
        other = WaitForSingleObject(mutex, 1000);
        if (other == WAIT_OBJECT_0)
            ReleaseMutex(mutex);
    }).join();
    IS(other, DWORD{WAIT_OBJECT_0});
    HOLDS(CloseHandle(mutex));
    FAILS_WITH(CloseHandle(mutex), ERROR_INVALID_HANDLE);
}

CONTRACT(system, a_port_opens_by_its_dos_name, "CreateFileW CloseHandle") {
    contract::TestPort();
    const HANDLE port = CreateFileW(TEXT("\\\\.\\COM7"), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr);
    NEEDS(port != INVALID_HANDLE_VALUE);
    HOLDS(CloseHandle(port));
    FAILS_WITH(CreateFileW(TEXT("\\\\.\\COM250"), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                           FILE_FLAG_OVERLAPPED, nullptr),
               ERROR_FILE_NOT_FOUND);
}

CONTRACT(system, dos_names_are_asked, "QueryDosDeviceW") {
    contract::TestPort();
    std::array<WCHAR, 260> target{};
    target.fill(u'#');
    const DWORD units = QueryDosDeviceW(TEXT("COM7"), target.data(), 260);
    NEEDS(units > 2);
    const Wide text = target.data();
    HOLDS(text.starts_with(TEXT("\\Device\\")));
    IS(std::size_t{units}, text.size() + 2);  // a list of texts: each ends in a NUL, and the list in another
    HOLDS(target[units - 1] == 0);
    FAILS_WITH(QueryDosDeviceW(TEXT("COM250"), target.data(), 260), ERROR_FILE_NOT_FOUND);
    FAILS_WITH(QueryDosDeviceW(TEXT("COM7"), target.data(), 4), ERROR_INSUFFICIENT_BUFFER);
}

CONTRACT_UNLESS(system, dos_names_are_defined_and_removed, "DefineDosDeviceW QueryDosDeviceW",
                "DefineDosDeviceW reports success and defines nothing") {
    std::array<WCHAR, 260> target{};
    const WCHAR* const device = TEXT("\\Device\\QxContract");
    HOLDS(DefineDosDeviceW(DDD_RAW_TARGET_PATH, TEXT("COM99"), device));
    NEEDS(QueryDosDeviceW(TEXT("COM99"), target.data(), 260) != 0);
    IS(Wide(target.data()), Wide(device));
    constexpr DWORD kRemove = DDD_RAW_TARGET_PATH | DDD_REMOVE_DEFINITION | DDD_EXACT_MATCH_ON_REMOVE;
    // The beginning of a target is another one.
    FAILS_WITH(DefineDosDeviceW(kRemove, TEXT("COM99"), TEXT("\\Device\\QxContrac")), ERROR_FILE_NOT_FOUND);
    // The newest definition stands first, and what it covered comes back with its end.
    const WCHAR* const newer = TEXT("\\Device\\QxContract2");
    HOLDS(DefineDosDeviceW(DDD_RAW_TARGET_PATH, TEXT("COM99"), newer));
    QueryDosDeviceW(TEXT("COM99"), target.data(), 260);
    IS(Wide(target.data()), Wide(newer));
    IS(Wide(target.data() + Wide(newer).size() + 1), Wide(device));
    HOLDS(DefineDosDeviceW(kRemove, TEXT("COM99"), newer));
    QueryDosDeviceW(TEXT("COM99"), target.data(), 260);
    IS(Wide(target.data()), Wide(device));
    HOLDS(DefineDosDeviceW(kRemove, TEXT("COM99"), device));
    FAILS_WITH(QueryDosDeviceW(TEXT("COM99"), target.data(), 260), ERROR_FILE_NOT_FOUND);
}

CONTRACT(system, a_missing_program_does_not_start, "CreateProcessW") {
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    FAILS_WITH(CreateProcessW(TEXT("C:\\windows\\system32\\qxnone.exe"), nullptr, nullptr, nullptr, TRUE,
                              NORMAL_PRIORITY_CLASS, nullptr, nullptr, &startup, &process),
               ERROR_FILE_NOT_FOUND);
}

CONTRACT(system, the_system_directory, "GetSystemDirectoryW") {
    std::array<WCHAR, 260> path{};
    const UINT length = GetSystemDirectoryW(path.data(), 260);
    const Wide text = path.data();
    IS(std::size_t{length}, text.size());
    HOLDS(!text.ends_with(TEXT("\\")));
    IS(GetSystemDirectoryW(path.data(), length), length + 1);  // too small: the room that it takes
}

CONTRACT(system, the_system_version, "GetVersionExW") {
    OSVERSIONINFOEXW version{};
    version.dwOSVersionInfoSize = sizeof(version);
    HOLDS(GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(&version)));
    HOLDS(version.dwMajorVersion >= 5);
    version.dwOSVersionInfoSize = 1;
    HOLDS(!GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(&version)));
}

CONTRACT(system, modules_and_their_functions, "GetModuleHandleW GetProcAddress LoadLibraryExW FreeLibrary") {
    HOLDS(GetModuleHandleW(TEXT("Advapi32.dll")) != nullptr);
    HOLDS(Procedure(TEXT("advapi32"), "RegDeleteKeyExW") != nullptr);
    FAILS_WITH(Procedure(TEXT("Advapi32.dll"), "QxNone"), ERROR_PROC_NOT_FOUND);
    FAILS_WITH(GetModuleHandleW(TEXT("qxnone.dll")), ERROR_MOD_NOT_FOUND);
    FAILS_WITH(LoadLibraryExW(TEXT("qxnone.dll"), nullptr, 0), ERROR_MOD_NOT_FOUND);
    const HMODULE library = LoadLibraryExW(TEXT("hhctrl.ocx"), nullptr, 0);
    NEEDS(library != nullptr);
    HOLDS(FreeLibrary(library));
}

CONTRACT(system, environment_texts_expand, "ExpandEnvironmentStringsW") {
    std::array<WCHAR, 64> text{};
    IS(ExpandEnvironmentStringsW(TEXT("no variable"), text.data(), 64), 12U);  // with the NUL
    IS(Wide(text.data()), Wide(TEXT("no variable")));
    IS(ExpandEnvironmentStringsW(TEXT("%QxNone%"), text.data(), 64), 9U);
    IS(Wide(text.data()), Wide(TEXT("%QxNone%")));
    IS(ExpandEnvironmentStringsW(TEXT("no variable"), text.data(), 3), 12U);
}

CONTRACT(system, letters_change_case_in_place, "CharLowerW CharUpperW") {
    WCHAR text[] = {u'C', u'O', u'M', 0xC4, u'{', u'7', 0};
    HOLDS(CharLowerW(text) == text);
    const WCHAR lower[] = {u'c', u'o', u'm', 0xE4, u'{', u'7', 0};
    IS(Wide(text), Wide(lower));
    CharUpperW(text);
    IS(text[0], WCHAR{u'C'});
    IS(text[3], WCHAR{0xC4});
    // A value instead of a place stands for one letter.
    IS(reinterpret_cast<std::uintptr_t>(CharLowerW(reinterpret_cast<WCHAR*>(std::uintptr_t{u'Q'}))),
       std::uintptr_t{u'q'});
}

CONTRACT(system, the_locale_is_the_threads, "GetThreadLocale SetThreadLocale") {
    const LCID before = GetThreadLocale();
    HOLDS(SetThreadLocale(MAKELCID(MAKELANGID(LANG_GERMAN, SUBLANG_GERMAN), SORT_DEFAULT)));
    IS(GetThreadLocale(), LCID{0x0407});
    LCID other = 0;
    std::thread([&] { other = GetThreadLocale(); }).join();
    IS(other, before);
    HOLDS(SetThreadLocale(before));
    IS(GetThreadLocale(), before);
}

CONTRACT(system, type_libraries_register, "LoadTypeLib RegisterTypeLib UnRegisterTypeLib") {
    Wide file = contract::TypeLibraryFile();
    ITypeLib* library = nullptr;
    IS(LoadTypeLib(TEXT("C:\\qxnone.tlb"), &library), HRESULT{TYPE_E_CANTLOADLIBRARY});
    NEEDS(LoadTypeLib(file.c_str(), &library) == S_OK);
    const GUID other = {0x11111111, 0x2222, 0x3333, {1, 2, 3, 4, 5, 6, 7, 8}};
    IS(RegisterTypeLib(library, file.data(), nullptr), HRESULT{S_OK});
    HOLDS(FAILED(UnRegisterTypeLib(other, 1, 0, LOCALE_NEUTRAL, SYS_WIN64)));
    TLIBATTR* described = nullptr;
    NEEDS(library->GetLibAttr(&described) == S_OK);
    const GUID own = described->guid;
    library->ReleaseTLibAttr(described);
    IS(UnRegisterTypeLib(own, 1, 0, LOCALE_NEUTRAL, SYS_WIN64), HRESULT{S_OK});
    HOLDS(FAILED(UnRegisterTypeLib(own, 1, 0, LOCALE_NEUTRAL, SYS_WIN64)));
    library->Release();
}

CONTRACT(system, error_codes_have_words, "FormatMessageW") {
    std::array<WCHAR, 256> words{};
    constexpr DWORD kFromSystem = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
    const DWORD length =
        FormatMessageW(kFromSystem, nullptr, ERROR_ACCESS_DENIED, 0, words.data(), 256, nullptr);
    NEEDS(length > 4);
    IS(std::size_t{length}, Wide(words.data()).size());
    HOLDS(Wide(words.data()).ends_with(TEXT("\r\n")));
    FAILS_WITH(FormatMessageW(kFromSystem, nullptr, ERROR_ACCESS_DENIED, 0, words.data(), 4, nullptr),
               ERROR_INSUFFICIENT_BUFFER);
    IS(FormatMessageW(kFromSystem, nullptr, 0x2FFFFFFF, 0, words.data(), 256, nullptr), DWORD{0});
}
