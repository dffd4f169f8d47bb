// SPDX-License-Identifier: MIT
#include "platform/machine/did_you_mean.h"

#include <algorithm>
#include <cctype>
#include <numeric>

namespace qxsim {

namespace {

// How many letters must be put in, taken out, or changed to make one word the other.
std::size_t Distance(std::string_view a, std::string_view b) {
    const auto same = [](char x, char y) {
        return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
    };
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = row[0]++;
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t changed = diagonal + (same(a[i], b[j]) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

}  // namespace

std::string DidYouMean(std::string_view word, const std::vector<std::string>& names) {
    const std::string* nearest = nullptr;
    // Words that differ in more than a third of their letters are not meant for one another.
    std::size_t least = word.size() / 3 + 1;
    for (const std::string& name : names) {
        if (const std::size_t distance = Distance(word, name); distance <= least && distance < name.size()) {
            nearest = &name;
            least = distance == 0 ? 0 : distance - 1;
        }
    }
    return nearest == nullptr ? "" : "; did you mean \"" + *nearest + "\"?";
}

}  // namespace qxsim
