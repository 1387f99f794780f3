// SPDX-License-Identifier: GPL-3.0-or-later
// A reading as it goes into a table: one line of columns parted by tabs.
#pragma once

#include <string>
#include <string_view>

namespace vantoscope {

/// The parts of a reading, UTF-8.
struct ReadingParts {
  std::string shown;    ///< as the window shows it, perhaps with the unit behind it
  std::string unit;     ///< whether shown or not; may be empty
  std::string channel;  ///< what the meter is called
  std::string time;     ///< when it was taken
  std::string doubt;    ///< why it is not what it seems; empty while it is
};

/// The number as it is shown, blanks at either end left out, without the unit.
std::string NumberShown(const ReadingParts& parts);

/// Number, unit, channel and time, and where there is doubt the sentence of it. No line break at
/// the end; a tab or line break inside a part is a blank.
std::string TableLine(const ReadingParts& parts);

}  // namespace vantoscope
