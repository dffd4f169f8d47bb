// SPDX-License-Identifier: MIT
// The form of user scripts: lines of statements, and statements of words.
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace qxhost {

// What is wrong with a script, with its line.
class ScriptError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

struct Statement {
    int line = 0;
    std::string text;                // as written, for messages
    std::vector<std::string> words;  // quotes taken off
};

// "line 7: "
[[nodiscard]] std::string Where(const Statement& statement);

// A script's text. Throws ScriptError when `file` cannot be read.
[[nodiscard]] std::string ReadScript(const std::filesystem::path& file);
// Throws ScriptError for an open quote.
[[nodiscard]] std::vector<Statement> SplitScript(std::string_view text);

}  // namespace qxhost
