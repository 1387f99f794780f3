// SPDX-License-Identifier: GPL-3.0-or-later
// Any text over any channel list through the check, the normaliser, the preparation and two ticks,
// with the real evaluator behind them; and the text straight to the evaluator.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

#include "equation/completions.h"
#include "equation/equation_check.h"
#include "equation/equation_tick.h"
#include "equation/muparser_evaluator.h"
#include "equation/normaliser.h"
#include "equation/preparation.h"
#include "tests/support/spy.h"

namespace vantoscope {
namespace {

std::optional<double> ValueOf(Evaluator& evaluator, const std::string& text) {
  try {
    return evaluator.Evaluate(text);
  } catch (const EvaluationError&) {
    return std::nullopt;
  }
}

/// A text gives the same answer again, and leaves the evaluator able to give others.
void CheckEvaluator(Evaluator& evaluator, const std::string& text) {
  const std::optional<double> once = ValueOf(evaluator, text);
  if (ValueOf(evaluator, "(1.5-1.25)*1000.") != 250.0) std::abort();
  const std::optional<double> again = ValueOf(evaluator, text);
  if (once.has_value() != again.has_value()) std::abort();
  if (once && *once != *again && !(std::isnan(*once) && std::isnan(*again))) std::abort();
}

/// Whether the check has no error. What it says lies in the text.
bool IsRight(test::SpyMeter& spy, const std::string& text) {
  spy.Hold([](int j, int k) { return (j % 2 == 0 ? 1.5 : -2.5) * j + k; });
  EquationCheck check(spy.meter);
  bool right = true;
  for (const EquationFinding& finding : check.Findings(text)) {
    const Span where = finding.where;
    if (where.begin > where.end || where.end > text.size() || finding.sentence.empty()) {
      std::abort();
    }
    if (where.Size() == 0 && !text.empty()) std::abort();
    right &= finding.severity != EquationFinding::Severity::Error;
  }
  if (right) check.ValueNow();
  return right;
}

void CheckCompletions(Meter& meter, const std::string& text, std::size_t cursor) {
  const auto channels = OfferedChannels(meter, [](std::int16_t) { return "Tank"; });
  const Span word = CompletionsAt(text, cursor, channels).word;
  if (word.begin > cursor || word.end < cursor || word.end > text.size()) std::abort();
}

}  // namespace
}  // namespace vantoscope

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vantoscope;
  if (size < 3) return 0;
  static const std::unique_ptr<Evaluator> evaluator = CreateMuParserEvaluator();
  const std::string text(reinterpret_cast<const char*>(data) + 3, size - 3);
  CheckEvaluator(*evaluator, text);

  test::SpyMeter spy;
  Meter& meter = spy.meter;
  meter.runtime.ChannelsPerBank = data[0] % 2 == 0 ? 16 : 32;
  meter.runtime.EquationEngine = CreateMuParserEvaluator();
  meter.config.WindowSize = data[0] % 5;
  spy.channels.clear();
  for (int j = 0; j < data[1] % 64; ++j) {
    spy.channels.push_back({.number = static_cast<std::int16_t>(1 + j * (1 + data[2] % 19))});
  }
  spy.platform.CreateEvaluator = CreateMuParserEvaluator;
  CheckCompletions(meter, text, data[2] % (text.size() + 1));
  const bool right = IsRight(spy, text);
  const TracedText equation = NormaliseEquation(meter, text);
  if (PrepareEquation(meter, equation) != right) std::abort();
  spy.Hold([next = std::size_t{0}](int, int) mutable {  // every fetch finds other numbers
    constexpr double kValues[] = {1.5, -3, 0, 12, -.125, 1e-9, 1e300, NAN, INFINITY, -2.5, 100, 7};
    return kValues[next++ % std::size(kValues)];
  });
  meter.runtime.PreparedEquation = equation.Text();
  if (PrepareEquation(meter, equation) != spy.timer1) std::abort();
  EquationTick(meter);
  EquationTick(meter);
  return 0;
}
