// SPDX-License-Identifier: GPL-3.0-or-later
// The visible controls of the configuration dialog as one table: what each is, says and where it
// stands. Those that are never shown stand in DialogFields only.
#pragma once

#include <array>

namespace vantoscope {

enum class ControlKind {
  Frame,
  Button,
  ColorButton,
  Label,
  Swatch,
  TextField,
  EquationField,
  Option,
  CheckBox
};

/// Lengths in twips (15 to the logical pixel); left and top count from the corner of the parent.
struct DialogControl {
  const char* name;
  ControlKind kind;
  const char* parent;  ///< a frame, or "Dialog"
  const char* caption;
  int left;
  int top;
  int width;
  int height;
  int tab;                ///< place in the tab order
  const char* spoken;     ///< accessible name where neither a caption nor a buddy gives one
  const char* hint = "";  ///< tool tip
};

inline constexpr const char* kDialogTitle = "Vanto Scope Configuration";
inline constexpr int kDialogWidth = 7215;  ///< client area, twips
inline constexpr int kDialogHeight = 4110;
inline constexpr int kDialogLeft = 2760;  ///< design position on the screen, twips
inline constexpr int kDialogTop = 3600;

// clang-format off
inline constexpr auto kDialogControls = std::to_array<DialogControl>({
    {"Frame3", ControlKind::Frame, "Dialog", "Data Method", 120, 120, 3375, 2055, 15, ""},
    {"Frame4", ControlKind::Frame, "Dialog", "Display", 120, 2280, 3375, 1215, 24, ""},
    {"Frame1", ControlKind::Frame, "Dialog", "Palette", 3720, 120, 3375, 1575, 0, ""},
    {"Frame2", ControlKind::Frame, "Dialog", "Visual Alarm", 3720, 1800, 3375, 1695, 9, ""},
    {"OKButton", ControlKind::Button, "Dialog", "OK", 1020, 3600, 855, 375, 50, ""},
    {"Command5", ControlKind::Button, "Dialog", "Cancel", 3240, 3600, 855, 375, 49, ""},
    {"Command6", ControlKind::Button, "Dialog", "Help", 5340, 3600, 855, 375, 51, "",
     "Open the help page in the browser"},

    {"Label7", ControlKind::Label, "Frame3", "Window Size", 120, 360, 975, 255, 16, ""},
    {"WSText", ControlKind::TextField, "Frame3", "", 1200, 360, 615, 285, 17, "",
     "Newest scans that Min, Max, Ave, RMS and AC RMS are taken over"},
    {"Label1", ControlKind::Label, "Frame3", "ChnIdx:", 2040, 360, 615, 255, 36, ""},
    {"ChnIdxText", ControlKind::TextField, "Frame3", "", 2760, 360, 495, 285, 37, "Channel index",
     "Place of this channel in the host's list, counted from 0"},
    {"MinOption", ControlKind::Option, "Frame3", "Min", 120, 840, 735, 255, 19, "",
     "Lowest value of the window"},
    {"AveOption", ControlKind::Option, "Frame3", "Ave", 1080, 840, 855, 255, 21, "",
     "Mean of the window"},
    {"ACRMSOption", ControlKind::Option, "Frame3", "AC RMS", 2040, 840, 1095, 255, 23, "",
     "Root mean square of the window without its mean"},
    {"MaxOption", ControlKind::Option, "Frame3", "Max", 120, 1200, 615, 255, 20, "",
     "Highest value of the window"},
    {"RMSOption", ControlKind::Option, "Frame3", "RMS", 1080, 1200, 735, 255, 22, "",
     "Root mean square of the window"},
    {"NoneOption", ControlKind::Option, "Frame3", "None", 2040, 1200, 735, 255, 18, "",
     "The newest value as it is"},
    {"CalOption", ControlKind::Option, "Frame3", "", 120, 1560, 255, 255, 32, "Equation result",
     "The result of the equation"},
    {"CalText", ControlKind::EquationField, "Frame3", "", 360, 1560, 2175, 285, 33, "Equation",
     "Equation over channels, such as (CH1-CH2)/2"},
    {"CalUnitText", ControlKind::TextField, "Frame3", "", 2640, 1560, 615, 285, 35,
     "Unit of the equation",
     "Unit of the equation's result; a space in front of it is kept, one behind it is not"},

    {"ShowUnitCheck", ControlKind::CheckBox, "Frame4", "Show Unit", 120, 240, 1095, 255, 26, ""},
    {"Label8", ControlKind::Label, "Frame4", "Transparency (1..255)", 120, 720, 1815, 255, 27, ""},
    {"TransparencyText", ControlKind::TextField, "Frame4", "", 2160, 720, 975, 285, 28, "",
     "Of the meter without its frame: 255 is opaque, 1 all but invisible"},

    {"Label5", ControlKind::Label, "Frame2", "High Limit", 120, 360, 1095, 255, 10, ""},
    {"HLText", ControlKind::TextField, "Frame2", "", 1440, 360, 1695, 285, 11, "",
     "Readings above it take the high limit colour; the decimal separator is the point"},
    {"Label6", ControlKind::Label, "Frame2", "Low Limit", 120, 840, 855, 255, 12, ""},
    {"LLText", ControlKind::TextField, "Frame2", "", 1440, 840, 1695, 285, 13, "",
     "Readings below it take the low limit colour; the decimal separator is the point"},
    {"EnableAlarmCheck", ControlKind::CheckBox, "Frame2", "Enable Visual Alarm", 120, 1320, 2055,
     255, 14, ""},

    {"Command1", ControlKind::ColorButton, "Frame1", "", 120, 360, 255, 255, 1,
     "Foreground colour...", "Pick the colour of the reading"},
    {"FGLabel", ControlKind::Swatch, "Frame1", "Foreground", 480, 360, 1095, 255, 2, ""},
    {"Command2", ControlKind::ColorButton, "Frame1", "", 120, 960, 255, 255, 3,
     "Background colour...", "Pick the colour behind the reading, shown from the next start on"},
    {"BGLabel", ControlKind::Swatch, "Frame1", "Background", 480, 960, 1095, 255, 4, ""},
    {"Command3", ControlKind::ColorButton, "Frame1", "", 1800, 360, 255, 255, 5,
     "High limit colour...", "Pick the colour of readings above the high limit"},
    {"HLLabel", ControlKind::Swatch, "Frame1", "High Limit", 2160, 360, 1095, 255, 6, ""},
    {"Command4", ControlKind::ColorButton, "Frame1", "", 1800, 960, 255, 255, 7,
     "Low limit colour...", "Pick the colour of readings below the low limit"},
    {"LLLabel", ControlKind::Swatch, "Frame1", "Low Limit", 2160, 960, 1095, 255, 8, ""},
});
// clang-format on

}  // namespace vantoscope
