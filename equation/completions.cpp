// SPDX-License-Identifier: GPL-3.0-or-later
#include "equation/completions.h"

#include <algorithm>
#include <array>

#include "equation/functions.h"
#include "equation/normaliser.h"
#include "equation/references.h"
#include "equation/tokens.h"
#include "meter/channel_number.h"
#include "text/characters.h"
#include "text/picture.h"

namespace vantoscope {
namespace {

struct Suffix {
  std::string_view name;
  std::string_view meaning;
};
constexpr auto kSuffixMeanings = std::to_array<Suffix>({
    {"MIN", "lowest of the window"},
    {"MAX", "highest of the window"},
    {"AVE", "mean of the window"},
    {"RMS", "root mean square of the window"},
    {"ACRMS", "root mean square without the mean"},
});
static_assert(kSuffixMeanings.size() == kSuffixes);

bool IsNameCharacter(char c) { return IsLetter(c) || IsDigit(c) || c == '_'; }

std::string MeaningOf(Meter& meter, std::int16_t index, const std::string& name) {
  const auto number = [&](double value) {
    return FormatPicture(value, "", meter.runtime.DecimalSep);
  };
  const std::string_view special = SpecialName(meter.telvix.ChannelNumber(index));
  std::string meaning = name;
  if (!special.empty() && !SameIgnoringCase(special, name)) {
    meaning += (name.empty() ? "" : ", ") + std::string(special);
  }
  const std::string unit = meter.telvix.EngUnit(index);
  return meaning + (meaning.empty() ? "" : ", ") + number(meter.telvix.ScaleLow(index)) + " to " +
         number(meter.telvix.ScaleHigh(index)) + (unit.empty() ? "" : " " + unit);
}

bool StartsWith(std::string_view text, std::string_view front) {
  return SameIgnoringCase(text.substr(0, front.size()), front);
}

bool HoldsIgnoringCase(std::string_view text, std::string_view part) {
  for (std::size_t at = 0; at + part.size() <= text.size(); ++at) {
    if (SameIgnoringCase(text.substr(at, part.size()), part)) return true;
  }
  return false;
}

/// Where the reference to a past or to a place that ends at `cursor` begins; `cursor` if none does.
std::size_t ReferenceBegin(std::string_view equation, std::size_t cursor) {
  const std::string_view front = equation.substr(0, cursor);
  const std::size_t bracket = front.rfind('[');
  if (bracket != std::string_view::npos && bracket >= 2 &&
      SameIgnoringCase(front.substr(bracket - 2, 2), "CH") &&
      std::ranges::all_of(front.substr(bracket + 1),
                          [](char c) { return IsNameCharacter(c) || c == '-' || c == ']'; })) {
    return bracket - 2;
  }
  return cursor;
}

Span WordAt(std::string_view equation, std::size_t cursor) {
  Span word{ReferenceBegin(equation, cursor), cursor};
  if (word.begin == cursor) {
    while (word.begin > 0 && IsNameCharacter(equation[word.begin - 1])) --word.begin;
    if (word.begin > 0 && equation[word.begin - 1] == '#') {
      --word.begin;
    } else {  // a number in front is none of the name
      while (word.begin < cursor && IsDigit(equation[word.begin])) ++word.begin;
    }
  }
  while (word.end < equation.size() && IsNameCharacter(equation[word.end])) ++word.end;
  return word;
}

/// Gathers what fits the part of the word before the cursor.
class Offers {
 public:
  Offers(std::string_view typed, const std::vector<OfferedChannel>& channels)
      : typed_(typed), channels_(channels) {}

  std::vector<Completion> Take() {
    if (typed_.find('[') != std::string_view::npos) {
      AddPast();
    } else {
      AddChannels();
      AddPlaces();
      if (!typed_.starts_with('#')) AddNames();
      AddByMeaning();
    }
    return std::move(items_);
  }

 private:
  void Add(std::string text, std::string shown, std::string_view meaning) {
    items_.push_back({std::move(text), std::move(shown), std::string(meaning)});
  }
  void AddIfBegun(const std::string& text, const std::string& arguments, std::string_view meaning) {
    if (StartsWith(text, typed_)) Add(text + arguments.substr(0, 1), text + arguments, meaning);
  }

  /// The channels, and behind one that is written out what can follow it.
  void AddChannels() {
    for (const OfferedChannel& channel : channels_) {
      if (channel.label.empty()) continue;
      const std::string reference = "CH" + channel.label;
      AddIfBegun(reference, "", channel.meaning);
      if (typed_.size() < reference.size() || !StartsWith(typed_, reference)) continue;
      for (const Suffix& suffix : kSuffixMeanings) {
        AddIfBegun(reference + std::string(suffix.name), "", suffix.meaning);
      }
    }
    if (StartsWith("CH[T-", typed_)) {
      Add("CH[T-", "CH[T-5]...", "a channel some scans ago, 0 to 26");
    }
  }

  /// By the place in the list: the frequencies, and the channels that have no label.
  void AddPlaces() {
    for (const OfferedChannel& channel : channels_) {
      if (!channel.label.empty() || !(typed_.starts_with('#') || StartsWith("CH", typed_)))
        continue;
      const std::string place = SampleToken(channel.index);
      if (!typed_.starts_with('#') || StartsWith(place, typed_)) Add(place, place, channel.meaning);
    }
    for (const OfferedChannel& channel : channels_) {
      const std::string frequency = "#freq" + std::to_string(channel.index);
      if (StartsWith(frequency, typed_) || (!typed_.empty() && StartsWith("freq", typed_))) {
        Add(frequency, frequency, "frequency of " + channel.meaning);
      }
    }
  }

  void AddNames() {
    AddIfBegun("RATE", "", "scans per second");
    for (const Function& function : Functions()) {
      AddIfBegun(std::string(function.name), std::string(function.arguments), function.meaning);
    }
    for (const Constant& constant : Constants()) {
      AddIfBegun(std::string(constant.name), "", constant.meaning);
    }
  }

  /// Channels whose name holds what is typed.
  void AddByMeaning() {
    constexpr std::size_t kFewest = 3;
    if (typed_.size() < kFewest || typed_.starts_with('#') || StartsWith(typed_, "CH")) return;
    for (const OfferedChannel& channel : channels_) {
      if (!HoldsIgnoringCase(channel.meaning, typed_)) continue;
      const std::string text =
          channel.label.empty() ? SampleToken(channel.index) : "CH" + channel.label;
      Add(text, text, channel.meaning);
    }
  }

  /// Inside the brackets the scans, behind them the channels.
  void AddPast() {
    const std::size_t close = typed_.find(']');
    if (close == std::string_view::npos) {
      for (int k = 0; k <= kDeepestHistory; ++k) {
        AddIfBegun(
            "CH[T-" + std::to_string(k) + "]", "",
            k == 0 ? "the newest scan" : std::to_string(k) + (k == 1 ? " scan ago" : " scans ago"));
      }
      return;
    }
    for (const OfferedChannel& channel : channels_) {
      if (channel.label.empty()) continue;
      AddIfBegun(std::string(typed_.substr(0, close + 1)) + channel.label, "", channel.meaning);
    }
  }

  std::string_view typed_;
  const std::vector<OfferedChannel>& channels_;
  std::vector<Completion> items_;
};

}  // namespace

std::vector<OfferedChannel> OfferedChannels(
    Meter& meter, const std::function<std::string(std::int16_t)>& name_of) {
  const ChannelLabels labels(meter);
  std::vector<OfferedChannel> channels;
  const std::int16_t count = meter.telvix.ChannelCount();
  for (std::int16_t index = 0; index < count; ++index) {
    channels.push_back({index, labels.LabelAt(index), MeaningOf(meter, index, name_of(index))});
  }
  return channels;
}

CompletionList CompletionsAt(std::string_view equation, std::size_t cursor,
                             const std::vector<OfferedChannel>& channels) {
  cursor = std::min(cursor, equation.size());
  CompletionList list{.word = WordAt(equation, cursor), .items = {}};
  const std::string_view typed = equation.substr(list.word.begin, cursor - list.word.begin);
  const char before = list.word.begin > 0 ? equation[list.word.begin - 1] : ' ';
  if (before == '_' || (typed.empty() && (IsDigit(before) || before == '.'))) return list;
  if (IsDigit(before) && StartsWith("e", typed) && typed.size() == 1) return list;  // an exponent
  list.items = Offers(typed, channels).Take();
  const std::string_view word = equation.substr(list.word.begin, list.word.Size());
  list.whole = std::ranges::any_of(list.items, [&](const Completion& c) { return c.text == word; });
  std::stable_partition(list.items.begin(), list.items.end(),
                        [&](const Completion& c) { return c.text == word; });
  if (list.word.end < equation.size() && equation[list.word.end] == '(') {
    for (Completion& item : list.items) {
      if (item.text.ends_with('(')) item.text.pop_back();
    }
  }
  return list;
}

}  // namespace vantoscope
