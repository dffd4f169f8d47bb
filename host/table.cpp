#include "host/table.h"

#include <algorithm>

namespace qxhost {

namespace {

// Characters, not bytes, take up room.
std::size_t WidthOf(const std::string& text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

}  // namespace

void PrintTable(std::ostream& out, const std::vector<TableRow>& rows, const std::string& indent) {
    std::vector<std::size_t> widths;
    for (const TableRow& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], WidthOf(row[i]));
    }
    for (std::size_t r = 0; r < rows.size(); ++r) {
        std::string line = indent;
        std::string rule = indent;
        for (std::size_t i = 0; i < rows[r].size(); ++i) {
            line += rows[r][i] + std::string(widths[i] - WidthOf(rows[r][i]) + 2, ' ');
            rule += std::string(widths[i], '-') + "  ";
        }
        for (std::string* each : {&line, &rule})
            each->erase(each->find_last_not_of(' ') + 1);
        out << line << '\n';
        if (r == 0)
            out << rule << '\n';
    }
}

}  // namespace qxhost
