// SPDX-License-Identifier: GPL-3.0-or-later
#include "program/reading_watch.h"

#include <algorithm>
#include <utility>

#include "text/shown_text.h"

namespace vantoscope {
namespace {

constexpr double kBetweenLines = 1;

std::string Sentence(std::string_view what, const std::string& reason) {
  std::string sentence(what);
  if (!reason.empty()) sentence.append(": ").append(reason);
  if (!sentence.ends_with('.')) sentence += '.';
  return sentence;
}

std::string Reason(const Observation& seen) {
  if (seen.resting) return "the settings are open";
  return seen.data.reason.empty() ? seen.ticks.failure : seen.data.reason;
}

bool IsDoubt(ReadingState state) {
  return state != ReadingState::Live && state != ReadingState::Simulated;
}

}  // namespace

std::string ChangeText(ReadingState before, const Verdict& now) {
  if (IsDoubt(before) && !IsDoubt(now.state)) return "The reading is live again.";
  return now.sentence.empty() ? "The reading is whole again." : now.sentence;
}

Verdict ReadingWatch::Look(double now, const Observation& seen) {
  Verdict verdict = State(now, seen);
  verdict.cut = seen.cut;
  if (seen.cut) {
    if (!verdict.sentence.empty()) verdict.sentence += ' ';
    verdict.sentence += "The window is too narrow for the whole reading.";
  }
  return verdict;
}

Verdict ReadingWatch::State(double now, const Observation& seen) {
  if (!looked_) told_at_ = now;
  looked_ = true;
  if (seen.ticks.finished != finished_) {
    finished_ = seen.ticks.finished;
    ever_finished_ = true;
    last_finished_ = now;
  }
  if (!seen.ticks.refusal.empty()) {
    ever_finished_ = false;  // a meter that is started again waits for its first reading
    return {
        .state = ReadingState::Stopped, .cut = false, .sentence = Sentence(seen.ticks.refusal, "")};
  }
  if (!ever_finished_) {
    return {.state = ReadingState::Waiting,
            .cut = false,
            .sentence = Sentence("Waiting for the first reading", Reason(seen))};
  }
  const double age = std::max(now - last_finished_, seen.data.age.value_or(0));
  if (age > seen.data.limit) {
    return {.state = ReadingState::Old,
            .cut = false,
            .sentence = Sentence("No new data for " + AgeText(age), Reason(seen)),
            .age = age};
  }
  if (seen.simulated) {
    return {.state = ReadingState::Simulated,
            .cut = false,
            .sentence = "These are values of the built-in simulator, since no device was named.",
            .age = age};
  }
  return {.state = ReadingState::Live, .cut = false, .sentence = "", .age = age};
}

std::string ReadingWatch::Line(double now, const Verdict& verdict) {
  const bool changed = verdict.state != told_ || verdict.cut != told_cut_;
  if (!changed || now - told_at_ < kBetweenLines) return {};
  told_cut_ = verdict.cut;
  told_at_ = now;
  return ChangeText(std::exchange(told_, verdict.state), verdict);
}

}  // namespace vantoscope
