// SPDX-License-Identifier: GPL-3.0-or-later
#include "meter/startup.h"

#include "equation/normaliser.h"
#include "equation/preparation.h"
#include "groups/command_line.h"
#include "groups/command_words.h"
#include "meter/channel_label.h"
#include "presentation/display_format.h"
#include "presentation/window_behaviour.h"
#include "settings/settings.h"
#include "text/numbers.h"
#include "text/picture.h"

namespace vantoscope {
namespace {

void StartSource(Telvix1& telvix) {
  telvix.SetStartupToggle(-1);
  telvix.SetStartupToggle(0);
  telvix.Start();
}

void RequireChannelInList(Meter& meter, std::string_view command_line) {
  const std::int16_t count = meter.telvix.ChannelCount();
  const std::int16_t index = meter.runtime.ChannelIndex;
  if (index >= 0 && index < count) return;
  const auto typed = IndexText(command_line);
  throw SourceError("The channel index " + (typed ? ShownWord(*typed) : std::to_string(index)) +
                    " is not in the list of " + meter.telvix.DeviceName() +
                    ", which has the indices 0 to " + std::to_string(count - 1) + ".");
}

void ReadRangeAndKind(Meter& meter) {
  MeterRuntime& runtime = meter.runtime;
  runtime.ScaleHigh = NarrowToFloat(meter.telvix.ScaleHigh(runtime.ChannelIndex));
  runtime.ScaleLow = NarrowToFloat(meter.telvix.ScaleLow(runtime.ChannelIndex));
  runtime.SpecialChannel = ToBool16(meter.telvix.ChannelNumber(runtime.ChannelIndex) < 0);
}

}  // namespace

// Each step rests on those before it: further meters start before any setting is read; the source
// runs before the settings, whose default caption asks for the channel's number; the picture needs
// the settings and the range.
void StartUp(Meter& meter, const std::string& command_line) {
  MeterRuntime& runtime = meter.runtime;
  runtime.DecimalSep = meter.platform.DecimalSeparator();
  runtime.EquationEngine = meter.platform.CreateEvaluator();
  runtime.IniFile = "Vantoscope.ini";
  runtime.StatisticNames = {"min", "max", "ave", "rms", "acrms", "freq"};
  if (!command_line.empty()) ReadCommandLine(meter, command_line);
  runtime.SectionName =
      runtime.MeterName + FormatPicture(runtime.ChannelIndex + 1, "", runtime.DecimalSep);
  StartSource(meter.telvix);
  RequireChannelInList(meter, command_line);
  runtime.ChannelsPerBank = ChannelsPerBankOf(meter.telvix.DeviceName());
  LayoutLabel(meter.form);
  LoadSettings(meter);
  ReadRangeAndKind(meter);
  DeriveDisplayFormat(meter.config, runtime);
  meter.form.SetWindowPos(meter.config.AlwaysOnTop);
  meter.form.EnableTimer1(true);
  const TracedText equation = NormaliseEquation(meter, meter.config.MathText);
  runtime.PreparedEquation = equation.Text();
  if (meter.config.DebugMode != kFalse) {
    meter.form.ShowMessage(MessageIcon::Information, runtime.PreparedEquation, "Vantoscope");
  }
  PrepareEquation(meter, equation);
}

}  // namespace vantoscope
