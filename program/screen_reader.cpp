// SPDX-License-Identifier: GPL-3.0-or-later
#include "program/screen_reader.h"

#include <chrono>
#include <limits>

#include "text/numbers.h"

namespace vantoscope {
namespace {

double Seconds() {
  using std::chrono::duration;
  return duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

std::string WithUnit(const ReadingParts& parts) {
  return parts.unit.empty() ? NumberShown(parts) : NumberShown(parts) + " " + parts.unit;
}

}  // namespace

void ScreenReader::Look() {
  if (!SomebodyListens() || watch_.IsResting()) return;
  const Alarm alarm = IsSpecial() ? Alarm::None : AlarmOf(meter_.config, meter_.runtime.Reading);
  const std::string text =
      changes_.Look(Seconds(), alarm, watch_.Judge(), [this] { return WithUnit(watch_.Parts()); });
  if (!text.empty()) form_.Announce(form_.Title() + ": " + text);
}

SpokenReading ScreenReader::Spoken() {
  const ReadingParts parts = watch_.Parts();
  SpokenReading spoken;
  const std::string unit = parts.unit.empty() ? "" : "Unit " + parts.unit + ". ";
  spoken.beside = QString::fromStdString(unit + parts.doubt).trimmed();
  spoken.value = IsSpecial() ? NumberFromText(parts.shown) : meter_.runtime.Reading;
  const bool ranged = meter_.config.DataMethod != kMethodCalc;
  constexpr double kAny = std::numeric_limits<double>::max();
  const std::int16_t index = meter_.runtime.ChannelIndex;
  spoken.low = ranged ? source_.ScaleLow(index) : -kAny;
  spoken.high = ranged ? source_.ScaleHigh(index) : kAny;
  return spoken;
}

}  // namespace vantoscope
