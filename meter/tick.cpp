#include "meter/tick.h"

#include <exception>

#include "equation/equation_tick.h"
#include "meter/channel_number.h"
#include "meter/fetch.h"
#include "presentation/reading_display.h"
#include "reduction/special_channels.h"
#include "reduction/statistics.h"

namespace vantoscope {
namespace {

enum class Step { GoOn, EndTick };

/// The raw word of a special channel. Goes on only for a number that names no special kind.
Step SpecialStep(Meter& meter) {
  MeterRuntime& runtime = meter.runtime;
  if (!GuardedFetch(meter.telvix, 1, kRawWords, runtime.DataBlock) || !runtime.DataBlock) {
    return Step::EndTick;
  }
  const std::int16_t number = meter.telvix.ChannelNumber(runtime.ChannelIndex);
  if (!IsSpecial(number)) return Step::GoOn;
  const auto channel = static_cast<std::size_t>(runtime.ChannelIndex);
  const auto word = static_cast<std::int32_t>((*runtime.DataBlock)(channel, 0));
  meter.form.SetLabelText(number == kDigitalInput ? DigitalText(word) : CounterText(word));
  return Step::EndTick;
}

Step LatestStep(Meter& meter) {
  try {
    meter.runtime.Reading = meter.telvix.LatestValue(meter.runtime.ChannelIndex);
    return Step::GoOn;
  } catch (const std::exception&) {
    return Step::EndTick;
  }
}

Step WindowStep(Meter& meter) {
  MeterRuntime& runtime = meter.runtime;
  if (!GuardedFetch(meter.telvix, meter.config.WindowSize, kEngineeringUnits, runtime.DataBlock) ||
      !runtime.DataBlock) {
    return Step::EndTick;
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
      return EquationTick(meter) ? Step::GoOn : Step::EndTick;
    default:
      return LatestStep(meter);
  }
}

void Tick(Meter& meter) {
  bool extra_digit = false;
  if (meter.runtime.SpecialChannel != kFalse) {
    if (SpecialStep(meter) == Step::EndTick) return;
  } else {
    extra_digit = meter.telvix.ChannelNumber(meter.runtime.ChannelIndex) == kFineChannel;
  }
  if (ReadingStep(meter) == Step::EndTick) return;
  DisplayReading(meter, extra_digit);
}

}  // namespace

void Timer1Tick(Meter& meter) {
  try {
    Tick(meter);
  } catch (const SourceError&) {
    // A source that fails to name a range, unit or number is no louder than one without data.
  }
}

}  // namespace vantoscope
