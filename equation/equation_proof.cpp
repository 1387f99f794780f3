// SPDX-License-Identifier: GPL-3.0-or-later
#include "equation/equation_proof.h"

#include <algorithm>

#include "equation/fault_sentences.h"
#include "meter/fetch.h"

namespace vantoscope {
namespace {

/// Places behind the point in the first evaluation; the tick has one less.
constexpr std::string_view kFirstPicture = "#.#################";

/// Plain tokens beyond the channel list are looked for up to this index.
constexpr int kHighestMarkedIndex = 256;

bool Holds(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

/// A source that has no block yet must not keep the grammar from being proved: nothing then.
void FetchFirstBlock(Meter& meter) {
  std::optional<Block>& block = meter.runtime.DataBlock;
  block.reset();
  GuardedFetch(meter, meter.runtime.HistoryDepth + 1, kEngineeringUnits, block);
}

/// A sample of the first block, 0 without one. A statistic gets the plain sample here.
double FirstValue(const MeterRuntime& runtime, double rate, const EquationToken& token) {
  if (token.kind == EquationToken::Kind::Rate) return rate;
  const auto channel = static_cast<std::size_t>(token.channel);
  if (!runtime.DataBlock || channel >= runtime.DataBlock->Channels()) return 0;
  const int sample =
      token.kind == EquationToken::Kind::History ? runtime.HistoryDepth - token.depth : 0;
  return (*runtime.DataBlock)(channel, static_cast<std::size_t>(sample));
}

/// Index by index from the highest down; the rate last, as its token is the head of depth 0.
std::vector<EquationToken> FirstTokens(Meter& meter, const std::string& text) {
  const MeterRuntime& runtime = meter.runtime;
  TokenGatherer gatherer(text, runtime.StatisticNames);
  for (int j = meter.telvix.ChannelCount() - 1; j >= 0; --j) {
    const auto channel = static_cast<std::int16_t>(j);
    gatherer.AddSample(channel);
    gatherer.AddHistory(channel, runtime.HistoryDepth);
    if (runtime.NeedsStatistics > 0) gatherer.AddStatistics(channel);
  }
  gatherer.AddRate();
  return gatherer.Take();
}

}  // namespace

void FindNeeds(MeterRuntime& runtime, const std::string& equation) {
  runtime.NeedsStatistics =
      std::any_of(runtime.StatisticNames.begin(), runtime.StatisticNames.end(),
                  [&equation](const std::string& name) { return Holds(equation, "#" + name); })
          ? 1
          : 0;
  std::int16_t depth = kDeepestHistory;
  while (depth > 0 && !Holds(equation, HistoryPrefix(depth))) --depth;
  runtime.HistoryDepth = depth;
}

// Takes every token of the channel list out of the copy and looks for a `#` that is left. Plain
// tokens beyond the list are marked first, with a text that keeps its `#`: else `#12` in a list of
// 7 would pass as `#1` and a 2. `#@` goes after the tokens of depth 0, whose head it is.
std::vector<Span> UnknownTokens(const MeterRuntime& runtime, TracedText equation,
                                int channel_count) {
  for (int n = kHighestMarkedIndex; n >= channel_count; --n) {
    equation.ReplaceAll(SampleToken(n), "####");
  }
  for (int j = channel_count - 1; j >= 0; --j) equation.ReplaceAll(SampleToken(j), "");
  for (int j = channel_count - 1; j >= 0; --j) {
    for (int k = runtime.HistoryDepth; k >= 0; --k) {
      equation.ReplaceAll(HistoryPrefix(k) + std::to_string(j), "");
    }
  }
  equation.ReplaceAll("#@", "");
  if (runtime.NeedsStatistics > 0) {
    for (int j = channel_count - 1; j >= 0; --j) {
      for (const std::string& name : runtime.StatisticNames) {
        equation.ReplaceAll("#" + name + std::to_string(j), "");
      }
    }
  }
  std::vector<Span> unknown;
  const std::string& left = equation.Text();
  for (std::size_t at = left.find('#'); at != std::string::npos; at = left.find('#', at + 1)) {
    const Span where = equation.Origin(at, at + 1);
    if (unknown.empty() || unknown.back() != where) unknown.push_back(where);
  }
  return unknown;
}

EquationInNumbers WithFirstNumbers(Meter& meter, const TracedText& equation) {
  FetchFirstBlock(meter);
  const double rate = meter.telvix.SampleRate();
  EquationInNumbers numbers{equation, {}};
  for (const EquationToken& token : FirstTokens(meter, equation.Text())) {
    if (!Holds(numbers.text.Text(), token.text)) continue;
    const double value = FirstValue(meter.runtime, rate, token);
    for (const Span where : numbers.text.ReplaceAll(token.text, ValueText(value, kFirstPicture))) {
      numbers.uses.push_back({where, token, value});
    }
  }
  std::ranges::sort(numbers.uses, {}, [](const NumberUse& use) { return use.where.begin; });
  return numbers;
}

std::optional<EquationFault> EvaluationFault(Meter& meter, const EquationInNumbers& numbers) {
  try {
    meter.runtime.EquationEngine->Evaluate(numbers.text.Text());
    return std::nullopt;
  } catch (const EvaluationError& error) {
    return ExplainError(meter, numbers.text, error);
  }
}

}  // namespace vantoscope
