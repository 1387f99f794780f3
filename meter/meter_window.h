// SPDX-License-Identifier: GPL-3.0-or-later
// What a meter asks of its window Form0.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "meter/units.h"

namespace vantoscope {

/// A window operation that this platform does not offer. `Source` names what refused it.
struct WindowError : std::runtime_error {
  WindowError(const std::string& description, std::string source)
      : std::runtime_error(description), Source(std::move(source)) {}
  std::string Source;
};

enum class MessageIcon { None, Information, Critical };

/// Values of BorderStyle.
inline constexpr std::int16_t kFramed = 5;  ///< sizable tool window with a thin title bar
inline constexpr std::int16_t kBare = 0;    ///< no frame at all

/// Places in the z-order, as SetWindowPos takes them and the settings keep them.
inline constexpr std::int16_t kTopMost = -1;
inline constexpr std::int16_t kNotTopMost = -2;

class MeterWindow {
 public:
  MeterWindow() = default;
  MeterWindow(const MeterWindow&) = delete;
  MeterWindow& operator=(const MeterWindow&) = delete;
  virtual ~MeterWindow() = default;

  virtual std::string Title() = 0;
  virtual void SetTitle(std::string_view title) = 0;

  /// Outer rectangle on the screen, frame included. Each setter changes its own edge or size and,
  /// where it changes the size, raises the resize rule before it returns.
  virtual Twips Left() = 0;
  virtual Twips Top() = 0;
  virtual Twips Width() = 0;
  virtual Twips Height() = 0;
  virtual void SetLeft(Twips left) = 0;
  virtual void SetTop(Twips top) = 0;
  virtual void SetWidth(Twips width) = 0;
  virtual void SetHeight(Twips height) = 0;
  /// Whether Left and Top are a place at all: both have been set, or the window has been on the
  /// screen.
  virtual bool HasPlace() = 0;

  /// kFramed, kBare, or what was written last.
  virtual std::int16_t BorderStyle() = 0;
  virtual void SetBorderStyle(std::int16_t style) = 0;
  /// Opacity of the whole window, 1 to 255; throws WindowError where there is none.
  virtual void SetLayeredAlpha(std::uint8_t alpha) = 0;
  /// Z-order only: kTopMost or kNotTopMost; other values leave the order as it is.
  virtual void SetWindowPos(std::int16_t insert_after) = 0;

  virtual Points ClientWidth() = 0;
  virtual Points ClientHeight() = 0;
  /// Colours are 32-bit with red in the low byte (see Color); only the low 24 bits count.
  virtual void SetBackColor(std::int32_t color) = 0;

  /// Label1, the reading.
  virtual void MoveLabel(Points left, Points top, Points width, Points height) = 0;
  virtual Points LabelHeight() = 0;
  virtual void SetLabelFontSize(Points size) = 0;
  virtual void SetLabelBackColor(std::int32_t color) = 0;
  virtual void SetLabelForeColor(std::int32_t color) = 0;
  virtual void SetLabelText(std::string_view text) = 0;

  /// Command1, the settings button above the label.
  virtual void ShowCommand1(bool visible) = 0;
  /// Timer1, the tick of 200 ms.
  virtual void EnableTimer1(bool enabled) = 0;

  /// The pointer's horizontal place on the screen, in the pixels of TwipsPerPixelX; as if a window
  /// that is maximised stood at Left.
  virtual double CursorX() = 0;
  virtual double TwipsPerPixelX() = 0;

  /// A modal box with one OK button; returns when the user has closed it. An empty title stands
  /// for the program's own, "Vanto Scope".
  virtual void ShowMessage(MessageIcon icon, std::string_view text, std::string_view title) = 0;

  /// Ends the process at once; no close step runs after it.
  virtual void EndProcess() = 0;
};

}  // namespace vantoscope
