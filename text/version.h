// SPDX-License-Identifier: GPL-3.0-or-later
// What the programs say about themselves.
#pragma once

#include <string>
#include <string_view>

namespace vantoscope {

/// Name and version, copyright, licence and the lack of a warranty, a line each; no line end behind
/// the last.
std::string VersionText(std::string_view program);

}  // namespace vantoscope
