// SPDX-License-Identifier: GPL-3.0-or-later
// What the configuration dialog knows of the equation in it, of the meter that it belongs to.
#pragma once

#include <string>
#include <vector>

#include "equation/completions.h"
#include "equation/equation_check.h"
#include "settings/dialog_fields.h"

namespace vantoscope {

class EquationHelp {
 public:
  /// `meter` outlives this; `name_of` tells what the device calls a channel.
  EquationHelp(Meter& meter, const std::function<std::string(std::int16_t)>& name_of);

  [[nodiscard]] const std::vector<OfferedChannel>& Channels() const { return channels_; }
  std::vector<EquationFinding> Findings(const std::string& equation) {
    return check_.Findings(equation);
  }
  /// What the equation that Findings had last, which had no error, gives now, with the unit and
  /// over the window of `fields`; or why it gives nothing. One line.
  std::string ValueNow(const DialogFields& fields);

 private:
  EquationCheck check_;
  std::vector<OfferedChannel> channels_;
};

}  // namespace vantoscope
