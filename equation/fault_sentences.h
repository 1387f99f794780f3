// SPDX-License-Identifier: GPL-3.0-or-later
// Why an equation does not run, in the words of whoever wrote it.
#pragma once

#include <string>
#include <string_view>

#include "equation/equation_proof.h"
#include "equation/traced_text.h"
#include "meter/meter.h"

namespace vantoscope {

/// Of a `#` that stands for the part `where` of what was typed and names nothing.
EquationFault ExplainUnknownToken(Meter& meter, const TracedText& equation, Span where);

/// Of a text with numbers that the evaluator refuses.
EquationFault ExplainError(Meter& meter, const TracedText& numbers, const EvaluationError& error);

/// "at character 5", counted from 1 in characters, or "at the end".
std::string PlaceText(Span where, std::string_view typed);

/// "the name sine is unknown (did you mean sin?), at character 5"
std::string ReasonWithPlace(const EquationFault& fault, std::string_view typed);

}  // namespace vantoscope
