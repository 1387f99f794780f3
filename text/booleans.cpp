// SPDX-License-Identifier: GPL-3.0-or-later
#include "text/booleans.h"

#include "text/characters.h"
#include "text/numbers.h"

namespace vantoscope {

std::optional<Bool16> BoolFromText(std::string_view text) {
  if (SameIgnoringCase(text, "true")) return kTrue;
  if (SameIgnoringCase(text, "false")) return kFalse;
  const std::optional<double> number = WholeNumberFromText(text);
  if (!number) return std::nullopt;
  return ToBool16(*number != 0);
}

std::string TextFromBool(Bool16 value) { return value != kFalse ? "True" : "False"; }

}  // namespace vantoscope
