// Tables for people: columns as wide as their widest cell.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace qxhost {

using TableRow = std::vector<std::string>;

// The first row holds the headings. `indent` stands before every line.
void PrintTable(std::ostream& out, const std::vector<TableRow>& rows, const std::string& indent = "");

}  // namespace qxhost
