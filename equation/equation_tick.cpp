// SPDX-License-Identifier: GPL-3.0-or-later
#include "equation/equation_tick.h"

#include "equation/fault_sentences.h"
#include "equation/tokens.h"
#include "equation/traced_text.h"
#include "meter/fetch.h"
#include "reduction/statistics.h"

namespace vantoscope {
namespace {

constexpr std::string_view kTickPicture = "#.################";

/// Both blocks of a tick; false when there is nothing to compute from.
bool FetchBlocks(Meter& meter, std::optional<Block>& history) {
  MeterRuntime& runtime = meter.runtime;
  const bool statistics = runtime.NeedsStatistics > 0;
  if (statistics &&
      !GuardedFetch(meter, meter.config.WindowSize, kEngineeringUnits, runtime.StatisticBlock)) {
    return false;
  }
  if (!GuardedFetch(meter, runtime.HistoryDepth + 1, kEngineeringUnits, history)) {
    return false;
  }
  return history && (!statistics || runtime.StatisticBlock);
}

/// Index by index from the highest down; the rate last, as its token is the head of depth 0.
std::vector<EquationToken> GatherTokens(const MeterRuntime& runtime, std::int16_t channel_count) {
  TokenGatherer gatherer(runtime.PreparedEquation, runtime.StatisticNames);
  for (int j = channel_count - 1; j >= 0; --j) {
    const auto channel = static_cast<std::int16_t>(j);
    gatherer.AddSample(channel);
    if (runtime.NeedsStatistics > 0) gatherer.AddStatistics(channel);
    gatherer.AddHistory(channel, runtime.HistoryDepth);
  }
  gatherer.AddRate();
  return gatherer.Take();
}

/// Gathered again only when something they come from has changed.
const std::vector<EquationToken>& CurrentTokens(MeterRuntime& runtime, std::int16_t channel_count) {
  if (!runtime.EquationTokens) runtime.EquationTokens = std::make_shared<TickTokens>();
  TickTokens& kept = *runtime.EquationTokens;
  const bool statistics = runtime.NeedsStatistics > 0;
  if (kept.channel_count != channel_count || kept.history_depth != runtime.HistoryDepth ||
      kept.statistics != statistics || kept.equation != runtime.PreparedEquation) {
    kept = {.equation = runtime.PreparedEquation,
            .channel_count = channel_count,
            .history_depth = runtime.HistoryDepth,
            .statistics = statistics,
            .tokens = GatherTokens(runtime, channel_count)};
  }
  return kept.tokens;
}

bool Covers(const std::optional<Block>& block, std::int16_t channel_count) {
  return !block || block->Channels() >= static_cast<std::size_t>(channel_count);
}

}  // namespace

bool EquationTick(Meter& meter) {
  MeterRuntime& runtime = meter.runtime;
  std::optional<Block> history;
  if (!FetchBlocks(meter, history)) return false;
  const double rate = meter.telvix.SampleRate();
  const std::int16_t channel_count = meter.telvix.ChannelCount();
  if (!Covers(history, channel_count) ||
      (runtime.NeedsStatistics > 0 && !Covers(runtime.StatisticBlock, channel_count))) {
    return false;
  }

  const double before = runtime.Reading;  // the statistics work in Reading
  const auto with_numbers = [&]<class Text>(const Text& equation) {
    return Substitute(equation, CurrentTokens(runtime, channel_count), kTickPicture,
                      [&](const EquationToken& token) {
                        switch (token.kind) {
                          case EquationToken::Kind::Rate:
                            return rate;
                          case EquationToken::Kind::Statistic:
                            return ChannelStatistic(meter, token.statistic, token.channel,
                                                    runtime.StatisticBlock);
                          default:
                            return (*history)(
                                static_cast<std::size_t>(token.channel),
                                static_cast<std::size_t>(runtime.HistoryDepth - token.depth));
                        }
                      });
  };
  try {
    runtime.Reading = runtime.EquationEngine->Evaluate(with_numbers(runtime.PreparedEquation));
    return true;
  } catch (const EvaluationError& error) {
    const bool proven =
        runtime.ProvenEquation && runtime.ProvenEquation->Text() == runtime.PreparedEquation;
    const TracedText equation =
        proven ? *runtime.ProvenEquation : TracedText(runtime.PreparedEquation);
    const EquationFault fault = ExplainError(meter, with_numbers(equation), error);
    meter.ticks.failure =
        "the equation has no value now (" + ReasonWithPlace(fault, equation.Typed()) + ")";
    runtime.Reading = before;
    return false;
  }
}

}  // namespace vantoscope
