// SPDX-License-Identifier: MIT
#include "host/statements.h"

#include <cctype>
#include <fstream>
#include <iterator>

namespace qxhost {

namespace {

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r';
}

// A # opens a comment, but #246 is a control.
bool OpensComment(std::string_view text, std::size_t at) {
    return text[at] == '#' &&
           (at + 1 >= text.size() || std::isdigit(static_cast<unsigned char>(text[at + 1])) == 0);
}

// One line's statements, which semicolons part.
std::vector<Statement> SplitLine(std::string_view line, int number) {
    std::vector<Statement> statements{{number, {}, {}}};
    std::size_t begin = 0;
    const auto close = [&](std::size_t end) {
        std::string_view text = line.substr(begin, end - begin);
        while (!text.empty() && IsBlank(text.front()))
            text.remove_prefix(1);
        while (!text.empty() && IsBlank(text.back()))
            text.remove_suffix(1);
        statements.back().text = text;
        if (statements.back().words.empty())
            statements.pop_back();
    };
    std::size_t at = 0;
    while (at < line.size()) {
        if (IsBlank(line[at])) {
            ++at;
        } else if (line[at] == ';') {
            close(at);
            statements.push_back({number, {}, {}});
            begin = ++at;
        } else if (OpensComment(line, at)) {
            close(at);
            return statements;
        } else if (line[at] == '"') {
            std::string word;
            for (++at; at < line.size() && line[at] != '"'; ++at) {
                if (line[at] == '\\' && at + 1 < line.size()) {
                    ++at;
                    word += line[at] == 'n' ? '\n' : line[at];
                } else {
                    word += line[at];
                }
            }
            if (at == line.size())
                throw ScriptError(Where(statements.back()) + "a quote is not closed: " + std::string(line));
            ++at;
            statements.back().words.push_back(std::move(word));
        } else {
            const std::size_t from = at;
            while (at < line.size() && !IsBlank(line[at]) && line[at] != ';')
                ++at;
            statements.back().words.emplace_back(line.substr(from, at - from));
        }
    }
    close(at);
    return statements;
}

}  // namespace

std::string Where(const Statement& statement) {
    return "line " + std::to_string(statement.line) + ": ";
}

std::string ReadScript(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::error_code ignored;
    // A folder can be opened like a file.
    if (!in || std::filesystem::is_directory(file, ignored))
        throw ScriptError("cannot be read");
    return {std::istreambuf_iterator<char>(in), {}};
}

std::vector<Statement> SplitScript(std::string_view text) {
    std::vector<Statement> script;
    for (int number = 1; !text.empty(); ++number) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        for (Statement& statement : SplitLine(text.substr(0, end), number))
            script.push_back(std::move(statement));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return script;
}

}  // namespace qxhost
