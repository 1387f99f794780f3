// SPDX-License-Identifier: GPL-3.0-or-later
// The words of a command line that have no effect, and what would be right instead. What a word
// does is told by command_line.h; nothing here changes it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vantoscope {

struct WordCheck {
  /// One sentence for each word without effect and for an index that is not taken as it was typed,
  /// in the order of the words; no line ends. What may be a password is left out.
  std::vector<std::string> sentences;
  /// The command line is not empty, and its first word names no device.
  bool names_no_device = false;
};

/// Looks at the argument text without the program's own name.
WordCheck CheckWords(std::string_view command_line);

/// A text for a box, and below it what CheckWords found, the first few sentences of it.
std::string WithSentences(std::string text, const WordCheck& check);

/// For the user whose command line names no device: that the simulator runs, and why.
std::string NoDeviceText(const WordCheck& check);

/// A word as a sentence may show it: without control characters and passwords, and cut where it is
/// very long.
std::string ShownWord(std::string_view word);

}  // namespace vantoscope
