// SPDX-License-Identifier: MIT
// The desk in front of the simulated desktop.
#include "host/desk.h"

#include "platform/desktop/desktop.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <stdexcept>

namespace qxhost {

namespace {

using qxsim::Desktop;

class SimulatedDesk : public Desk {
  public:
    SimulatedDesk() { Desktop::The().Reset(); }

    void RunModal(const std::function<void()>& work, const std::function<bool()>& user) override {
        Desktop::The().SetUser(user);
        work();
        Desktop::The().SetUser({});
    }

    [[nodiscard]] bool HasScreen() const override { return false; }

    [[nodiscard]] std::string TipOf(HWND control) override {
        const std::optional<qxsim::ShownTip> tip = Desktop::The().HoverTip(control);
        return tip ? tip->title + '\n' + tip->text : std::string();
    }

    [[nodiscard]] bool CanDraw() const override { return false; }
    void Draw(HWND, const std::filesystem::path&) override {}
};

// Beside the program, or where the build puts it.
std::filesystem::path LibraryPath() {
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    for (const char* const place : {"libQxUUI10.so", "../lib/libQxUUI10.so"})
        if (std::filesystem::exists(program / place))
            return program / place;
    throw std::runtime_error("libQxUUI10.so stands neither in " + program.string() +
                             " nor in ../lib beside it");
}

}  // namespace

std::unique_ptr<Desk> OpenDesk() {
    return std::make_unique<SimulatedDesk>();
}

void PrepareHost() {}

FARPROC LibraryEntry(const char* name) {
    // Loaded once, and left to the end of the process: windows may still refer to it.
    static void* const library = [] {
        void* const loaded = dlopen(LibraryPath().c_str(), RTLD_NOW | RTLD_LOCAL);
        if (loaded == nullptr)
            throw std::runtime_error(dlerror());
        return loaded;
    }();
    void* const entry = dlsym(library, name);
    if (entry == nullptr)
        throw std::runtime_error("the library exports no " + std::string(name));
    return reinterpret_cast<FARPROC>(entry);
}

std::shared_ptr<void> LockFile(const std::filesystem::path& file, const std::function<void()>& waiting) {
    for (bool told = false;; told = true) {
        // A pipe has one reader, and opening it would wait for its writer.
        if (!std::filesystem::is_regular_file(file))
            return nullptr;
        const int opened = open(file.c_str(), O_RDONLY | O_CLOEXEC);
        if (opened < 0)
            return nullptr;  // reading it will say why
        std::shared_ptr<void> lock(nullptr, [opened](void*) { close(opened); });
        if (flock(opened, LOCK_EX | LOCK_NB) != 0) {
            if (!told)
                waiting();
            flock(opened, LOCK_EX);
        }
        // The one that had it may have put a new file in its place.
        struct stat ours {};
        struct stat named {};
        if (fstat(opened, &ours) == 0 && stat(file.c_str(), &named) == 0 && ours.st_ino == named.st_ino)
            return lock;
    }
}

bool TerminalIsThere() {
    return isatty(STDIN_FILENO) == 1;
}

}  // namespace qxhost
