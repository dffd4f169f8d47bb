// SPDX-License-Identifier: MIT
#include "base/module_instance.h"

#include <vector>

namespace qx {

HINSTANCE ModuleInstance() noexcept {
    static constexpr char kHere = 0;
    HMODULE module = nullptr;
    if (!GetModuleHandleExW(
            GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
            reinterpret_cast<const WCHAR*>(&kHere), &module))
        return nullptr;
    return module;
}

Text LoadText(UINT id) {
    const HINSTANCE module = ModuleInstance();
    // LoadStringW truncates silently: a text that fills the buffer may be incomplete, so try again with a
    // larger one.
    for (std::vector<WCHAR> buffer(512);; buffer.resize(buffer.size() * 2)) {
        const int length = LoadStringW(module, id, buffer.data(), static_cast<int>(buffer.size()));
        if (length <= 0)
            return {};
        if (static_cast<std::size_t>(length) + 1 < buffer.size())
            return Text(TextView(buffer.data(), static_cast<std::size_t>(length)));
    }
}

}  // namespace qx
