// SPDX-License-Identifier: MIT
#include "host/windows/import_redirect.h"

#include <winternl.h>

#include <algorithm>
#include <cstdint>
#include <utility>

namespace qxhost {

namespace {

ImportRedirection* the_redirection = nullptr;

// What the loader tells of a library; documented, and in no header.
constexpr ULONG kLoaded = 1;
using RegisterNotification = LONG(NTAPI*)(ULONG flags, void* function, void* context, void** cookie);
using UnregisterNotification = LONG(NTAPI*)(void* cookie);

template <typename Function>
Function FromNtdll(const char* name) {
    // Through void*: the two are function types that the compiler knows nothing common about.
    return reinterpret_cast<Function>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), name)));
}

template <typename Type>
Type* At(HMODULE module, std::uintptr_t offset) {
    return reinterpret_cast<Type*>(reinterpret_cast<std::uintptr_t>(module) + offset);
}

void Store(IMAGE_THUNK_DATA* slot, void* function) {
    DWORD protection = 0;
    if (!VirtualProtect(slot, sizeof(*slot), PAGE_READWRITE, &protection))
        return;
    slot->u1.Function = reinterpret_cast<std::uintptr_t>(function);
    VirtualProtect(slot, sizeof(*slot), protection, &protection);
}

// Calls `visit` for every function that is imported by name, with its slot in the import table. One system
// library may have several descriptors, and a function may come from any of several libraries: so all are
// walked.
template <typename Visitor>
void ForEachImport(HMODULE module, const Visitor& visit) {
    const auto* const head =
        At<IMAGE_NT_HEADERS>(module, static_cast<std::uintptr_t>(At<IMAGE_DOS_HEADER>(module, 0)->e_lfanew));
    const DWORD imports = head->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    if (imports == 0)
        return;
    for (auto* from = At<IMAGE_IMPORT_DESCRIPTOR>(module, imports); from->Name != 0; ++from) {
        const auto* name = At<IMAGE_THUNK_DATA>(module, from->OriginalFirstThunk);
        auto* slot = At<IMAGE_THUNK_DATA>(module, from->FirstThunk);
        for (; name->u1.AddressOfData != 0; ++name, ++slot) {
            if (!IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal))
                visit(At<IMAGE_IMPORT_BY_NAME>(module, name->u1.AddressOfData)->Name, slot);
        }
    }
}

}  // namespace

struct ImportRedirection::Notification {
    ULONG flags;
    const UNICODE_STRING* full_name;
    const UNICODE_STRING* base_name;
    void* base;
    ULONG size;
};

ImportRedirection::ImportRedirection(std::wstring library) : library_(std::move(library)) {
    the_redirection = this;
    Answer("GetProcAddress", reinterpret_cast<void*>(&FindProcedure));
    if (const auto watch = FromNtdll<RegisterNotification>("LdrRegisterDllNotification"))
        watch(0, reinterpret_cast<void*>(&OnLoaded), this, &cookie_);
}

ImportRedirection::~ImportRedirection() {
    if (const auto unwatch = FromNtdll<UnregisterNotification>("LdrUnregisterDllNotification");
        unwatch && cookie_ != nullptr)
        unwatch(cookie_);
    the_redirection = nullptr;
}

void ImportRedirection::Answer(const char* name, void* function) {
    functions_[name] = function;
}

void* ImportRedirection::Find(std::string_view name) const {
    const auto found = functions_.find(name);
    return found == functions_.end() ? nullptr : found->second;
}

HMODULE ImportRedirection::Load(const std::wstring& path) {
    const HMODULE module = LoadLibraryW(path.c_str());
    // Not every loader tells of a library before its load notification runs, and patching twice does no harm.
    if (module != nullptr)
        Patch(module);
    return module;
}

void CALLBACK ImportRedirection::OnLoaded(ULONG reason, const Notification* notification, void* context) {
    auto* const self = static_cast<ImportRedirection*>(context);
    const UNICODE_STRING& name = *notification->base_name;
    if (reason == kLoaded && name.Length / sizeof(WCHAR) == self->library_.size() &&
        _wcsnicmp(name.Buffer, self->library_.c_str(), self->library_.size()) == 0)
        self->Patch(static_cast<HMODULE>(notification->base));
}

FARPROC WINAPI ImportRedirection::FindProcedure(HMODULE module, LPCSTR name) {
    // A name below 64 K is a number of an export.
    if (the_redirection != nullptr && reinterpret_cast<std::uintptr_t>(name) > 0xFFFF) {
        if (void* const function = the_redirection->Find(name))
            return reinterpret_cast<FARPROC>(function);
    }
    return GetProcAddress(module, name);
}

void ImportRedirection::Patch(HMODULE module) {
    redirected_.clear();
    ForEachImport(module, [this](const char* name, IMAGE_THUNK_DATA* slot) {
        if (void* const function = Find(name)) {
            Store(slot, function);
            redirected_.emplace_back(name);
        }
    });
}

void ImportRedirection::PatchAllBut(HMODULE module, const std::vector<std::string>& names) const {
    ForEachImport(module, [&](const char* name, IMAGE_THUNK_DATA* slot) {
        void* const function = Find(name);
        if (function != nullptr && std::find(names.begin(), names.end(), name) == names.end())
            Store(slot, function);
    });
}

}  // namespace qxhost
