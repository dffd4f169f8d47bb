// SPDX-License-Identifier: MIT
// Holds the contracts against the shipped library: every call that it makes has one, or says here why not.
#include "tests/contract/contract.h"

#include <cstring>
#include <map>
#include <set>
#include <string>

namespace contract {

namespace {

// The C and C++ runtime that is linked into the library: locks, exceptions and start-up of its own, none of
// them called by the library's code.
const std::set<std::string> kRuntime = {"CreateSemaphoreW",
                                        "DeleteCriticalSection",
                                        "EnterCriticalSection",
                                        "GetCurrentThreadId",
                                        "GetSystemTimeAsFileTime",
                                        "InitializeCriticalSection",
                                        "IsDBCSLeadByteEx",
                                        "LeaveCriticalSection",
                                        "LoadLibraryW",
                                        "QueryPerformanceCounter",
                                        "RaiseException",
                                        "ReleaseSemaphore",
                                        "RtlCaptureContext",
                                        "RtlLookupFunctionEntry",
                                        "RtlUnwindEx",
                                        "RtlVirtualUnwind",
                                        "Sleep",
                                        "TlsAlloc",
                                        "TlsFree",
                                        "TlsGetValue",
                                        "TlsSetValue",
                                        "VirtualProtect",
                                        "VirtualQuery",
                                        "WideCharToMultiByte"};

const std::map<std::string, std::string> kWithout = {
    {"DrawFocusRect", "draws and tells nothing"},
    {"ShellExecuteW", "would start the user's browser"},
};

template <typename Type>
const Type* At(HMODULE module, DWORD offset) {
    return reinterpret_cast<const Type*>(reinterpret_cast<std::uintptr_t>(module) + offset);
}

}  // namespace

std::vector<std::string> CallsWithoutContract(const std::set<std::string>& stated) {
    std::vector<std::string> missing;
    const HMODULE library = LoadLibraryW(TypeLibraryFile());
    if (library == nullptr)
        return {"(the library does not load)"};
    const auto* const head =
        At<IMAGE_NT_HEADERS>(library, static_cast<DWORD>(At<IMAGE_DOS_HEADER>(library, 0)->e_lfanew));
    const auto* from = At<IMAGE_IMPORT_DESCRIPTOR>(
        library, head->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress);
    for (; from->Name != 0; ++from) {
        if (_stricmp(At<char>(library, from->Name), "msvcrt.dll") == 0)
            continue;
        for (const auto* name = At<IMAGE_THUNK_DATA>(library, from->OriginalFirstThunk);
             name->u1.AddressOfData != 0; ++name) {
            const std::string call =
                IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)
                    ? "(by number " + std::to_string(IMAGE_ORDINAL(name->u1.Ordinal)) + ")"
                    : At<IMAGE_IMPORT_BY_NAME>(library, static_cast<DWORD>(name->u1.AddressOfData))->Name;
            if (!stated.contains(call) && !kRuntime.contains(call) && !kWithout.contains(call))
                missing.push_back(call);
        }
    }
    FreeLibrary(library);
    for (const auto& [call, reason] : kWithout)
        std::printf("  no contract: %s (%s)\n", call.c_str(), reason.c_str());
    return missing;
}

}  // namespace contract
