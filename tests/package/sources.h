// SPDX-License-Identifier: MIT
// The files of the tree that these tests read.
#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

inline const std::filesystem::path kSource = QX_SOURCE_DIR;

inline std::string Contents(const std::filesystem::path& file) {
    std::ostringstream text;
    text << std::ifstream(kSource / file, std::ios::binary).rdbuf();
    return text.str();
}
