// SPDX-License-Identifier: GPL-3.0-or-later
// What a screen reader learns of this meter: on request what is shown and whether to trust it, and
// unasked what has changed.
#pragma once

#include "program/meter_watch.h"
#include "program/spoken_changes.h"

namespace vantoscope {

class ScreenReader {
 public:
  ScreenReader(Meter& meter, DeviceControl& source, Form0& form, MeterWatch& watch)
      : meter_(meter), source_(source), form_(form), watch_(watch) {}

  /// After each tick, and several times a second. Costs nothing while nobody listens.
  void Look();
  SpokenReading Spoken();

 private:
  [[nodiscard]] bool IsSpecial() const { return meter_.runtime.SpecialChannel != kFalse; }

  Meter& meter_;
  DeviceControl& source_;
  Form0& form_;
  MeterWatch& watch_;
  SpokenChanges changes_;
};

}  // namespace vantoscope
