// SPDX-License-Identifier: GPL-3.0-or-later
// Starting a further program from a command text.
#pragma once

#include <string>

namespace vantoscope {

/// Window style of Start: a normal window that does not take the focus.
inline constexpr int kShowNoActivate = 4;

class ProcessStart {
 public:
  ProcessStart() = default;
  ProcessStart(const ProcessStart&) = delete;
  ProcessStart& operator=(const ProcessStart&) = delete;
  virtual ~ProcessStart() = default;

  /// Starts a detached process: the program's name and its arguments, parted by single blanks.
  /// No shell reads the text. A failure is one line on standard error and never raised.
  virtual void Start(const std::string& command_text, int window_style) = 0;
};

}  // namespace vantoscope
