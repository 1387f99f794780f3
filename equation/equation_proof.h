// SPDX-License-Identifier: GPL-3.0-or-later
// Whether a normalised equation can run on this channel list and these data, and if not, where and
// why. Shows nothing, and neither starts nor stops the source.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "equation/tokens.h"
#include "equation/traced_text.h"
#include "meter/meter.h"

namespace vantoscope {

/// What keeps an equation from running.
struct EquationFault {
  Span where;          ///< part of the text as it was typed; empty at its end
  std::string reason;  ///< the end of a sentence
};

/// A token in the equation and the number in its place.
struct NumberUse {
  Span where;  ///< part of the text as it was typed
  EquationToken token;
  double value;
};

/// An equation with numbers in the place of its tokens, which stand in the order of the text.
struct EquationInNumbers {
  TracedText text;
  std::vector<NumberUse> uses;
};

/// Sets NeedsStatistics and HistoryDepth. Letter and name alone decide, whatever follows them.
void FindNeeds(MeterRuntime& runtime, const std::string& equation);

/// The tokens that name nothing in a list of `channel_count` channels. Rests on FindNeeds.
std::vector<Span> UnknownTokens(const MeterRuntime& runtime, TracedText equation,
                                int channel_count);

/// The numbers of the newest data, which are fetched into DataBlock; 0 for a sample where there
/// are none. A statistic gets the plain sample. Rests on FindNeeds.
EquationInNumbers WithFirstNumbers(Meter& meter, const TracedText& equation);

/// Why the evaluator gives no value; nothing where it gives one.
std::optional<EquationFault> EvaluationFault(Meter& meter, const EquationInNumbers& numbers);

}  // namespace vantoscope
