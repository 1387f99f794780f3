// SPDX-License-Identifier: GPL-3.0-or-later
// What is wrong with an equation while it is being written, and what in it means something else
// than it looks. Works on a copy of the meter: neither the source is started or stopped, nor
// anything shown, nor the running equation touched.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "equation/traced_text.h"
#include "meter/meter.h"

namespace vantoscope {

struct EquationFinding {
  enum class Severity {
    Error,    ///< the meter would refuse the equation
    Warning,  ///< it would take it, and mean something else than it looks
  };

  Severity severity;
  Span where;  ///< in the equation, in bytes; at least a character
  std::string sentence;

  bool operator==(const EquationFinding&) const = default;
};

class EquationCheck {
 public:
  /// `meter` has started up and outlives this.
  explicit EquationCheck(Meter& meter);

  /// In the order of the text. Without an error PrepareEquation would take the equation on the
  /// data of this moment. Nothing where the source fails.
  std::vector<EquationFinding> Findings(const std::string& equation);
  /// What a tick would make of the equation that Findings had last, which had no error; nothing
  /// where there are no data now.
  std::optional<double> ValueNow();

  /// The copy, whose settings the value goes by.
  Meter& Copy() { return copy_; }

 private:
  Meter copy_;
};

}  // namespace vantoscope
