// SPDX-License-Identifier: GPL-3.0-or-later
#include "equation/normaliser.h"

#include <algorithm>
#include <vector>

#include "equation/text_replacement.h"
#include "equation/tokens.h"
#include "meter/channel_label.h"
#include "text/characters.h"

namespace vantoscope {
namespace {

struct ListedChannel {
  std::int16_t index;
  std::int16_t number;
};

/// The numbers that labels can name, highest first, and of equal numbers the higher index first.
/// The first and the last entry of the list bound them, whatever stands between.
std::vector<ListedChannel> ChannelsByNumber(Telvix1& telvix) {
  const std::int16_t count = telvix.ChannelCount();
  std::vector<ListedChannel> channels;
  channels.reserve(static_cast<std::size_t>(std::max<std::int16_t>(count, 0)));
  for (std::int16_t j = 0; j < count; ++j) channels.push_back({j, telvix.ChannelNumber(j)});
  if (channels.empty()) return channels;
  const std::int16_t top = std::max(channels.front().number, channels.back().number);
  std::erase_if(channels, [top](const ListedChannel& c) { return c.number < 1 || c.number > top; });
  std::sort(channels.begin(), channels.end(), [](const ListedChannel& a, const ListedChannel& b) {
    return a.number != b.number ? a.number > b.number : a.index > b.index;
  });
  return channels;
}

std::string UpperCase(std::string text) {
  for (char& c : text) c = Upper(c);
  return text;
}

/// Labels to list indices. The forms `ch` and `}` mark a finished reference, so that no later label
/// reads its index as a label; the highest number comes first, so that CH12 goes before CH1.
void ReplaceLabels(std::string& text, Meter& meter) {
  for (const ListedChannel& channel : ChannelsByNumber(meter.telvix)) {
    const std::string label = ChannelLabel(channel.number, meter.runtime.ChannelsPerBank);
    const std::string index = std::to_string(channel.index);
    ReplaceAll(text, "CH" + label, "ch" + index);
    ReplaceAll(text, "]" + label, "}" + index);
  }
  ReplaceAll(text, "}", "]");
  ReplaceAll(text, "ch", "CH");
}

void ReplaceHistory(std::string& text) {
  for (int k = kDeepestHistory; k >= 0; --k) {
    ReplaceAll(text, "CH[T-" + std::to_string(k) + "]", HistoryPrefix(k));
  }
}

/// Five names: the frequency has no suffix.
void ReplaceStatistics(std::string& text, Meter& meter) {
  for (int j = meter.telvix.ChannelCount() - 1; j >= 0; --j) {
    for (std::size_t s = 0; s < 5; ++s) {
      const std::string& name = meter.runtime.StatisticNames[s];
      ReplaceAll(text, SampleToken(j) + UpperCase(name), "#" + name + std::to_string(j));
    }
  }
}

}  // namespace

// The order is the language: the history pass needs the CH that the next but one takes away, and a
// statistic is known by the finished `#` and index.
std::string NormaliseEquation(Meter& meter, std::string_view text) {
  std::string result(text);
  meter.telvix.Start();
  ReplaceLabels(result, meter);
  ReplaceHistory(result);
  ReplaceAll(result, "RATE", "#@");
  ReplaceAll(result, "CH", "#");
  ReplaceStatistics(result, meter);
  return result;
}

}  // namespace vantoscope
