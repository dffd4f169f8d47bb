// SPDX-License-Identifier: MIT
// qxports.exe: the commands on a real computer and its console.
#include "admin/failure.h"
#include "admin/installation_lock.h"
#include "admin/run.h"
#include "admin/text.h"

#include <array>
#include <cstdio>

namespace qxports {

namespace {

// A console takes UTF-16 whatever its code page; files and pipes get UTF-8.
class Stream {
  public:
    explicit Stream(DWORD which) : handle_(GetStdHandle(which)) {
        DWORD mode = 0;
        is_console_ = GetConsoleMode(handle_, &mode) != FALSE;
    }
    [[nodiscard]] bool IsConsole() const { return is_console_; }
    [[nodiscard]] HANDLE Handle() const { return handle_; }

    void Write(std::string_view text) {
        const qx::Text wide = is_console_ ? Wide(text) : qx::Text();
        const char* at = is_console_ ? reinterpret_cast<const char*>(wide.c_str()) : text.data();
        const DWORD unit = is_console_ ? sizeof(WCHAR) : 1;
        for (auto left = static_cast<DWORD>(is_console_ ? wide.length() : text.size()); left != 0;) {
            // Consoles of older systems take no more than some ten thousand characters at once.
            const DWORD part = left < kPart ? left : kPart;
            DWORD written = 0;
            const BOOL done = is_console_ ? WriteConsoleW(handle_, at, part, &written, nullptr)
                                          : WriteFile(handle_, at, part, &written, nullptr);
            if (!done || written == 0) {
                failed_ = true;
                return;
            }
            at += std::size_t{written} * unit;
            left -= written;
        }
    }
    [[nodiscard]] bool Failed() const { return failed_; }

  private:
    static constexpr DWORD kPart = 8192;
    HANDLE handle_;
    bool is_console_ = false;
    bool failed_ = false;
};

class ConsoleSurroundings : public Surroundings {
  public:
    void Out(std::string_view text) override { out_.Write(text); }
    void Err(std::string_view text) override { err_.Write(text); }
    [[nodiscard]] std::size_t Columns() const override {
        CONSOLE_SCREEN_BUFFER_INFO info{};
        if (!out_.IsConsole() || !GetConsoleScreenBufferInfo(out_.Handle(), &info))
            return 0;
        // In its last column a line would wrap.
        return static_cast<std::size_t>(info.srWindow.Right - info.srWindow.Left);
    }
    [[nodiscard]] bool CanAsk() const override { return in_.IsConsole(); }
    [[nodiscard]] std::string Ask(std::string_view question) override {
        err_.Write(question);
        std::array<WCHAR, 128> line{};
        DWORD length = 0;
        if (!ReadConsoleW(in_.Handle(), line.data(), static_cast<DWORD>(line.size()), &length, nullptr))
            return {};
        return Utf8(qx::TextView(line.data(), length));
    }
    // From this program's own folder and nowhere else: what has another library's name there is not run.
    [[nodiscard]] LPFNADDPROPSHEETPAGES PageProvider() override {
        std::array<WCHAR, 32768> path{};
        const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
        const qx::TextView program(path.data(), length);
        const qx::Text library = qx::Text(program.substr(0, program.rfind(L'\\') + 1)) + TEXT("QxUUI10.DLL");
        const HMODULE module = LoadLibraryExW(library.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
        if (module == nullptr)
            throw Failure(kSystemFailed, Utf8(library) + " cannot be loaded: " + ErrorWords(GetLastError()));
        const FARPROC entry = GetProcAddress(module, "QxUPortPropPage");
        if (entry == nullptr)
            throw Failure(kSystemFailed, Utf8(library) + " has no property pages");
        return reinterpret_cast<LPFNADDPROPSHEETPAGES>(reinterpret_cast<void*>(entry));
    }
    [[nodiscard]] bool OutputFailed() const { return out_.Failed(); }

  private:
    Stream in_{STD_INPUT_HANDLE};
    Stream out_{STD_OUTPUT_HANDLE};
    Stream err_{STD_ERROR_HANDLE};
};

// A system that lacks a service answers a call to it with an exception of its own. Nothing is shown in a
// window, for nobody may sit in front of it.
LONG WINAPI EndWithMessage(EXCEPTION_POINTERS* what) {
    std::array<char, 160> text{};
    const int length =
        std::snprintf(text.data(), text.size(),
                      "qxports: the system failed a call with exception 0x%08lX; it may lack a "
                      "service that the command needs\n",
                      what->ExceptionRecord->ExceptionCode);
    Stream(STD_ERROR_HANDLE).Write(std::string_view(text.data(), static_cast<std::size_t>(length)));
    ExitProcess(InstallationLock::IsHeld() ? kNotAsItShould : kSystemFailed);
}

int Main(int count, wchar_t** arguments) {
    SetUnhandledExceptionFilter(&EndWithMessage);
    ConsoleSurroundings console;
    std::vector<std::string> words;
    for (int i = 1; i < count; ++i)
        words.push_back(Utf8(qx::TextView(arguments[i])));
    const int code = Run("qxports", std::move(words), console);
    if (!console.OutputFailed())
        return code;
    console.Err("qxports: the output cannot be written\n");
    return code == kDone ? kNotAsItShould : code;
}

}  // namespace

}  // namespace qxports

int wmain(int count, wchar_t** arguments) {
    return qxports::Main(count, arguments);
}
