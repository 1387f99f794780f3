// SPDX-License-Identifier: GPL-3.0-or-later
#include "program/meter_watch.h"

#include <QDateTime>
#include <array>
#include <chrono>
#include <iostream>
#include <string_view>

#include "meter/channel_number.h"
#include "text/picture.h"

namespace vantoscope {
namespace {

double Seconds() {
  using std::chrono::duration;
  return duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

std::string MethodText(const MeterConfig& config) {
  constexpr std::array<std::string_view, 5> kNames = {"Min", "Max", "Ave", "RMS", "AC RMS"};
  if (config.DataMethod == kMethodCalc) return "Equation " + config.MathText;
  if (config.DataMethod < kMethodMin || config.DataMethod > kMethodAcRms) return "Newest value";
  return std::string(kNames[static_cast<std::size_t>(config.DataMethod - kMethodMin)]) + " over " +
         std::to_string(config.WindowSize) + " scans";
}

/// ISO 8601 with the offset of the user's clock.
std::string TimeBefore(double seconds) {
  constexpr double kMilliseconds = 1000;
  const QDateTime time =
      QDateTime::currentDateTime().addMSecs(-static_cast<qint64>(seconds * kMilliseconds));
  return time.toOffsetFromUtc(time.offsetFromUtc()).toString(Qt::ISODate).toStdString();
}

}  // namespace

Verdict MeterWatch::Judge(double now) {
  return watch_.Look(now, {.ticks = meter_.ticks,
                           .data = source_.DataFreshness(),
                           .resting = resting_,
                           .simulated = !source_.IsNamed() || !somebody_named_device_,
                           .cut = form_.ReadingIsCut()});
}

Verdict MeterWatch::Judge() { return Judge(Seconds()); }

ReadingParts MeterWatch::Parts() {
  const MeterConfig& config = meter_.config;
  const Verdict verdict = Judge();
  const bool calculated =
      config.DataMethod == kMethodCalc && meter_.runtime.SpecialChannel == kFalse;
  return {.shown = form_.Reading(),
          .unit = calculated ? config.MathUnit : source_.EngUnit(meter_.runtime.ChannelIndex),
          .channel = form_.Title(),
          .time = TimeBefore(verdict.age),
          .doubt = verdict.sentence};
}

void MeterWatch::Look() {
  const double now = Seconds();
  const Verdict verdict = Judge(now);
  const std::string line = watch_.Line(now, verdict);
  if (!line.empty()) std::cerr << "vantoscope: " << form_.Title() << ": " << line << std::endl;
  if (verdict.state != shown_ || verdict.cut != shown_cut_) {
    shown_ = verdict.state;
    shown_cut_ = verdict.cut;
    form_.SetDoubt(verdict.state, verdict.sentence);
  }
}

void MeterWatch::LookAfterTick() {
  if (shown_ != ReadingState::Live && shown_ != ReadingState::Simulated) Look();
}

void MeterWatch::SayWhyHostClosed() const {
  std::cerr << "vantoscope: " << form_.Title() << ": " << source_.WhyClosed() << std::endl;
}

std::string MeterWatch::About() {
  const MeterConfig& config = meter_.config;
  const std::int16_t index = meter_.runtime.ChannelIndex;
  const auto number = [this](double value) {
    return FormatPicture(value, "", meter_.runtime.DecimalSep);
  };
  const auto range = [&](double low, double high) { return number(low) + " to " + number(high); };
  std::string text = source_.DeviceName() + "\n";
  const std::int16_t channel = source_.ChannelNumber(index);
  if (!IsSpecial(channel)) text += "Channel " + std::to_string(channel) + " ";
  text += source_.ChannelName(index) + ", " +
          range(source_.ScaleLow(index), source_.ScaleHigh(index)) + " " + source_.EngUnit(index) +
          "\n";
  if (!IsSpecial(channel)) {
    text += MethodText(config) + "\n";
    if (config.AlarmEnabled != kFalse) {
      text += "Limits " + range(config.LowLimit, config.HighLimit) + "\n";
    }
  }
  const Verdict verdict = Judge(Seconds());
  return text + (verdict.sentence.empty() ? "Live." : verdict.sentence);
}

}  // namespace vantoscope
