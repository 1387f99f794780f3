// SPDX-License-Identifier: GPL-3.0-or-later
// Form0: the meter's window with Label1, Command1 and the two timers, as Qt widgets. It draws and
// reports; how it reacts is told by window_behaviour.h and wired by its owner.
#pragma once

#include <QTimer>
#include <QWidget>
#include <functional>

#include "meter/meter_window.h"
#include "meter/reading_state.h"
#include "presentation/pointer_place.h"
#include "presentation/reading_accessible.h"
#include "presentation/reading_label.h"
#include "presentation/window_place.h"

namespace vantoscope {

class SettingsButton;

class Form0 final : public QWidget, public MeterWindow {
 public:
  explicit Form0(bool take_focus);

  /// Events, set before Open.
  std::function<void()> OnResize;
  std::function<void()> OnLabelDoubleClick;
  std::function<void()> OnTimer1;
  std::function<void()> OnTimer2;
  std::function<void()> OnCommand1Click;
  /// The window is about to close.
  std::function<void()> OnUnload;
  /// Asked for the tool tip of the reading; UTF-8, plain lines.
  std::function<std::string()> OnAskAbout;
  /// Asked by assistive technology.
  std::function<SpokenReading()> OnAskSpoken;

  /// The outer corner, in device pixels, where no setting tells one by the time of Open.
  void SuggestPlace(const QPoint& corner) { place_.Suggest(corner); }
  /// The frame that it will get, in device pixels, until the window manager tells it.
  void SuggestFrame(const QMargins& frame) { place_.SuggestFrame(frame); }
  Room RoomAtPointer() { return place_.RoomAtPointer(); }
  /// Shows the window in the state that the MeterWindow calls have left.
  void Open();
  /// Brings position and size up to date with the screen, ahead of events still on their way.
  void LookAgain() { place_.LookAgain(); }
  /// Raises OnUnload if that has not happened yet.
  void Unload();

  /// Marks the reading by its state; `sentence` is what a screen reader says of it.
  void SetDoubt(ReadingState state, std::string_view sentence);
  /// The font of the reading as it is shown.
  [[nodiscard]] QFont ReadingFont() const;
  /// Tells assistive technology of something that nobody asked for.
  void Announce(std::string_view sentence);
  /// The text of the reading as it stands.
  [[nodiscard]] std::string Reading() const;
  /// Whether the window is too narrow for the whole reading.
  [[nodiscard]] bool ReadingIsCut() const;

  std::string Title() override;
  void SetTitle(std::string_view title) override;
  Twips Left() override;
  Twips Top() override;
  Twips Width() override;
  Twips Height() override;
  void SetLeft(Twips left) override;
  void SetTop(Twips top) override;
  void SetWidth(Twips width) override;
  void SetHeight(Twips height) override;
  bool HasPlace() override { return place_.HasPlace(); }
  std::int16_t BorderStyle() override { return border_style_; }
  void SetBorderStyle(std::int16_t style) override;
  void SetLayeredAlpha(std::uint8_t alpha) override;
  void SetWindowPos(std::int16_t insert_after) override;
  Points ClientWidth() override;
  Points ClientHeight() override;
  void SetBackColor(std::int32_t color) override;
  void MoveLabel(Points left, Points top, Points width, Points height) override;
  Points LabelHeight() override;
  void SetLabelFontSize(Points size) override;
  void SetLabelBackColor(std::int32_t color) override;
  void SetLabelForeColor(std::int32_t color) override;
  void SetLabelText(std::string_view text) override;
  void ShowCommand1(bool visible) override;
  void EnableTimer1(bool enabled) override;
  double CursorX() override;
  double TwipsPerPixelX() override { return kTwipsPerPixel; }
  void ShowMessage(MessageIcon icon, std::string_view text, std::string_view title) override;
  void EndProcess() override;

 protected:
  void resizeEvent(QResizeEvent* event) override;
  void moveEvent(QMoveEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void RaiseResize();
  void WatchScreen(QScreen* screen);

  ReadingLabel* label1_;
  Announcer announcer_{this};
  SettingsButton* command1_;
  QTimer timer1_;
  QTimer timer2_;
  QTimer screens_changed_;
  bool opened_ = false;
  std::int16_t border_style_ = kFramed;
  WindowPlace place_;
  PointerPlace pointer_;
};

}  // namespace vantoscope
