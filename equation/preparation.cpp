// SPDX-License-Identifier: GPL-3.0-or-later
#include "equation/preparation.h"

#include <algorithm>

#include "equation/text_replacement.h"
#include "equation/tokens.h"
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

/// What the ticks will need. Letter and name alone decide, whatever follows them.
void FindNeeds(MeterRuntime& runtime, const std::string& text) {
  runtime.NeedsStatistics =
      std::any_of(runtime.StatisticNames.begin(), runtime.StatisticNames.end(),
                  [&text](const std::string& name) { return Holds(text, "#" + name); })
          ? 1
          : 0;
  std::int16_t depth = kDeepestHistory;
  while (depth > 0 && !Holds(text, HistoryPrefix(depth))) --depth;
  runtime.HistoryDepth = depth;
}

/// Takes every token of this channel list out of a copy and looks for a `#` that is left. Plain
/// tokens beyond the list are marked first, with a text that keeps its `#`: else `#12` in a list
/// of 7 would pass as `#1` and a 2. `#@` goes after the tokens of depth 0, whose head it is.
bool EveryTokenExists(const MeterRuntime& runtime, std::string text, int channel_count) {
  for (int n = kHighestMarkedIndex; n >= channel_count; --n) {
    ReplaceAll(text, SampleToken(n), "####");
  }
  for (int j = channel_count - 1; j >= 0; --j) ReplaceAll(text, SampleToken(j), "");
  for (int j = channel_count - 1; j >= 0; --j) {
    for (int k = runtime.HistoryDepth; k >= 0; --k) {
      ReplaceAll(text, HistoryPrefix(k) + std::to_string(j), "");
    }
  }
  ReplaceAll(text, "#@", "");
  if (runtime.NeedsStatistics > 0) {
    for (int j = channel_count - 1; j >= 0; --j) {
      for (const std::string& name : runtime.StatisticNames) {
        ReplaceAll(text, "#" + name + std::to_string(j), "");
      }
    }
  }
  return !Holds(text, "#");
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

/// Why `text` has no value on real data, as the evaluator says it; nothing where it has one.
std::optional<std::string> EvaluationFault(Meter& meter, const std::string& text) {
  FetchFirstBlock(meter);
  const double rate = meter.telvix.SampleRate();
  const std::string numbers = Substitute(
      text, FirstTokens(meter, text), kFirstPicture,
      [&](const EquationToken& token) { return FirstValue(meter.runtime, rate, token); });
  try {
    meter.runtime.EquationEngine->Evaluate(numbers);
    return std::nullopt;
  } catch (const EvaluationError& error) {
    return error.what();
  }
}

bool Refuse(Meter& meter, const std::string& message, const std::string& sentence) {
  meter.ticks.refusal = sentence;
  meter.form.ShowMessage(MessageIcon::Critical, message, "");
  meter.telvix.Stop();
  meter.form.EnableTimer1(false);
  return false;
}

}  // namespace

bool PrepareEquation(Meter& meter, const std::string& text) {
  meter.telvix.Start();
  FindNeeds(meter.runtime, text);
  if (!EveryTokenExists(meter.runtime, text, meter.telvix.ChannelCount())) {
    const std::string message = "Channel(s) not found in Telvix (" + text + ")";
    return Refuse(meter, message, message);
  }
  meter.telvix.Start();
  if (const auto fault = EvaluationFault(meter, text)) {
    return Refuse(meter, "Failed to evaluate the equation. Please fix the error and start again",
                  "Failed to evaluate the equation: " + *fault);
  }
  meter.ticks.refusal.clear();
  meter.form.EnableTimer1(true);
  return true;
}

}  // namespace vantoscope
