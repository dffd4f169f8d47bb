// SPDX-License-Identifier: MIT
// What a command needs beside the computer: where it is read, who answers, and where the pages come from.
#pragma once

#include <windows.h>

#include <commctrl.h>

#include <string>
#include <string_view>

namespace qxports {

// All texts are UTF-8.
class Surroundings {
  public:
    virtual ~Surroundings() = default;
    // The command's result, and what is said of it: standard output and standard error.
    virtual void Out(std::string_view text) = 0;
    virtual void Err(std::string_view text) = 0;
    // Columns of the terminal that the result goes to; 0 where it goes to a file or to another program.
    [[nodiscard]] virtual std::size_t Columns() const = 0;
    // Whether a person can be asked; the line that was answered, empty at the end of the input.
    [[nodiscard]] virtual bool CanAsk() const = 0;
    [[nodiscard]] virtual std::string Ask(std::string_view question) = 0;
    // The library's exported page provider. Throws Failure when the library is not there.
    [[nodiscard]] virtual LPFNADDPROPSHEETPAGES PageProvider() = 0;
};

}  // namespace qxports
