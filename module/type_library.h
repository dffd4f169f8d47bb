// SPDX-License-Identifier: MIT
// Registration of the library's type library.
#pragma once

#include <windows.h>

namespace qx {

// Registers the type library that the module carries, for the whole machine; when the module's own cannot be
// loaded, the one in the file of the same path with the extension ".tlb". Results are the platform's.
[[nodiscard]] HRESULT RegisterModuleTypeLibrary();
[[nodiscard]] HRESULT UnregisterModuleTypeLibrary() noexcept;

}  // namespace qx
