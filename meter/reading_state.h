// SPDX-License-Identifier: GPL-3.0-or-later
// Whether a reading is what it seems, and how fresh the data behind it are: what the watch finds
// out, the window paints and a screen reader says.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vantoscope {

enum class ReadingState : std::uint8_t {
  Live,       ///< a tick has finished lately, on data no older than the limit
  Waiting,    ///< no tick has finished yet: the label shows its design text
  Old,        ///< for longer than the limit no tick has finished, or its data are older
  Stopped,    ///< the equation was refused, or the source failed
  Simulated,  ///< live, but nobody asked for the simulator
};

/// How fresh the data of a source are, as its device knows it.
struct Freshness {
  /// Seconds since the newest scan was taken; nothing while there is none.
  std::optional<double> age;
  /// Seconds; an older scan is old. At least two.
  double limit = 2;
  /// Why there is none newer, as the end of a sentence: "the broker does not answer". May be empty.
  std::string reason;
};

/// What the ticks came to, for whoever watches them.
struct TickRecord {
  std::uint64_t finished = 0;  ///< ticks that wrote the label
  std::string failure;         ///< why the last one did not, as the end of a sentence; or empty
  std::string refusal;         ///< the sentence that stopped the meter; empty while it runs
};

}  // namespace vantoscope
