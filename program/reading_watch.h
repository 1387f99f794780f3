// SPDX-License-Identifier: GPL-3.0-or-later
// The watch over a reading: from what the ticks and the device came to, to one state and one
// sentence. Time is handed in, in seconds of any clock that only rises.
#pragma once

#include <string>

#include "meter/reading_state.h"

namespace vantoscope {

/// What one look at a meter finds.
struct Observation {
  const TickRecord& ticks;
  Freshness data;
  bool resting = false;    ///< the settings are open, so that no tick runs
  bool simulated = false;  ///< the simulator runs because no device was named
  bool cut = false;        ///< the window is too narrow for the whole reading
};

struct Verdict {
  ReadingState state = ReadingState::Waiting;
  bool cut = false;  ///< beside any state
  /// One sentence, with the age where there is one, and a second one if the reading is cut; empty
  /// while live and whole.
  std::string sentence;
  double age = 0;  ///< of the reading that is shown, seconds; 0 while there is none
};

/// What is said of a change to `now`; `before` is the state that was told last.
std::string ChangeText(ReadingState before, const Verdict& now);

class ReadingWatch {
 public:
  /// Called several times a second.
  Verdict Look(double now, const Observation& seen);

  /// The line that tells of a change since the last one told; empty most of the time. At most one a
  /// second, so that a reading that comes and goes floods nobody; what is told is what is so then.
  std::string Line(double now, const Verdict& verdict);

 private:
  Verdict State(double now, const Observation& seen);

  std::uint64_t finished_ = 0;
  bool ever_finished_ = false;
  double last_finished_ = 0;
  bool looked_ = false;
  ReadingState told_ = ReadingState::Live;
  bool told_cut_ = false;
  double told_at_ = 0;
};

}  // namespace vantoscope
