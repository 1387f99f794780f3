// SPDX-License-Identifier: GPL-3.0-or-later
// The one operation that the equation language is made of.
#pragma once

#include <string>
#include <string_view>

namespace vantoscope {

/// Replaces every occurrence of `from`, left to right and case-sensitive, without looking again at
/// what it has put in. An empty `from` occurs nowhere.
void ReplaceAll(std::string& text, std::string_view from, std::string_view to);

}  // namespace vantoscope
