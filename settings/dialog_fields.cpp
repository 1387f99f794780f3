// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/dialog_fields.h"

#include <algorithm>

#include "text/booleans.h"
#include "text/numbers.h"

namespace vantoscope {
namespace {

constexpr double kLargestWindow = 32767;  // a block is asked for with a 16-bit count

std::int32_t WindowSizeFromText(const std::string& text) {
  return RoundToInt32(std::clamp(NumberFromText(text), 0.0, kLargestWindow));
}

std::int16_t ClampedFromText(const std::string& text, std::int16_t low, std::int16_t high) {
  return std::clamp(RoundToInt16(NumberFromText(text)), low, high);
}

}  // namespace

DialogFields FillDialogFields(const Meter& meter) {
  const MeterConfig& config = meter.config;
  const MeterRuntime& runtime = meter.runtime;
  DialogFields fields;
  fields.Check4 = config.AlwaysOnTop == kTopMost;
  fields.FGLabel = config.ForeColor;
  fields.BGLabel = config.BackColor;
  fields.HLLabel = config.HighLimitColor;
  fields.LLLabel = config.LowLimitColor;
  fields.HLText = FloatText(config.HighLimit, runtime.DecimalSep);
  fields.LLText = FloatText(config.LowLimit, runtime.DecimalSep);
  fields.ChnIdxText = std::to_string(runtime.ChannelIndex);
  fields.EnableAlarmCheck = config.AlarmEnabled != kFalse;
  fields.CalText = config.MathText;
  fields.CalUnitText = config.MathUnit;
  fields.WSText = std::to_string(config.WindowSize);
  fields.TBCheck = runtime.ToolWindowFrame != kFalse;
  fields.ShowUnitCheck = config.ShowUnit != kFalse;
  fields.CaptionCheck = config.ShowCaption != kFalse;
  fields.BorderWidthText = std::to_string(config.BorderWidth);
  fields.TransparencyText = std::to_string(config.Transparency);
  if (config.DataMethod >= kMethodNone && config.DataMethod <= kMethodCalc) {
    fields.Option = config.DataMethod;
  }
  return fields;
}

void ApplyDialogFields(const DialogFields& fields, Meter& meter) {
  MeterConfig& config = meter.config;
  config.AlwaysOnTop = fields.Check4 ? kTopMost : kNotTopMost;
  config.MathText = fields.CalText;
  config.MathUnit = fields.CalUnitText;
  meter.runtime.ToolWindowFrame = ToBool16(fields.TBCheck);
  config.ForeColor = fields.FGLabel;
  config.BackColor = fields.BGLabel;
  config.HighLimitColor = fields.HLLabel;
  config.LowLimitColor = fields.LLLabel;
  config.HighLimit = NarrowToFloat(NumberFromText(fields.HLText));
  config.LowLimit = NarrowToFloat(NumberFromText(fields.LLText));
  config.AlarmEnabled = ToBool16(fields.EnableAlarmCheck);
  config.WindowSize = WindowSizeFromText(fields.WSText);
  config.ShowUnit = ToBool16(fields.ShowUnitCheck);
  config.ShowCaption = ToBool16(fields.CaptionCheck);
  config.BorderWidth = ClampedFromText(fields.BorderWidthText, 0, 32);
  config.Transparency = ClampedFromText(fields.TransparencyText, 1, 255);
  if (fields.Option) config.DataMethod = *fields.Option;
}

}  // namespace vantoscope
