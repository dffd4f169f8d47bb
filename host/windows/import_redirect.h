// SPDX-License-Identifier: MIT
// Lets functions of this program answer what one library imports from the system.
#pragma once

#include <windows.h>

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace qxhost {

// Redirects imports of one library, by function name and whatever system library they come from: the shipped
// file is loaded as it is, and only its import table in this process's memory is changed. A redirection
// begins when the library is loaded, so that even its load notification makes redirected calls.
// GetProcAddress of the library finds the redirected functions as well.
//
// One redirection may live at a time, and it must outlive the library.
class ImportRedirection {
  public:
    // `library` is the file name without a path; letter case does not matter.
    explicit ImportRedirection(std::wstring library);
    ~ImportRedirection();
    ImportRedirection(const ImportRedirection&) = delete;
    ImportRedirection& operator=(const ImportRedirection&) = delete;

    // Redirects what a module imports that is loaded already (this program, for one), all but `names`.
    void PatchAllBut(HMODULE module, const std::vector<std::string>& names) const;

    // `function` must have the signature and calling convention of the system's function of that name.
    void Answer(const char* name, void* function);
    [[nodiscard]] void* Find(std::string_view name) const;

    // Loads the library with every known function redirected. Null with the last error set when it cannot be
    // loaded.
    [[nodiscard]] HMODULE Load(const std::wstring& path);

    // The functions that the loaded library imports and that are redirected.
    [[nodiscard]] const std::vector<std::string>& Redirected() const { return redirected_; }

  private:
    struct Notification;
    static void CALLBACK OnLoaded(ULONG reason, const Notification* notification, void* context);
    static FARPROC WINAPI FindProcedure(HMODULE module, LPCSTR name);
    void Patch(HMODULE module);

    std::wstring library_;
    std::map<std::string, void*, std::less<>> functions_;
    std::vector<std::string> redirected_;
    void* cookie_ = nullptr;
};

}  // namespace qxhost
