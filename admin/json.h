// SPDX-License-Identifier: MIT
// JSON as the commands write it.
#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace qxports {

using Json = nlohmann::ordered_json;

[[nodiscard]] inline std::string Dump(const Json& json) {
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

}  // namespace qxports
