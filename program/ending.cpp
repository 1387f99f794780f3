// SPDX-License-Identifier: GPL-3.0-or-later
#include "program/ending.h"

#include "settings/settings.h"

namespace vantoscope {

void UnloadMeter(Meter& meter) {
  try {
    meter.telvix.Stop();
  } catch (const SourceError&) {
    // The process ends anyway; the settings matter more.
  }
  SaveSettings(meter);
}

void EndByHost(Meter& meter) {
  SaveSettings(meter);
  meter.form.EndProcess();
}

}  // namespace vantoscope
