// SPDX-License-Identifier: GPL-3.0-or-later
#include "equation/fault_sentences.h"

#include <algorithm>
#include <vector>

#include "equation/functions.h"
#include "equation/references.h"
#include "equation/spelling.h"
#include "text/characters.h"
#include "text/utf8.h"

namespace vantoscope {
namespace {

bool IsNumber(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), IsDigit);
}

std::string Places(Meter& meter) {
  return "places 0 to " + std::to_string(meter.telvix.ChannelCount() - 1);
}

/// Of a past that is not `[T-` with 0 to 26 and `]`.
std::string PastReason(std::string_view past) {
  if (!past.ends_with(']')) return "the bracket of the past is never closed: CH[T-5]1";
  constexpr std::string_view kFront = "[T-";
  if (past.starts_with("[T\u2212"))
    return "the minus of the past is the one of the keyboard: CH[T-5]1";
  if (!past.starts_with(kFront)) return "the past is written CH[T-5]1, with 0 to 26 scans";
  const std::string_view depth = past.substr(kFront.size(), past.size() - kFront.size() - 1);
  if (!IsNumber(depth)) return "the past is written CH[T-5]1, with 0 to 26 scans";
  if (depth.size() > 1 && depth[0] == '0') {
    const std::size_t first = std::min(depth.find_first_not_of('0'), depth.size() - 1);
    return "the past has no leading zero: CH[T-" + std::string(depth.substr(first)) + "]";
  }
  return "the past reaches back " + std::to_string(kDeepestHistory) + " scans at most";
}

bool IsPast(std::string_view past) {
  for (int k = 0; k <= kDeepestHistory; ++k) {
    if (past == "[T-" + std::to_string(k) + "]") return true;
  }
  return false;
}

std::string ReferenceReason(Meter& meter, const Reference& reference) {
  if (!reference.past.empty() && !IsPast(reference.past)) return PastReason(reference.past);
  const std::string label(reference.label);
  if (reference.keyword != "CH" && IsNumber(label) && reference.past.empty()) {
    return "small letters name a place of the list, and there is no place " + label + " (" +
           Places(meter) + ")";
  }
  const std::string labels = ChannelLabels(meter).Text();
  if (label.empty()) {
    return std::string(reference.keyword) + " stands before the label of a channel (" + labels +
           ")";
  }
  return "channel " + label + " is not in the list (" + labels + ")";
}

std::string TokenReason(Meter& meter, std::string_view text) {
  std::size_t size = 1;
  while (size < text.size() && (IsLetter(text[size]) || IsDigit(text[size]) || text[size] == '@')) {
    ++size;
  }
  return std::string(text.substr(0, size)) + " names nothing in the list (" + Places(meter) + ")";
}

/// Every name that an equation may hold and that is no reference.
std::vector<std::string_view> EveryName() {
  std::vector<std::string_view> names;
  for (const Function& function : Functions()) names.push_back(function.name);
  for (const Constant& constant : Constants()) names.push_back(constant.name);
  names.emplace_back("RATE");
  return names;
}

bool IsNameCharacter(char c) { return IsLetter(c) || IsDigit(c) || c == '_'; }

/// The reference that ends at `end`, as it is written; empty if none does.
std::string_view ReferenceBefore(std::string_view typed, std::size_t end) {
  std::size_t begin = end;
  while (begin > 0 && (IsNameCharacter(typed[begin - 1]) ||
                       std::string_view("[]-").find(typed[begin - 1]) != std::string_view::npos)) {
    --begin;
  }
  for (std::size_t at = begin; at < end; ++at) {
    const auto reference = ReadReference(typed.substr(at, end - at));
    if (reference && !reference->label.empty() && reference->size == end - at) {
      return typed.substr(at, end - at);
    }
  }
  return {};
}

std::string FrequencyReason(const std::string& statistic) {
  return "the frequency of a channel is #" + statistic + " and its place in the list";
}

/// Of a name right behind a reference, which may be meant as its suffix; empty if it is not.
std::string SuffixReason(Meter& meter, std::string_view typed, Span where) {
  const std::string_view channel = ReferenceBefore(typed, where.begin);
  if (channel.empty()) return "";
  const std::string name(typed.substr(where.begin, where.Size()));
  const auto& names = meter.runtime.StatisticNames;
  const auto* const known = std::ranges::find_if(
      names, [&](const std::string& statistic) { return SameIgnoringCase(statistic, name); });
  if (known == names.end()) {
    return "the suffix " + name + " is unknown (MIN, MAX, AVE, RMS, ACRMS)";
  }
  if (static_cast<std::size_t>(known - names.begin()) >= kSuffixes) {
    return FrequencyReason(*known);
  }
  if (channel.find('[') != std::string_view::npos) return "a past sample takes no suffix";
  return "a suffix is written in capitals: " + std::string(channel) + SuffixOf(*known);
}

/// What may be meant by a name that the evaluator refuses as `refused` says.
std::string NameReason(Meter& meter, std::string_view typed, Span where,
                       const std::string& refused) {
  const std::string name(typed.substr(where.begin, where.Size()));
  if (std::string reason = SuffixReason(meter, typed, where); !reason.empty()) return reason;
  if (SameIgnoringCase(name, "RATE")) return "the sample rate is written in capitals: RATE";
  if (const auto reference = ReadReference(name); reference && !reference->label.empty()) {
    return "channels are written in capitals: CH" + std::string(reference->label);
  }
  if (IsKnownName(name)) return refused;
  for (const std::string& statistic : meter.runtime.StatisticNames) {
    if (!SameIgnoringCase(statistic, name)) continue;
    return statistic == meter.runtime.StatisticNames[kSuffixes]
               ? FrequencyReason(statistic)
               : "a statistic stands behind its channel: CH1" + SuffixOf(statistic);
  }
  const std::string nearest = NearestName(name, EveryName());
  return nearest.empty() ? refused : refused + " (did you mean " + nearest + "?)";
}

/// The part without blanks around it; as it is where nothing else is in it.
Span WithoutBlanks(std::string_view typed, Span part) {
  while (part.Size() > 1 && typed[part.end - 1] == ' ') --part.end;
  while (part.Size() > 1 && typed[part.begin] == ' ') ++part.begin;
  return part;
}

}  // namespace

EquationFault ExplainUnknownToken(Meter& meter, const TracedText& equation, Span where) {
  const std::string_view typed = equation.Typed();
  const std::string_view rest = typed.substr(where.begin);
  try {
    if (const auto reference = ReadReference(rest)) {
      return {{where.begin, std::max(where.end, where.begin + reference->size)},
              ReferenceReason(meter, *reference)};
    }
    if (rest.starts_with('#')) {
      std::size_t size = 1;
      while (size < rest.size() && (IsNameCharacter(rest[size]) || rest[size] == '@')) ++size;
      return {{where.begin, std::max(where.end, where.begin + size)}, TokenReason(meter, rest)};
    }
  } catch (const SourceError&) {
    // Where the source tells nothing of its list, the plain fact is left.
  }
  return {where, std::string(typed.substr(where.begin, where.Size())) + " names no channel"};
}

EquationFault ExplainError(Meter& meter, const TracedText& numbers, const EvaluationError& error) {
  const std::string_view typed = numbers.Typed();
  const Span where = WithoutBlanks(typed, numbers.Origin(error.begin, error.end));
  switch (error.kind) {
    case EvaluationError::Kind::UnknownName:
      return {where, NameReason(meter, typed, where, error.what())};
    case EvaluationError::Kind::MissingOperator:
      return {where, "an operator is missing before " +
                         std::string(typed.substr(where.begin, where.Size()))};
    case EvaluationError::Kind::Other:
      break;
  }
  return {where, error.what()};
}

std::string PlaceText(Span where, std::string_view typed) {
  if (where.begin >= typed.size()) return "at the end";
  const auto before = typed.substr(0, where.begin);
  const auto characters =
      std::count_if(before.begin(), before.end(), [](char c) { return !ContinuesCharacter(c); });
  return "at character " + std::to_string(characters + 1);
}

std::string ReasonWithPlace(const EquationFault& fault, std::string_view typed) {
  return fault.where.begin >= typed.size() ? fault.reason
                                           : fault.reason + ", " + PlaceText(fault.where, typed);
}

}  // namespace vantoscope
