// SPDX-License-Identifier: MIT
#include "module/type_library.h"

#include "base/module_instance.h"
#include "module/product_data.h"

#include <oleauto.h>

#include <memory>
#include <vector>

#define QX_TEXT_OF(tokens) #tokens
#define QX_TEXT_OF_VALUE(macro) QX_TEXT_OF(macro)

namespace qx {

namespace {

// A GUID from its usual text, without braces, so that it stands in one place for all compilers.
struct GuidText {
    const char* digits;

    // The next `bytes` bytes as one number, most significant digit first.
    constexpr unsigned long long Next(int bytes) {
        unsigned long long number = 0;
        for (int left = bytes * 2; left > 0; ++digits) {
            if (*digits == '-')
                continue;
            const char digit = *digits;
            number =
                number * 16 + static_cast<unsigned>(digit <= '9' ? digit - '0' : (digit | 0x20) - 'a' + 10);
            --left;
        }
        return number;
    }
};

constexpr GUID GuidOf(const char (&text)[37]) {
    GuidText rest{text};
    GUID guid{};
    guid.Data1 = static_cast<decltype(guid.Data1)>(rest.Next(4));
    guid.Data2 = static_cast<decltype(guid.Data2)>(rest.Next(2));
    guid.Data3 = static_cast<decltype(guid.Data3)>(rest.Next(2));
    for (auto& byte : guid.Data4)
        byte = static_cast<unsigned char>(rest.Next(1));
    return guid;
}

struct Releaser {
    void operator()(ITypeLib* library) const noexcept { library->Release(); }
};
using TypeLibrary = std::unique_ptr<ITypeLib, Releaser>;

HRESULT Load(const Text& path, TypeLibrary& library) noexcept {
    ITypeLib* loaded = nullptr;
    const HRESULT result = LoadTypeLib(path.c_str(), &loaded);
    library.reset(SUCCEEDED(result) ? loaded : nullptr);
    return result;
}

// The module's own file; empty when the platform cannot say.
Text ModulePath() {
    const HINSTANCE module = ModuleInstance();
    // A null handle would name the program that has loaded the library.
    if (!module)
        return {};
    for (std::vector<WCHAR> buffer(MAX_PATH); buffer.size() <= 0x8000; buffer.resize(buffer.size() * 2)) {
        const DWORD length = GetModuleFileNameW(module, buffer.data(), static_cast<DWORD>(buffer.size()));
        if (length == 0)
            break;
        if (length < buffer.size())
            return Text(TextView(buffer.data(), length));
    }
    return {};
}

Text WithTypeLibraryExtension(const Text& path) {
    const TextView view = path.view();
    const std::size_t dot = view.rfind('.');
    const std::size_t directory = view.rfind('\\');
    const bool has_extension = dot != TextView::npos && (directory == TextView::npos || dot > directory);
    return Text(has_extension ? view.substr(0, dot) : view) + Text(TEXT(".tlb"));
}

constexpr GUID kTypeLibraryId = GuidOf(QX_TEXT_OF_VALUE(QX_TYPE_LIBRARY_ID));

}  // namespace

HRESULT RegisterModuleTypeLibrary() {
    Text path = ModulePath();
    if (path.empty()) {
        // HRESULT_FROM_WIN32(NO_ERROR) is S_OK, so a failure without an error code needs one of its own.
        const DWORD error = GetLastError();
        return error != NO_ERROR ? HRESULT_FROM_WIN32(error) : E_UNEXPECTED;
    }
    TypeLibrary library;
    HRESULT result = Load(path, library);
    if (FAILED(result)) {
        path = WithTypeLibraryExtension(path);
        result = Load(path, library);
    }
    if (!library)
        return FAILED(result) ? result : E_UNEXPECTED;
    // The platform only reads the path, though it asks for a pointer to change.
    return RegisterTypeLib(library.get(), const_cast<WCHAR*>(path.c_str()), nullptr);
}

HRESULT UnregisterModuleTypeLibrary() noexcept {
    return UnRegisterTypeLib(kTypeLibraryId, QX_TYPE_LIBRARY_MAJOR, QX_TYPE_LIBRARY_MINOR, LOCALE_NEUTRAL,
                             SYS_WIN64);
}

}  // namespace qx
