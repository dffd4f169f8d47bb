// Loaded modules with their resources, and the platform's own libraries.
#pragma once

#include "platform/desktop/desktop.h"
#include "platform/machine/calls.h"
#include "platform/machine/instruments.h"

#include <span>

namespace qxsim {

using ResourceBytes = std::span<const std::byte>;

// Tells the platform of a module that the loader has brought in: any address inside of it, its file name, and
// its compiled resource script. Yields its module handle.
QX_SIMULATOR_API HMODULE RegisterModule(const void* address, const WCHAR* file_name, ResourceBytes resources);
QX_SIMULATOR_API void UnregisterModule(HMODULE module);

// A resource of a module; empty when there is none.
[[nodiscard]] ResourceBytes FindModuleResource(HMODULE module, LPCWSTR name, LPCWSTR type);
// A text of the module's string table; empty when there is none.
[[nodiscard]] WideString ModuleString(HMODULE module, UINT id);
// The module with a file name, for services that open files; null when none is loaded.
[[nodiscard]] HMODULE ModuleOfFile(WideView path);

// The settings of Desktop.
void SetLibraryMissing(const std::string& library, bool missing);
void SetProcMissing(const std::string& library, const std::string& function, bool missing);
void SetLibraryPath(const std::string& path, const std::string& library);
void ForgetModuleSettings();

QX_PLATFORM_CALL(LoadLibraryW);
QX_PLATFORM_CALL(LoadLibraryExW);
QX_PLATFORM_CALL(FreeLibrary);
QX_PLATFORM_CALL(GetModuleHandleW);
QX_PLATFORM_CALL(GetModuleHandleExW);
QX_PLATFORM_CALL(GetModuleFileNameW);
QX_PLATFORM_CALL(GetProcAddress);
QX_PLATFORM_CALL(LoadStringW);

}  // namespace qxsim
