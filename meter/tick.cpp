// SPDX-License-Identifier: GPL-3.0-or-later
#include "meter/tick.h"

#include <cmath>
#include <exception>

#include "equation/equation_tick.h"
#include "meter/channel_number.h"
#include "meter/fetch.h"
#include "presentation/reading_display.h"
#include "reduction/special_channels.h"
#include "reduction/statistics.h"

namespace vantoscope {
namespace {

enum class Step { GoOn, Shown, NoReading };

/// The raw word of a special channel. Goes on only for a number that names no special kind.
Step SpecialStep(Meter& meter) {
  MeterRuntime& runtime = meter.runtime;
  if (!GuardedFetch(meter, 1, kRawWords, runtime.DataBlock) || !runtime.DataBlock) {
    return Step::NoReading;
  }
  const std::int16_t number = meter.telvix.ChannelNumber(runtime.ChannelIndex);
  if (!IsSpecial(number)) return Step::GoOn;
  const auto channel = static_cast<std::size_t>(runtime.ChannelIndex);
  const double element = (*runtime.DataBlock)(channel, 0);
  if (std::isnan(element)) {
    meter.form.SetLabelText("nan");
    return Step::Shown;
  }
  const auto word = static_cast<std::int32_t>(element);
  meter.form.SetLabelText(number == kDigitalInput ? DigitalText(word) : CounterText(word));
  return Step::Shown;
}

Step LatestStep(Meter& meter) {
  try {
    meter.runtime.Reading = meter.telvix.LatestValue(meter.runtime.ChannelIndex);
    return Step::GoOn;
  } catch (const std::exception& error) {
    meter.ticks.failure = error.what();
    return Step::NoReading;
  }
}

Step WindowStep(Meter& meter) {
  MeterRuntime& runtime = meter.runtime;
  if (!GuardedFetch(meter, meter.config.WindowSize, kEngineeringUnits, runtime.DataBlock) ||
      !runtime.DataBlock) {
    return Step::NoReading;
  }
  const auto statistic = static_cast<std::int16_t>(meter.config.DataMethod - kMethodMin);
  ChannelStatistic(meter, statistic, runtime.ChannelIndex, runtime.DataBlock);
  return Step::GoOn;
}

Step ReadingStep(Meter& meter) {
  switch (meter.config.DataMethod) {
    case kMethodMin:
    case kMethodMax:
    case kMethodAve:
    case kMethodRms:
    case kMethodAcRms:
      return WindowStep(meter);
    case kMethodCalc:
      return EquationTick(meter) ? Step::GoOn : Step::NoReading;
    default:
      return LatestStep(meter);
  }
}

/// True when it has written the label.
bool Tick(Meter& meter) {
  bool extra_digit = false;
  if (meter.runtime.SpecialChannel != kFalse) {
    if (const Step step = SpecialStep(meter); step != Step::GoOn) return step == Step::Shown;
  } else {
    extra_digit = meter.telvix.ChannelNumber(meter.runtime.ChannelIndex) == kFineChannel;
  }
  if (ReadingStep(meter) == Step::NoReading) return false;
  DisplayReading(meter, extra_digit);
  return true;
}

}  // namespace

void Timer1Tick(Meter& meter) {
  meter.ticks.failure.clear();
  try {
    if (Tick(meter)) ++meter.ticks.finished;
  } catch (const SourceError& error) {
    // A source that fails to name a range, unit or number is no louder than one without data.
    meter.ticks.failure = error.what();
  }
}

}  // namespace vantoscope
