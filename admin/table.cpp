// SPDX-License-Identifier: MIT
#include "admin/table.h"

#include "admin/text.h"

#include <algorithm>
#include <numeric>

namespace qxports {

namespace {

bool BeginsCharacter(char c) {
    return (c & 0xC0) != 0x80;
}

// Characters, not bytes, take up room.
std::size_t WidthOf(const std::string& text) {
    return static_cast<std::size_t>(std::ranges::count_if(text, BeginsCharacter));
}

// The text in at most `width` characters; dots tell that some are missing.
std::string Cut(const std::string& text, std::size_t width) {
    if (WidthOf(text) <= width)
        return text;
    constexpr std::size_t kDots = 2;
    std::size_t at = 0;
    for (std::size_t left = width - kDots + 1; at < text.size(); ++at)
        if (BeginsCharacter(text[at]) && --left == 0)
            break;
    return text.substr(0, at) + "..";
}

}  // namespace

std::string Table(const std::vector<TableRow>& rows, std::size_t columns, const std::string& indent) {
    constexpr std::size_t kGap = 2;
    constexpr std::size_t kLeastWidth = 8;
    std::vector<TableRow> cells = rows;
    std::vector<std::size_t> widths;
    for (TableRow& row : cells) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i) {
            row[i] = Visible(row[i]);
            widths[i] = std::max(widths[i], WidthOf(row[i]));
        }
    }
    const auto total = [&] {
        return std::accumulate(widths.begin(), widths.end(), indent.size() + kGap * (widths.size() - 1));
    };
    while (columns != 0 && total() > columns) {
        const auto widest = std::ranges::max_element(widths);
        if (*widest <= kLeastWidth)
            break;
        --*widest;
    }
    std::string table;
    for (std::size_t r = 0; r < cells.size(); ++r) {
        std::string line = indent;
        std::string rule = indent;
        for (std::size_t i = 0; i < cells[r].size(); ++i) {
            const std::string cell = Cut(cells[r][i], widths[i]);
            line += cell + std::string(widths[i] - WidthOf(cell) + kGap, ' ');
            rule += std::string(widths[i], '-') + std::string(kGap, ' ');
        }
        for (std::string* const each : {&line, &rule})
            each->erase(each->find_last_not_of(' ') + 1);
        table += line + '\n';
        if (r == 0)
            table += rule + '\n';
    }
    return table;
}

}  // namespace qxports
