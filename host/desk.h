// SPDX-License-Identifier: MIT
// The desk in front of the screen: what the host program needs of a desktop beyond the window calls, and
// where the library's entries come from. One implementation works on the simulated desktop, one on a real
// screen.
#pragma once

#include <windows.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace qxhost {

class Desk {
  public:
    virtual ~Desk() = default;

    // Runs `work`, which opens modal windows. Each time one of their loops has nothing to do, `user` is
    // called on the same thread, in nested loops re-entrantly; it does one thing that a user does. Once it
    // returns false, every window still open is cancelled. Without a `user` the windows wait for whoever sits
    // in front of the screen. What either of them throws is thrown on when the windows have closed: nothing
    // may be thrown through a window.
    void Use(const std::function<void()>& work, const std::function<bool()>& user);

    // Whether somebody can sit in front of this desk.
    [[nodiscard]] virtual bool HasScreen() const = 0;

    // Title and text of the tip that appears when the pointer rests on the control, with a line break between
    // them; empty when none appears.
    [[nodiscard]] virtual std::string TipOf(HWND control) = 0;

    // Draws a window with its frame into a PNG file. Throws Failure. A desktop that is not drawn
    // has no pictures.
    [[nodiscard]] virtual bool CanDraw() const = 0;
    virtual void Draw(HWND window, const std::filesystem::path& file) = 0;

  private:
    // Use, with a `work` and a `user` that throw nothing.
    virtual void RunModal(const std::function<void()>& work, const std::function<bool()>& user) = 0;
};

[[nodiscard]] std::unique_ptr<Desk> OpenDesk();

// Called before anything else: from here on the calls of the host's own copy of the product's device access
// reach the simulated machine.
void PrepareHost();

// An entry that the library exports. Loads the library when called first; throws std::runtime_error when the
// library or the entry is not there.
[[nodiscard]] FARPROC LibraryEntry(const char* name);

// Keeps other programs that ask for the same file waiting until the result is dropped. `waiting` is called
// when another one has it, before this one waits.
[[nodiscard]] std::shared_ptr<void> LockFile(const std::filesystem::path& file,
                                             const std::function<void()>& waiting);

// Whether a person can be asked on the terminal.
[[nodiscard]] bool TerminalIsThere();

}  // namespace qxhost
