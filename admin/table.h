// SPDX-License-Identifier: MIT
// Tables for people: columns as wide as their widest cell.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace qxports {

using TableRow = std::vector<std::string>;

// The first row holds the headings. `indent` stands before every line. Where the lines have only so many
// `columns`, the widest cells are cut; 0 stands for as many as it takes. Characters that a terminal would
// obey are shown instead.
[[nodiscard]] std::string Table(const std::vector<TableRow>& rows, std::size_t columns = 0,
                                const std::string& indent = "");

}  // namespace qxports
