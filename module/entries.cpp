// The entries that the loader and the component runtime call.
#include "module/type_library.h"
#include "module/uui_module.h"

#include <objbase.h>

#include <exception>

namespace {

qx::CQxUUIModule g_module;

// Runs the calling thread in the system's locale, in which registration texts are to be written, and gives
// the thread its own locale back.
class SystemLocale {
  public:
    SystemLocale() noexcept : former_(GetThreadLocale()) { SetThreadLocale(LOCALE_SYSTEM_DEFAULT); }
    ~SystemLocale() { SetThreadLocale(former_); }
    SystemLocale(const SystemLocale&) = delete;
    SystemLocale& operator=(const SystemLocale&) = delete;

  private:
    LCID former_;
};

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
    const SystemLocale locale;
    try {
        return qx::RegisterModuleTypeLibrary();
    } catch (const std::exception&) {
        return E_OUTOFMEMORY;
    }
}

extern "C" QX_EXPORT HRESULT WINAPI DllUnregisterServer() noexcept {
    const SystemLocale locale;
    const HRESULT result = qx::UnregisterModuleTypeLibrary();
    return SUCCEEDED(result) ? S_OK : result;
}
