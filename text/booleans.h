// SPDX-License-Identifier: GPL-3.0-or-later
// Truth as the settings keep it, and its text form in the settings file.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vantoscope {

/// -1 true, 0 false; any value but 0 counts as true.
using Bool16 = std::int16_t;
inline constexpr Bool16 kTrue = -1;
inline constexpr Bool16 kFalse = 0;
constexpr Bool16 ToBool16(bool value) { return value ? kTrue : kFalse; }

/// -1 or 0 from "true", "false" (in any case) or a text that is a number as a whole; nothing for
/// any other text.
std::optional<Bool16> BoolFromText(std::string_view text);

/// "True" or "False".
std::string TextFromBool(Bool16 value);

}  // namespace vantoscope
