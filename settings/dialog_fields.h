// SPDX-License-Identifier: GPL-3.0-or-later
// What the configuration dialog holds between filling and OK, as plain data named after its
// controls.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "meter/meter.h"

namespace vantoscope {

/// One member per control, in the form in which the control holds it: a check box as bool, a text
/// field as its text, a colour swatch as the colour of its text, the seven options as one choice.
/// Check4, TBCheck, CaptionCheck and BorderWidthText are never shown and travel with the rest.
struct DialogFields {
  bool Check4 = false;  ///< always on top
  Color FGLabel = 0;
  Color BGLabel = 0;
  Color HLLabel = 0;
  Color LLLabel = 0;
  std::string HLText;
  std::string LLText;
  std::string ChnIdxText;  ///< shown only; ApplyDialogFields does not read it
  bool EnableAlarmCheck = false;
  std::string CalText;      ///< the equation
  std::string CalUnitText;  ///< the unit of its result
  std::string WSText;
  bool TBCheck = false;  ///< tool window frame
  bool ShowUnitCheck = false;
  bool CaptionCheck = false;  ///< ShowCaption
  std::string BorderWidthText;
  std::string TransparencyText;
  /// The chosen option as its DataMethodValue; nothing where no option is set.
  std::optional<std::int16_t> Option;

  bool operator==(const DialogFields&) const = default;
};

/// What the dialog shows when it opens.
DialogFields FillDialogFields(const Meter& meter);

/// What OK takes: MeterConfig and ToolWindowFrame follow the fields, every number brought into its
/// range. A text without a number counts as 0. Without an option DataMethod stays.
void ApplyDialogFields(const DialogFields& fields, Meter& meter);

}  // namespace vantoscope
