// SPDX-License-Identifier: GPL-3.0-or-later
#include "program/spoken_changes.h"

#include <utility>

namespace vantoscope {
namespace {

constexpr double kBetweenSentences = 1;

std::string NameOf(Alarm alarm) { return alarm == Alarm::High ? "High alarm" : "Low alarm"; }

}  // namespace

std::string SpokenChanges::Look(double now, Alarm alarm, const Verdict& verdict,
                                const std::function<std::string()>& reading) {
  if (!std::exchange(looked_, true)) told_at_ = now;
  if (alarm != Alarm::None && alarm != told_alarm_) passed_ = alarm;
  if (now - told_at_ < kBetweenSentences) return {};
  std::string text = AlarmText(alarm);
  if (!text.empty()) text += ": " + reading() + ".";
  const std::string doubt = DoubtText(verdict);
  if (!text.empty() && !doubt.empty()) text += ' ';
  text += doubt;
  if (!text.empty()) told_at_ = now;
  return text;
}

std::string SpokenChanges::AlarmText(Alarm alarm) {
  const Alarm before = std::exchange(told_alarm_, alarm);
  const Alarm passed = std::exchange(passed_, Alarm::None);
  if (alarm != Alarm::None) return alarm == before ? "" : NameOf(alarm);
  if (passed != Alarm::None) return NameOf(passed) + " for a moment, now over";
  return before == Alarm::None ? "" : "The alarm is over";
}

std::string SpokenChanges::DoubtText(const Verdict& verdict) {
  const bool cut_changed = std::exchange(told_cut_, verdict.cut) != verdict.cut;
  const ReadingState before = std::exchange(told_, verdict.state);
  return before == verdict.state && !cut_changed ? "" : ChangeText(before, verdict);
}

}  // namespace vantoscope
