// SPDX-License-Identifier: GPL-3.0-or-later
// What is shown while a device that takes its time is opened: a box that says what is missing, with
// a button to give up.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "presentation/message_box.h"

namespace vantoscope {

class WaitingBox {
 public:
  /// As Meanwhile (sources/device.h); keeps the desktop's events going. Shows the box once it takes
  /// longer than a moment, and says so on standard error. False when the user has given up.
  bool Look(const std::string& sentence);
  [[nodiscard]] bool IsShown() const { return box_.has_value(); }
  /// As its button.
  void GiveUp() { given_up_ = true; }
  [[nodiscard]] bool GivenUp() const { return given_up_; }

 private:
  std::optional<std::chrono::steady_clock::time_point> since_;
  std::optional<MessageBox> box_;
  bool given_up_ = false;
};

}  // namespace vantoscope
