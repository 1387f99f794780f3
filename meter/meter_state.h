// SPDX-License-Identifier: GPL-3.0-or-later
// The two records of a meter: what its settings keep, and what a run derives.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "meter/data_source.h"
#include "meter/evaluator.h"
#include "text/booleans.h"

namespace vantoscope {

struct TickTokens;  // see equation/tokens.h
class TracedText;   // see equation/traced_text.h

/// 32-bit colour: red in the low byte, then green, then blue. 0x0000FF is red.
using Color = std::int32_t;

/// Values of MeterConfig::DataMethod. Any other value reads as None.
enum DataMethodValue : std::int16_t {
  kMethodNone = 0,
  kMethodMin = 1,
  kMethodMax = 2,
  kMethodAve = 3,
  kMethodRms = 4,
  kMethodAcRms = 5,
  kMethodCalc = 6,
};

/// Everything the settings file keeps, but for position and frame, which the window owns.
struct MeterConfig {
  Color ForeColor = 0;            ///< reading inside the limits
  Color BackColor = 0;            ///< window and label; applied by the load only
  Color HighLimitColor = 0;       ///< reading above HighLimit
  Color LowLimitColor = 0;        ///< reading below LowLimit
  float HighLimit = 0;            ///< engineering units
  float LowLimit = 0;             ///< engineering units
  Bool16 AlarmEnabled = kFalse;   ///< the limit colours are in force
  Bool16 ShowUnit = kFalse;       ///< the unit follows the number
  Bool16 ShowCaption = kFalse;    ///< kept for the file; no effect
  std::string CaptionText;        ///< second half of the window title
  std::int16_t DataMethod = 0;    ///< DataMethodValue
  std::int32_t WindowSize = 0;    ///< scans per block
  std::string MathText;           ///< the equation as the user wrote it
  std::string MathUnit;           ///< unit of the equation's result
  std::string UserFormat;         ///< number picture by hand; only the file sets it
  std::int32_t WindowWidth = 0;   ///< twips, outer size while last framed
  std::int32_t WindowHeight = 0;  ///< twips, outer size while last framed
  std::int16_t AlwaysOnTop = 0;   ///< kTopMost, kNotTopMost; others are passed on
  std::int16_t Transparency = 0;  ///< alpha 1 to 255 of the bare window
  std::int16_t BorderWidth = 0;   ///< kept for the file; no effect
  Bool16 DebugMode = kFalse;      ///< show the normalised equation in a box
};

/// What a run derives or carries from one step to the next; nothing of it is saved.
struct MeterRuntime {
  std::int16_t ChannelIndex = 0;  ///< zero-based list index of this meter's channel
  std::string MeterName;
  std::string SectionName;  ///< section of the settings file
  std::string IniFile;
  std::string DecimalSep;                     ///< the locale's decimal separator, one character
  std::array<std::string, 6> StatisticNames;  ///< "min" ... "freq", by statistic index
  std::int16_t ChannelsPerBank = 0;           ///< 16 or 32
  Bool16 SpecialChannel = kFalse;             ///< the channel number was below 0 at start-up
  float ScaleHigh = 0;                        ///< range of the channel as read once at start-up
  float ScaleLow = 0;
  std::string DisplayFormat;                   ///< number picture of the reading
  std::string PreparedEquation;                ///< MathText after the normaliser
  std::int16_t HistoryDepth = 0;               ///< 0 to 26
  std::int16_t NeedsStatistics = 0;            ///< 1 when the equation holds a statistic token
  std::shared_ptr<TickTokens> EquationTokens;  ///< what the tick knows of PreparedEquation
  std::shared_ptr<const TracedText> ProvenEquation;  ///< the last one that passed, as it was typed
  std::unique_ptr<Evaluator> EquationEngine;
  std::optional<Block> DataBlock;       ///< last block fetched for a reduction; nothing is Empty
  std::optional<Block> StatisticBlock;  ///< WindowSize scans for statistic tokens
  double Reading = 0;                   ///< value of the current tick
  Bool16 ToolWindowFrame = kFalse;      ///< hidden check box of the dialog; no effect
};

}  // namespace vantoscope
