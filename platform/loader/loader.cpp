// SPDX-License-Identifier: MIT
// What the operating system's loader does for a library: makes its handle, file name and resources known, and
// tells it of its loading and unloading. Linked into the library itself, and into test programs that carry
// its code.
#include "platform/process/modules.h"

extern "C" {
extern const std::byte qx_resources_begin[] __attribute__((visibility("hidden")));
extern const std::byte qx_resources_end[] __attribute__((visibility("hidden")));
// A test program that carries only a part of the library has none.
BOOL APIENTRY DllMain(HINSTANCE, DWORD, LPVOID) __attribute__((weak));
}

namespace {

// An object, because the order of its end against the simulated computer's is certain: what was used when it
// began is still there when it ends.
class LoadedModule {
  public:
    LoadedModule()
        : module_(qxsim::RegisterModule(qx_resources_begin, TEXT("C:\\Windows\\System32\\QxUUI10.DLL"),
                                        {qx_resources_begin, qx_resources_end})) {
        if (DllMain)
            DllMain(module_, DLL_PROCESS_ATTACH, nullptr);
    }
    ~LoadedModule() {
        if (DllMain)
            DllMain(module_, DLL_PROCESS_DETACH, nullptr);
        qxsim::UnregisterModule(module_);
    }
    LoadedModule(const LoadedModule&) = delete;
    LoadedModule& operator=(const LoadedModule&) = delete;

  private:
    HMODULE module_;
};

const LoadedModule loaded_module;

}  // namespace
