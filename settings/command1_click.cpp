// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/command1_click.h"

#include "equation/normaliser.h"
#include "equation/preparation.h"
#include "text/numbers.h"

namespace vantoscope {
namespace {

constexpr std::int64_t kBlockLimit = 32767;  // values of a whole block; this many are too many
constexpr double kAdjustedBlock = 32768;

// The adjustment rounds and is not tested again, so it may leave a product on or above the limit;
// the next closing of the dialog then adjusts to the same value once more.
void AdjustWindowSize(Meter& meter) {
  std::int32_t& window_size = meter.config.WindowSize;
  const auto block_values = [&] {
    return std::int64_t{meter.telvix.ChannelCount()} * std::int64_t{window_size};
  };
  if (block_values() < 1) {
    window_size = 1;
    meter.form.ShowMessage(MessageIcon::Information, "Data Window is invalid, adjustment applied",
                           "Vanto Scope");
  }
  if (block_values() >= kBlockLimit) {
    window_size = RoundToInt32(kAdjustedBlock / meter.telvix.ChannelCount());
    meter.form.ShowMessage(
        MessageIcon::Information,
        "Data Window is too large for this Telvix configuration, adjustment applied",
        "Vanto Scope");
  }
}

void ShowFailure(Meter& meter) {
  meter.form.SetLabelText("Error!");
  meter.form.EnableTimer1(false);
}

void RunEquationAgain(Meter& meter) {
  MeterRuntime& runtime = meter.runtime;
  const TracedText equation = NormaliseEquation(meter, meter.config.MathText);
  runtime.PreparedEquation = equation.Text();
  if (PrepareEquation(meter, equation)) {
    meter.form.EnableTimer1(true);
  } else {
    ShowFailure(meter);
  }
  if (meter.config.DebugMode == kTrue) {
    meter.form.ShowMessage(MessageIcon::Information, runtime.PreparedEquation, "Vantoscope");
  }
}

// The same after OK and after Cancel.
void ReturnFromDialog(Meter& meter) {
  meter.form.SetWindowPos(meter.config.AlwaysOnTop);
  AdjustWindowSize(meter);
  if (meter.config.DataMethod == kMethodCalc) {
    RunEquationAgain(meter);
  } else {
    meter.telvix.Start();
    meter.ticks.refusal.clear();
    meter.form.EnableTimer1(true);
  }
}

}  // namespace

void Command1Click(Meter& meter, const ShowDialog& show_dialog) {
  meter.form.EnableTimer1(false);
  meter.form.SetWindowPos(kNotTopMost);
  if (const auto fields = show_dialog(FillDialogFields(meter))) ApplyDialogFields(*fields, meter);
  try {
    ReturnFromDialog(meter);
  } catch (const SourceError& error) {
    meter.ticks.refusal = error.what();
    ShowFailure(meter);
    meter.form.ShowMessage(MessageIcon::Critical, error.what(), "");
  }
}

}  // namespace vantoscope
