// SPDX-License-Identifier: GPL-3.0-or-later
#include "equation/normaliser.h"

#include <algorithm>
#include <vector>

#include "equation/tokens.h"
#include "meter/channel_label.h"
#include "text/characters.h"

namespace vantoscope {
namespace {

std::string UpperCase(std::string text) {
  for (char& c : text) c = Upper(c);
  return text;
}

}  // namespace

std::vector<LabelledChannel> LabelledChannels(Meter& meter) {
  const std::int16_t count = meter.telvix.ChannelCount();
  std::vector<LabelledChannel> channels;
  channels.reserve(static_cast<std::size_t>(std::max<std::int16_t>(count, 0)));
  for (std::int16_t j = 0; j < count; ++j) {
    channels.push_back({j, meter.telvix.ChannelNumber(j), ""});
  }
  if (channels.empty()) return channels;
  const std::int16_t top = std::max(channels.front().number, channels.back().number);
  std::erase_if(channels,
                [top](const LabelledChannel& c) { return c.number < 1 || c.number > top; });
  std::sort(channels.begin(), channels.end(),
            [](const LabelledChannel& a, const LabelledChannel& b) {
              return a.number != b.number ? a.number > b.number : a.index > b.index;
            });
  for (LabelledChannel& channel : channels) {
    channel.label = ChannelLabel(channel.number, meter.runtime.ChannelsPerBank);
  }
  return channels;
}

std::string SuffixOf(std::string_view statistic) { return UpperCase(std::string(statistic)); }

namespace {

/// Labels to list indices. The forms `ch` and `}` mark a finished reference, so that no later label
/// reads its index as a label; the highest number comes first, so that CH12 goes before CH1.
void ReplaceLabels(TracedText& text, Meter& meter) {
  for (const LabelledChannel& channel : LabelledChannels(meter)) {
    const std::string index = std::to_string(channel.index);
    ReplaceAll(text, "CH" + channel.label, "ch" + index);
    ReplaceAll(text, "]" + channel.label, "}" + index);
  }
  ReplaceAll(text, "}", "]");
  ReplaceAll(text, "ch", "CH");
}

void ReplaceHistory(TracedText& text) {
  for (int k = kDeepestHistory; k >= 0; --k) {
    ReplaceAll(text, "CH[T-" + std::to_string(k) + "]", HistoryPrefix(k));
  }
}

void ReplaceStatistics(TracedText& text, Meter& meter) {
  for (int j = meter.telvix.ChannelCount() - 1; j >= 0; --j) {
    for (std::size_t s = 0; s < kSuffixes; ++s) {
      const std::string& name = meter.runtime.StatisticNames[s];
      ReplaceAll(text, SampleToken(j) + SuffixOf(name), "#" + name + std::to_string(j));
    }
  }
}

}  // namespace

// The order is the language: the history pass needs the CH that the next but one takes away, and a
// statistic is known by the finished `#` and index.
TracedText NormaliseOnRunningSource(Meter& meter, std::string_view text) {
  TracedText result{std::string(text)};
  ReplaceLabels(result, meter);
  ReplaceHistory(result);
  ReplaceAll(result, "RATE", "#@");
  ReplaceAll(result, "CH", "#");
  ReplaceStatistics(result, meter);
  return result;
}

TracedText NormaliseEquation(Meter& meter, std::string_view text) {
  meter.telvix.Start();
  return NormaliseOnRunningSource(meter, text);
}

}  // namespace vantoscope
