// SPDX-License-Identifier: MIT
// Loaded modules with their resources, and the platform's own libraries.
#pragma once

#include "platform/machine/calls.h"
#include "platform/machine/instruments.h"

#include <cstring>
#include <span>
#include <string>

namespace qxsim {

using ResourceBytes = std::span<const std::byte>;

// A number in a resource, where it need not be aligned; 0 past the end.
template <typename Value>
[[nodiscard]] Value ReadAt(ResourceBytes bytes, std::size_t at) {
    Value value{};
    if (at + sizeof(Value) <= bytes.size())
        std::memcpy(&value, bytes.data() + at, sizeof(Value));
    return value;
}

// Tells the platform of a module that the loader has brought in: any address inside of it, its file name, and
// its compiled resource script. Yields its module handle.
HMODULE RegisterModule(const void* address, const WCHAR* file_name, ResourceBytes resources);
void UnregisterModule(HMODULE module);

// A resource of a module; empty when there is none.
[[nodiscard]] ResourceBytes FindModuleResource(HMODULE module, LPCWSTR name, LPCWSTR type);
// A text of the module's string table; empty when there is none.
[[nodiscard]] WideString ModuleString(HMODULE module, UINT id);
// The module with a file name, for services that open files; null when none is loaded.
[[nodiscard]] HMODULE ModuleOfFile(WideView path);

// Lets LoadLibrary and GetModuleHandle not find a library. Its name without path, in any case.
void SetLibraryMissing(const std::string& library, bool missing = true);
// A name under which a library can be loaded besides its own: what an in-process server path of the registry
// may hold.
void SetLibraryPath(const std::string& path, const std::string& library);
void ForgetModuleSettings();

QX_PLATFORM_CALL(LoadLibraryExW);
QX_PLATFORM_CALL(FreeLibrary);
QX_PLATFORM_CALL(GetModuleHandleW);
QX_PLATFORM_CALL(GetModuleHandleExW);
QX_PLATFORM_CALL(GetModuleFileNameW);
QX_PLATFORM_CALL(GetProcAddress);
QX_PLATFORM_CALL(LoadStringW);

}  // namespace qxsim
