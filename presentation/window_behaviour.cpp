// SPDX-License-Identifier: GPL-3.0-or-later
#include "presentation/window_behaviour.h"

#include <algorithm>
#include <cmath>

#include "text/numbers.h"

namespace vantoscope {
namespace {

/// Width of the strip, from the window's left edge, in which the pointer shows Command1.
constexpr double kHoverStripPixels = 52;
/// A window squeezed to nothing still has a valid font.
constexpr Points kSmallestFont{1};

}  // namespace

void LayoutLabel(MeterWindow& form) {
  form.MoveLabel({0}, {0}, form.ClientWidth(), form.ClientHeight());
  form.SetLabelFontSize(std::max(form.LabelHeight(), kSmallestFont));
}

void ResizeRule(Meter& meter) {
  LayoutLabel(meter.form);
  if (meter.form.BorderStyle() == kBare) return;
  meter.config.WindowHeight = RoundToInt32(meter.form.Height().value);
  meter.config.WindowWidth = RoundToInt32(meter.form.Width().value);
}

void ShowFramed(Meter& meter) {
  meter.form.SetTitle(meter.form.Title());
  SetWindowAlpha(meter.form, 255);
  meter.form.ShowCommand1(true);
}

void ShowBare(Meter& meter) {
  meter.form.SetBorderStyle(kBare);
  meter.form.SetTitle(meter.form.Title());
  SetWindowAlpha(meter.form, meter.config.Transparency);
  meter.form.ShowCommand1(false);
}

void SwapLook(Meter& meter) {
  if (meter.form.BorderStyle() != kBare) {
    ShowBare(meter);
  } else {
    meter.form.SetBorderStyle(kFramed);
    ShowFramed(meter);
  }
}

void HoverRule(MeterWindow& form) {
  if (form.BorderStyle() == kBare) return;
  const double cursor = form.CursorX();
  const double distance = std::nearbyint(cursor - form.Left().value / form.TwipsPerPixelX());
  form.ShowCommand1(distance >= 0 && distance < kHoverStripPixels);
}

void SetWindowAlpha(MeterWindow& form, std::int16_t alpha) {
  try {
    form.SetLayeredAlpha(static_cast<std::uint8_t>(alpha));
  } catch (const WindowError& error) {
    form.ShowMessage(MessageIcon::None, std::string(error.what()) + " Source : " + error.Source,
                     "");
  }
}

}  // namespace vantoscope
