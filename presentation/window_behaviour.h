// SPDX-License-Identifier: GPL-3.0-or-later
// How the window reacts: label layout, the two looks and their swap, the hover rule, alpha. Rules
// over MeterWindow; the toolkit's part is form0.
#pragma once

#include <cstdint>

#include "meter/meter.h"

namespace vantoscope {

/// Label1 over the whole client area, its font as high as the label.
void LayoutLabel(MeterWindow& form);

/// The resize event: LayoutLabel, and while framed WindowWidth and WindowHeight follow the window.
void ResizeRule(Meter& meter);

/// Ends framed, opaque, with Command1 shown. Leaves BorderStyle to the caller.
void ShowFramed(Meter& meter);
/// Ends bare (BorderStyle 0), with alpha Transparency, Command1 hidden.
void ShowBare(Meter& meter);

/// Double click on Label1: framed to bare and back.
void SwapLook(Meter& meter);

/// Timer2's tick: a framed window shows Command1 while the pointer is 0 to 51 pixels right of its
/// left edge.
void HoverRule(MeterWindow& form);

/// Opacity 1 to 255 of the window. Where the platform refuses, one message box, and the caller
/// goes on.
void SetWindowAlpha(MeterWindow& form, std::int16_t alpha);

}  // namespace vantoscope
