// The desk in front of the simulated desktop.
#include "host/desk.h"

#include "platform/desktop/desktop.h"
#include "platform/desktop/picture.h"

#include <dlfcn.h>
#include <unistd.h>

#include <fstream>
#include <stdexcept>

namespace qxhost {

namespace {

using qxsim::Desktop;

class SimulatedDesk : public Desk {
  public:
    SimulatedDesk() { Desktop::The().Reset(); }

    void Use(const std::function<void()>& work, const std::function<bool()>& user) override {
        Desktop::The().SetUser(user);
        work();
        Desktop::The().SetUser({});
    }

    [[nodiscard]] bool HasScreen() const override { return false; }

    [[nodiscard]] std::string TipOf(HWND control) override {
        const std::optional<qxsim::ShownTip> tip = Desktop::The().HoverTip(control);
        return tip ? tip->title + '\n' + tip->text : std::string();
    }

    void Draw(HWND window, const std::filesystem::path& file) override {
        std::ofstream out(file, std::ios::binary);
        constexpr double kScale = 1;
        out << qxsim::SvgPicture(Desktop::The().Picture(window), kScale);
        out.close();
        if (!out)
            throw std::runtime_error("the picture " + file.string() + " cannot be written");
    }

    [[nodiscard]] const char* PictureSuffix() const override { return ".svg"; }
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

bool TerminalIsThere() {
    return isatty(STDIN_FILENO) == 1;
}

}  // namespace qxhost
