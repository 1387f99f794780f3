// SPDX-License-Identifier: GPL-3.0-or-later
#include "groups/launch_tally.h"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace vantoscope {
namespace {

// A box holds no more; standard error has every failure.
constexpr std::size_t kSentencesInBox = 8;
constexpr std::size_t kRangesInLine = 8;

/// "1 to 4, 7 and 9", from rising numbers.
std::string RangesText(const std::vector<int>& numbers) {
  std::vector<std::string> ranges;
  std::size_t listed = 0;
  while (listed < numbers.size() && ranges.size() < kRangesInLine) {
    const std::size_t first = listed;
    while (++listed < numbers.size() && numbers[listed] == numbers[listed - 1] + 1) {
    }
    const std::size_t count = listed - first;
    if (count == 2) listed = first + 1;  // two in a row read better one by one
    ranges.push_back(std::to_string(numbers[first]));
    if (count > 2) ranges.back() += " to " + std::to_string(numbers[listed - 1]);
  }
  if (listed < numbers.size()) ranges.push_back(std::to_string(numbers.size() - listed) + " more");
  std::string text = ranges[0];
  for (std::size_t i = 1; i < ranges.size(); ++i) {
    text += (i + 1 == ranges.size() ? " and " : ", ") + ranges[i];
  }
  return text;
}

}  // namespace

void LaunchTally::Launched(int index, double now) {
  if (meters_.empty()) first_launch_ = now;
  meters_.try_emplace(index);
}

void LaunchTally::Started(int index) { Settle(index, State::Started, ""); }

void LaunchTally::Failed(int index, std::string sentence) {
  Settle(index, State::Failed, std::move(sentence));
}

void LaunchTally::Settle(int index, State state, std::string sentence) {
  if (!IsSilent(index)) return;
  meters_[index] = {state, std::move(sentence)};
  news_ |= state == State::Failed;
}

bool LaunchTally::IsSilent(int index) const {
  const auto meter = meters_.find(index);
  return meter != meters_.end() && meter->second.state == State::Silent;
}

bool LaunchTally::AnySilent() const {
  return std::ranges::any_of(meters_,
                             [](const auto& meter) { return meter.second.state == State::Silent; });
}

std::optional<std::string> LaunchTally::Tell(double now) {
  if (!news_ || (AnySilent() && !IsOverdue(now))) return std::nullopt;
  news_ = false;
  return Text();
}

std::string LaunchTally::Text() const {
  std::size_t failed = 0;
  std::vector<std::pair<std::string, std::vector<int>>> groups;  // by sentence, by lowest index
  for (const auto& [index, meter] : meters_) {
    if (meter.state != State::Failed) continue;
    ++failed;
    auto group = std::ranges::find(groups, meter.sentence, [](const auto& g) { return g.first; });
    if (group == groups.end()) group = groups.insert(group, {meter.sentence, {}});
    group->second.push_back(index);
  }

  std::string text = failed == meters_.size() ? "None" : std::to_string(failed);
  text += " of the " + std::to_string(meters_.size()) + " further meters of this group ";
  text += failed == meters_.size() ? "has started." : "did not start.";
  std::size_t told = 0;
  for (std::size_t i = 0; i < std::min(groups.size(), kSentencesInBox); ++i) {
    const auto& [sentence, indices] = groups[i];
    text += (indices.size() == 1 ? "\n\nIndex " : "\n\nIndices ") + RangesText(indices) + ": ";
    text += sentence;
    told += indices.size();
  }
  if (told < failed) {
    text += "\n\n" + std::to_string(failed - told) + " more; standard error has them all.";
  }
  return text;
}

}  // namespace vantoscope
