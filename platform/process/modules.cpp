// SPDX-License-Identifier: MIT
#include "platform/process/modules.h"

#include <dlfcn.h>

#include <algorithm>
#include <map>
#include <set>

namespace qxsim {

namespace {

// A resource's name or type: a number or a text.
struct ResourceName {
    WORD number = 0;
    WideString text;

    [[nodiscard]] bool Is(LPCWSTR wanted) const {
        if (IS_INTRESOURCE(wanted))
            return text.empty() && number == LOWORD(wanted);
        return !text.empty() && EqualsCaseless(text, wanted);
    }
};

struct Resource {
    ResourceName type;
    ResourceName name;
    ResourceBytes bytes;
};

struct Module {
    WideString file_name;
    const void* image = nullptr;  // where the host's loader put it; null for libraries of the platform
    std::vector<Resource> resources;
    int references = 0;          // by LoadLibrary of platform libraries
    bool always_loaded = false;  // in every process
};

// A platform library that can be found by name, with what it can be asked for by name.
struct PlatformLibrary {
    const WCHAR* name;
    bool always_loaded;
    std::vector<std::pair<std::string, std::string>> functions;  // name or "#ordinal", symbol
};

const std::vector<PlatformLibrary>& PlatformLibraries() {
    static const std::vector<PlatformLibrary> libraries{
        {u"advapi32.dll",
         true,
         {{"RegDeleteKeyExW", "RegDeleteKeyExW"},
          {"RegDeleteKeyW", "RegDeleteKeyW"},
          {"RegCloseKey", "RegCloseKey"}}},
        {u"kernel32.dll", true, {{"CreateActCtxW", "CreateActCtxW"}, {"GetVersionExW", "GetVersionExW"}}},
        {u"user32.dll", true, {{"MessageBoxW", "MessageBoxW"}}},
        {u"comctl32.dll", true, {{"InitCommonControlsEx", "InitCommonControlsEx"}}},
        {u"hhctrl.ocx", false, {{"HtmlHelpW", "HtmlHelpW"}, {"#15", "HtmlHelpW"}}},
    };
    return libraries;
}

struct ModuleTable {
    std::map<std::uintptr_t, Module> modules;
    std::uintptr_t next_platform_base = 0x7FF800000000;
    std::set<std::string> missing_libraries;
    std::map<std::string, std::string> paths;
};

ModuleTable& Table() {
    static ModuleTable table;
    return table;
}

// A file name without its folder, in lower case and with the extension that the platform supplies.
std::string BareName(WideView path) {
    std::string name = ToUtf8(LowerCase(path));
    if (const auto known = Table().paths.find(name); known != Table().paths.end())
        name = known->second;
    name = name.substr(name.find_last_of("\\/") + 1);
    if (name.find('.') == std::string::npos)
        name += ".dll";
    return name;
}

const void* ImageOf(const void* address) {
    Dl_info info{};
    return dladdr(address, &info) != 0 ? info.dli_fbase : nullptr;
}

constexpr std::size_t Aligned(std::size_t at) {
    return (at + 3) & ~std::size_t{3};
}

// A name in a resource header starts with 0xFFFF when it is a number.
ResourceName ReadName(ResourceBytes bytes, std::size_t& at) {
    ResourceName name;
    if (ReadAt<WORD>(bytes, at) == 0xFFFF) {
        name.number = ReadAt<WORD>(bytes, at + 2);
        at += 4;
        return name;
    }
    while (at + 2 <= bytes.size()) {
        const auto unit = ReadAt<WCHAR>(bytes, at);
        at += 2;
        if (unit == u'\0')
            break;
        name.text.push_back(unit);
    }
    return name;
}

// A compiled resource script: one header and its bytes after the other, each at a multiple of four.
std::vector<Resource> ReadResources(ResourceBytes script) {
    std::vector<Resource> resources;
    for (std::size_t at = 0; at + 8 <= script.size();) {
        const std::size_t size = ReadAt<DWORD>(script, at);
        const std::size_t header = ReadAt<DWORD>(script, at + 4);
        if (header < 8 || at + header + size > script.size())
            break;
        std::size_t name_at = at + 8;
        Resource resource;
        resource.type = ReadName(script, name_at);
        resource.name = ReadName(script, name_at);
        resource.bytes = script.subspan(at + header, size);
        if (size != 0)
            resources.push_back(std::move(resource));
        at = Aligned(at + header + size);
    }
    return resources;
}

void AddPlatformLibraries() {
    for (const PlatformLibrary& library : PlatformLibraries()) {
        const auto known = std::ranges::any_of(Table().modules, [&](const auto& entry) {
            return BareName(entry.second.file_name) == BareName(library.name);
        });
        if (known)
            continue;
        Module module;
        module.file_name = WideString(u"C:\\Windows\\System32\\") + library.name;
        module.always_loaded = library.always_loaded;
        Table().modules[Table().next_platform_base] = std::move(module);
        Table().next_platform_base += 0x100000;
    }
}

// The module of a bare or full name, loaded or not; null when the platform knows none.
std::pair<HMODULE, Module*> ModuleNamed(WideView path) {
    AddPlatformLibraries();
    const std::string name = BareName(path);
    if (!Table().missing_libraries.contains(name))
        for (auto& [base, module] : Table().modules)
            if (BareName(module.file_name) == name)
                return {reinterpret_cast<HMODULE>(base), &module};
    return {nullptr, nullptr};
}

Module* ModuleOf(HMODULE handle) {
    const auto found = Table().modules.find(reinterpret_cast<std::uintptr_t>(handle));
    return found == Table().modules.end() ? nullptr : &found->second;
}

// Null names the program, which is the library itself when a test program carries it.
HMODULE ProgramModule() {
    return reinterpret_cast<HMODULE>(0x7FF600000000);
}

const Resource* ResourceOf(HMODULE handle, LPCWSTR name, LPCWSTR type) {
    if (const Module* const module = ModuleOf(handle))
        for (const Resource& resource : module->resources)
            if (resource.type.Is(type) && resource.name.Is(name))
                return &resource;
    return nullptr;
}

}  // namespace

HMODULE RegisterModule(const void* address, const WCHAR* file_name, ResourceBytes resources) {
    const std::lock_guard lock(Instruments::The().Lock());
    Module module;
    module.file_name = file_name;
    module.image = ImageOf(address);
    module.resources = ReadResources(resources);
    module.always_loaded = true;
    const auto handle = reinterpret_cast<std::uintptr_t>(module.image);
    Table().modules[handle] = std::move(module);
    return reinterpret_cast<HMODULE>(handle);
}

void UnregisterModule(HMODULE module) {
    const std::lock_guard lock(Instruments::The().Lock());
    Table().modules.erase(reinterpret_cast<std::uintptr_t>(module));
}

ResourceBytes FindModuleResource(HMODULE module, LPCWSTR name, LPCWSTR type) {
    const std::lock_guard lock(Instruments::The().Lock());
    const Resource* const resource = ResourceOf(module, name, type);
    return resource ? resource->bytes : ResourceBytes();
}

WideString ModuleString(HMODULE module, UINT id) {
    // Texts stand in blocks of sixteen, each text with its length in front.
    const ResourceBytes block = FindModuleResource(module, MAKEINTRESOURCEW(id / 16 + 1), RT_STRING);
    std::size_t at = 0;
    for (UINT index = 0; index < id % 16; ++index)
        at += 2 + 2 * std::size_t{ReadAt<WORD>(block, at)};
    const std::size_t length = ReadAt<WORD>(block, at);
    WideString text;
    for (std::size_t index = 0; index < length; ++index)
        text.push_back(ReadAt<WCHAR>(block, at + 2 + 2 * index));
    return text;
}

HMODULE ModuleOfFile(WideView path) {
    const std::lock_guard lock(Instruments::The().Lock());
    return ModuleNamed(path).first;
}

void SetLibraryMissing(const std::string& library, bool missing) {
    const std::lock_guard lock(Instruments::The().Lock());
    if (missing)
        Table().missing_libraries.insert(BareName(ToWide(library)));
    else
        Table().missing_libraries.erase(BareName(ToWide(library)));
}

void SetLibraryPath(const std::string& path, const std::string& library) {
    const std::lock_guard lock(Instruments::The().Lock());
    Table().paths[ToUtf8(LowerCase(ToWide(path)))] = library;
}

void ForgetModuleSettings() {
    const std::lock_guard lock(Instruments::The().Lock());
    Table().missing_libraries.clear();
    Table().paths.clear();
    for (auto& [base, module] : Table().modules)
        module.references = 0;
}

HMODULE LoadLibraryExW(LPCWSTR name, HANDLE file, DWORD flags) {
    Call call("LoadLibraryExW", name, file, flags);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_MOD_NOT_FOUND), HMODULE{});
    const auto [handle, module] = ModuleNamed(name ? name : u"");
    if (!module)
        return call.Fail(ERROR_MOD_NOT_FOUND, HMODULE{});
    ++module->references;
    call.Opened("library",
                reinterpret_cast<std::uint64_t>(handle) + static_cast<std::uint64_t>(module->references));
    return call.Return(handle);
}

BOOL FreeLibrary(HMODULE handle) {
    Call call("FreeLibrary", handle);
    Module* const module = ModuleOf(handle);
    if (!module || module->references == 0) {
        call.Closed("library", handle);
        return call.Fail(ERROR_INVALID_HANDLE);
    }
    call.Closed("library",
                reinterpret_cast<std::uint64_t>(handle) + static_cast<std::uint64_t>(module->references));
    --module->references;
    return call.Faulted() ? call.Fail(call.FaultError(ERROR_GEN_FAILURE)) : call.Return(TRUE);
}

HMODULE GetModuleHandleW(LPCWSTR name) {
    Call call("GetModuleHandleW", name);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_MOD_NOT_FOUND), HMODULE{});
    if (!name)
        return call.Return(ProgramModule());
    const auto [handle, module] = ModuleNamed(name);
    if (!module || !(module->always_loaded || module->references > 0))
        return call.Fail(ERROR_MOD_NOT_FOUND, HMODULE{});
    return call.Return(handle);
}

BOOL GetModuleHandleExW(DWORD flags, LPCWSTR name, HMODULE* result) {
    Call call("GetModuleHandleExW", flags, static_cast<const void*>(name));
    if (!result)
        return call.Fail(ERROR_INVALID_PARAMETER);
    *result = nullptr;
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_MOD_NOT_FOUND));
    HMODULE handle = nullptr;
    if (flags & GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS)
        handle = reinterpret_cast<HMODULE>(const_cast<void*>(ImageOf(name)));
    else if (!name)
        handle = ProgramModule();
    else
        handle = ModuleNamed(name).first;
    Module* const module = ModuleOf(handle);
    if (!module && handle != ProgramModule())
        return call.Fail(ERROR_MOD_NOT_FOUND);
    if (module && !(flags & (GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT | GET_MODULE_HANDLE_EX_FLAG_PIN))) {
        ++module->references;
        call.Opened("library",
                    reinterpret_cast<std::uint64_t>(handle) + static_cast<std::uint64_t>(module->references));
    }
    *result = handle;
    return call.Return(TRUE);
}

DWORD GetModuleFileNameW(HMODULE handle, LPWSTR buffer, DWORD room) {
    Call call("GetModuleFileNameW", handle, room);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_MOD_NOT_FOUND), DWORD{0});
    const Module* const module = ModuleOf(handle);
    if (!module && handle && handle != ProgramModule())
        return call.Fail(ERROR_MOD_NOT_FOUND, DWORD{0});
    const WideString name = module ? module->file_name : u"C:\\Windows\\System32\\mmc.exe";
    const auto copied = static_cast<DWORD>(CopyText(name, room, buffer));
    // A name that does not fit is cut, and the room is the result.
    if (copied < name.size())
        return call.Fail(ERROR_INSUFFICIENT_BUFFER, room);
    return call.Return(copied);
}

FARPROC GetProcAddress(HMODULE handle, LPCSTR name) {
    const bool by_ordinal = (reinterpret_cast<ULONG_PTR>(name) >> 16) == 0;
    const std::string wanted =
        by_ordinal ? "#" + std::to_string(reinterpret_cast<ULONG_PTR>(name)) : std::string(name);
    Call call("GetProcAddress", handle, wanted.c_str());
    if (call.Faulted()) {
        call.Fail(call.FaultError(ERROR_PROC_NOT_FOUND));
        return nullptr;
    }
    const Module* const module = ModuleOf(handle);
    void* found = nullptr;
    if (module) {
        if (module->image) {
            Dl_info info{};
            if (dladdr(module->image, &info) != 0)
                if (void* const image = dlopen(info.dli_fname, RTLD_LAZY | RTLD_NOLOAD)) {
                    found = dlsym(image, wanted.c_str());
                    dlclose(image);
                }
        } else {
            for (const PlatformLibrary& library : PlatformLibraries())
                if (BareName(library.name) == BareName(module->file_name))
                    for (const auto& [function, symbol] : library.functions)
                        if (function == wanted)
                            found = dlsym(RTLD_DEFAULT, symbol.c_str());
        }
    }
    if (!found) {
        call.Fail(ERROR_PROC_NOT_FOUND);
        return nullptr;
    }
    call.Return(static_cast<const void*>(found));
    return reinterpret_cast<FARPROC>(found);
}

int LoadStringW(HINSTANCE instance, UINT id, LPWSTR buffer, int room) {
    Call call("LoadStringW", instance, id, room);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_RESOURCE_NAME_NOT_FOUND), 0);
    if (!buffer || room < 0)
        return call.Fail(ERROR_INVALID_PARAMETER, 0);
    const ResourceBytes block = FindModuleResource(instance, MAKEINTRESOURCEW(id / 16 + 1), RT_STRING);
    if (block.empty())
        return call.Fail(ERROR_RESOURCE_NAME_NOT_FOUND, 0);
    if (room == 0) {
        // No room asks for a pointer to the text itself, which has no terminator.
        std::size_t at = 0;
        for (UINT index = 0; index < id % 16; ++index)
            at += 2 + 2 * std::size_t{ReadAt<WORD>(block, at)};
        const std::byte* const text = block.data() + at + 2;
        std::memcpy(static_cast<void*>(buffer), &text, sizeof(text));
        return call.Return(static_cast<int>(ReadAt<WORD>(block, at)));
    }
    const WideString text = ModuleString(instance, id);
    return call.Return(static_cast<int>(CopyText(text, static_cast<std::size_t>(room), buffer)));
}

}  // namespace qxsim
