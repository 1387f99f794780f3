// SPDX-License-Identifier: GPL-3.0-or-later
// The watch on this meter: looks at it a few times a second, marks the window, tells a screen
// reader and standard error what has changed, and knows what the tool tip says.
#pragma once

#include <string>

#include "meter/meter.h"
#include "presentation/form0.h"
#include "program/copied_reading.h"
#include "program/reading_watch.h"
#include "sources/device_control.h"

namespace vantoscope {

class MeterWatch {
 public:
  MeterWatch(Meter& meter, DeviceControl& source, Form0& form)
      : meter_(meter), source_(source), form_(form) {}

  void Look();
  /// After a tick: a reading that was in doubt is live at its first new value.
  void LookAfterTick();
  /// The host has gone, and the meter ends.
  void SayWhyHostClosed() const;
  /// The device was named for a group in which no user has named one.
  void SetNobodyNamedDevice() { somebody_named_device_ = false; }
  /// While the settings are open no tick runs.
  void SetResting(bool resting) { resting_ = resting; }
  /// What is shown, from where and how, and whether it can be trusted; lines of plain text.
  std::string About();
  /// Whether the reading can be trusted, now.
  Verdict Judge();
  /// The reading that is shown, and what belongs to it.
  ReadingParts Parts();
  [[nodiscard]] bool IsResting() const { return resting_; }

 private:
  Verdict Judge(double now);

  Meter& meter_;
  DeviceControl& source_;
  Form0& form_;
  ReadingWatch watch_;
  bool resting_ = false;
  bool somebody_named_device_ = true;
  ReadingState shown_ = ReadingState::Waiting;
  bool shown_cut_ = false;
};

}  // namespace vantoscope
