// SPDX-License-Identifier: GPL-3.0-or-later
// The tokens of a normalised equation: `#2` the newest sample of list index 2, `#B2` two scans
// before it, `#min2` a statistic, `#@` the sample rate. An index has no end mark: that `#12` is not
// `#1` and a 2 rests on the order of replacement alone.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace vantoscope {

/// The deepest history that a letter can name, in scans before the newest.
inline constexpr std::int16_t kDeepestHistory = 26;

struct EquationToken {
  enum class Kind { Sample, Statistic, History, Rate };

  std::string text;
  Kind kind = Kind::Rate;
  std::int16_t channel = 0;    ///< list index
  std::int16_t depth = 0;      ///< history: scans before the newest
  std::int16_t statistic = 0;  ///< statistic: index into StatisticNames
};

/// `#` and the list index.
std::string SampleToken(int channel);
/// `#` and the letter of `depth`: 0 is @, 1 is A, 26 is Z.
std::string HistoryPrefix(int depth);

/// Gathers tokens in the order in which they are to be replaced, and leaves out those that can
/// never occur while they are replaced one after the other in `text`.
class TokenGatherer {
 public:
  TokenGatherer(std::string_view text, const std::array<std::string, 6>& statistic_names);

  void AddSample(std::int16_t channel);
  /// All six, in the order of their names.
  void AddStatistics(std::int16_t channel);
  /// From `deepest` down to the newest scan.
  void AddHistory(std::int16_t channel, std::int16_t deepest);
  void AddRate();

  [[nodiscard]] std::vector<EquationToken> Take() { return std::move(tokens_); }

 private:
  void Add(EquationToken token);

  std::string_view text_;
  const std::array<std::string, 6>& statistic_names_;
  bool any_can_form_;
  std::vector<EquationToken> tokens_;
};

/// A number as it stands in the place of a token: by `picture`, with a point in any locale and
/// nothing around it.
std::string ValueText(double value, std::string_view picture);

/// `text`, a std::string or a TracedText, with `tokens` replaced one after the other by the value
/// text of what `value_of` answers. A token that does not occur is not asked for.
template <class Text>
Text Substitute(Text text, const std::vector<EquationToken>& tokens, std::string_view picture,
                const std::function<double(const EquationToken&)>& value_of);

/// The tokens of the tick, kept from tick to tick with everything they were gathered from.
struct TickTokens {
  std::string equation;
  std::int16_t channel_count = -1;
  std::int16_t history_depth = -1;
  bool statistics = false;
  std::vector<EquationToken> tokens;
};

}  // namespace vantoscope
