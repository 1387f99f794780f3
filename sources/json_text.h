// SPDX-License-Identifier: GPL-3.0-or-later
// JSON as the programs print it for scripts.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace vantoscope {

/// The fields keep their order.
using Json = nlohmann::ordered_json;

/// Indented, with a line end; what is no UTF-8 becomes U+FFFD.
inline std::string JsonText(const Json& json) {
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

}  // namespace vantoscope
