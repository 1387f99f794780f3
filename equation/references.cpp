// SPDX-License-Identifier: GPL-3.0-or-later
#include "equation/references.h"

#include <algorithm>

#include "text/characters.h"

namespace vantoscope {
namespace {

/// Ranges of labels that a sentence names before it breaks off.
constexpr int kMostRanges = 4;

std::size_t DigitsAt(std::string_view text, std::size_t at) {
  std::size_t end = at;
  while (end < text.size() && IsDigit(text[end])) ++end;
  return end - at;
}

std::size_t LabelSize(std::string_view text, std::size_t at) {
  const std::size_t letter = at < text.size() && IsCapital(text[at]) ? 1 : 0;
  const std::size_t digits = DigitsAt(text, at + letter);
  return digits == 0 ? 0 : letter + digits;
}

std::string_view BankOf(std::string_view label) {
  return label.substr(0, label.find_last_not_of("0123456789") + 1);
}

bool Follow(const LabelledChannel& one, const LabelledChannel& next) {
  return next.number == one.number + 1 && BankOf(one.label) == BankOf(next.label);
}

}  // namespace

std::optional<Reference> ReadReference(std::string_view text) {
  constexpr std::size_t kKeyword = 2;
  if (!SameIgnoringCase(text.substr(0, kKeyword), "CH")) return std::nullopt;
  Reference reference{.keyword = text.substr(0, kKeyword), .past = {}, .label = {}};
  std::size_t at = kKeyword;
  if (at < text.size() && text[at] == '[') {
    const std::size_t close = text.find(']', at);
    const std::size_t end = close == std::string_view::npos ? text.size() : close + 1;
    reference.past = text.substr(at, end - at);
    at = end;
  }
  reference.label = text.substr(at, LabelSize(text, at));
  reference.size = at + reference.label.size();
  return reference;
}

bool ChannelLabels::Has(std::string_view label) const {
  return std::ranges::find(channels_, label, &LabelledChannel::label) != channels_.end();
}

std::string ChannelLabels::LabelAt(std::int16_t index) const {
  const auto found = std::ranges::find(channels_, index, &LabelledChannel::index);
  return found == channels_.end() ? "" : found->label;
}

std::string ChannelLabels::Written(const EquationToken& token) const {
  const std::string label = LabelAt(token.channel);
  switch (token.kind) {
    case EquationToken::Kind::Rate:
      return "RATE";
    case EquationToken::Kind::Sample:
      return label.empty() ? token.text : "CH" + label;
    case EquationToken::Kind::History:
      return label.empty() ? token.text : "CH[T-" + std::to_string(token.depth) + "]" + label;
    case EquationToken::Kind::Statistic:
      break;
  }
  const auto statistic = static_cast<std::size_t>(token.statistic);
  if (label.empty() || statistic >= kSuffixes) return token.text;
  return "CH" + label + SuffixOf(names_[statistic]);
}

std::string ChannelLabels::Text() const {
  std::string text;
  int ranges = 0;
  for (auto first = channels_.rbegin(); first != channels_.rend();) {
    auto last = first;
    while (std::next(last) != channels_.rend() && Follow(*last, *std::next(last))) ++last;
    if (!text.empty()) text += ", ";
    if (++ranges > kMostRanges) return text + "...";
    text += first->label;
    if (first != last) text += " to " + last->label;
    first = std::next(last);
  }
  return text;
}

}  // namespace vantoscope
