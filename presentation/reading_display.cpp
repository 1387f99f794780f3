// SPDX-License-Identifier: GPL-3.0-or-later
#include "presentation/reading_display.h"

#include <limits>

#include "text/picture.h"

namespace vantoscope {

Alarm AlarmOf(const MeterConfig& config, double reading) {
  static_assert(std::numeric_limits<float>::is_iec559);  // beyond the range means infinity
  if (config.AlarmEnabled == kFalse) return Alarm::None;
  const auto narrowed = static_cast<float>(reading);
  if (narrowed > config.HighLimit) return Alarm::High;
  return narrowed < config.LowLimit ? Alarm::Low : Alarm::None;
}

Color ReadingColor(const MeterConfig& config, double reading) {
  switch (AlarmOf(config, reading)) {
    case Alarm::High:
      return config.HighLimitColor;
    case Alarm::Low:
      return config.LowLimitColor;
    case Alarm::None:
      break;
  }
  return config.ForeColor;
}

void DisplayReading(Meter& meter, bool extra_digit) {
  const MeterConfig& config = meter.config;
  const MeterRuntime& runtime = meter.runtime;
  meter.form.SetLabelForeColor(ReadingColor(config, runtime.Reading));

  const std::string& picture = runtime.DisplayFormat;
  std::string text =
      FormatPicture(runtime.Reading, extra_digit ? picture + "0" : picture, runtime.DecimalSep);
  if (config.ShowUnit != kFalse) {
    text += config.DataMethod == kMethodCalc ? config.MathUnit
                                             : meter.telvix.EngUnit(runtime.ChannelIndex);
  }
  meter.form.SetLabelText(text);
}

}  // namespace vantoscope
