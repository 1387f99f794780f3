// SPDX-License-Identifier: GPL-3.0-or-later
#include "equation/preparation.h"

#include <memory>

#include "equation/equation_proof.h"
#include "equation/fault_sentences.h"

namespace vantoscope {
namespace {

bool Refuse(Meter& meter, const std::string& message, const std::string& sentence) {
  meter.ticks.refusal = sentence;
  meter.form.ShowMessage(MessageIcon::Critical, message, "");
  meter.telvix.Stop();
  meter.form.EnableTimer1(false);
  return false;
}

}  // namespace

bool PrepareEquation(Meter& meter, const TracedText& equation) {
  meter.telvix.Start();
  FindNeeds(meter.runtime, equation.Text());
  const auto unknown = UnknownTokens(meter.runtime, equation, meter.telvix.ChannelCount());
  if (!unknown.empty()) {
    const std::string message = "Channel(s) not found in Telvix (" + equation.Text() + ")";
    const EquationFault fault = ExplainUnknownToken(meter, equation, unknown.front());
    return Refuse(meter, message, message + ": " + ReasonWithPlace(fault, equation.Typed()));
  }
  meter.telvix.Start();
  if (const auto fault = EvaluationFault(meter, WithFirstNumbers(meter, equation))) {
    return Refuse(meter, "Failed to evaluate the equation. Please fix the error and start again",
                  "Failed to evaluate the equation: " + ReasonWithPlace(*fault, equation.Typed()));
  }
  meter.ticks.refusal.clear();
  meter.runtime.ProvenEquation = std::make_shared<const TracedText>(equation);
  meter.form.EnableTimer1(true);
  return true;
}

}  // namespace vantoscope
