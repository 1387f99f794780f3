// SPDX-License-Identifier: GPL-3.0-or-later
// What is spoken of a meter without being asked: the way into and out of an alarm, and each state
// of doubt; at most once a second. Time is handed in, in seconds of any clock that only rises.
#pragma once

#include <functional>
#include <string>

#include "presentation/reading_display.h"
#include "program/reading_watch.h"

namespace vantoscope {

class SpokenChanges {
 public:
  /// Called with every reading and several times a second; `reading` gives the number and its unit,
  /// and is asked when they are told. One or two sentences, empty most of the time. What is told is
  /// what is so then; an alarm that came and went since the last time is told too.
  std::string Look(double now, Alarm alarm, const Verdict& verdict,
                   const std::function<std::string()>& reading);

 private:
  std::string AlarmText(Alarm alarm);
  std::string DoubtText(const Verdict& verdict);

  bool looked_ = false;
  double told_at_ = 0;
  Alarm told_alarm_ = Alarm::None;
  Alarm passed_ = Alarm::None;
  ReadingState told_ = ReadingState::Live;
  bool told_cut_ = false;
};

}  // namespace vantoscope
