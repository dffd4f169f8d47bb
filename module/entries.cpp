// SPDX-License-Identifier: MIT
// The entries that the loader and the component runtime call.
#include "base/attempt.h"
#include "base/scope_exit.h"
#include "module/type_library.h"
#include "module/uui_module.h"

#include <objbase.h>

namespace {

qx::CQxUUIModule g_module;

// Puts the calling thread into the system's locale, in which registration texts are to be written, until the
// end of the caller's block.
auto UseSystemLocale() noexcept {
    const LCID former = GetThreadLocale();
    SetThreadLocale(LOCALE_SYSTEM_DEFAULT);
    return qx::ScopeExit([former] { SetThreadLocale(former); });
}

}  // namespace

extern "C" QX_EXPORT BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) noexcept {
    g_module.OnLoadNotification(module, reason);
    return TRUE;
}

extern "C" QX_EXPORT HRESULT WINAPI DllCanUnloadNow() {
    // Nothing locks the module: it serves no objects.
    return S_OK;
}

extern "C" QX_EXPORT HRESULT WINAPI DllGetClassObject(REFCLSID, REFIID, LPVOID* object) {
    if (!object)
        return E_POINTER;
    *object = nullptr;
    return CLASS_E_CLASSNOTAVAILABLE;
}

extern "C" QX_EXPORT HRESULT WINAPI DllRegisterServer() noexcept {
    const auto locale = UseSystemLocale();
    HRESULT result = E_OUTOFMEMORY;
    qx::Attempt([&] { result = qx::RegisterModuleTypeLibrary(); });
    return result;
}

extern "C" QX_EXPORT HRESULT WINAPI DllUnregisterServer() noexcept {
    const auto locale = UseSystemLocale();
    const HRESULT result = qx::UnregisterModuleTypeLibrary();
    return SUCCEEDED(result) ? S_OK : result;
}
