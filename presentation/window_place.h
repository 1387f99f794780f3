// SPDX-License-Identifier: GPL-3.0-or-later
// The outer rectangle of a top-level window, frame included, in logical pixels as fractions. What
// was asked for stays the answer until the user or the window manager puts the window elsewhere:
// neither a frame that is not known yet nor the rounding to device pixels ever gets into it, so a
// rectangle that is stored and restored does not wander. While the window is maximised, full screen
// or tiled, it is the rectangle before.
#pragma once

#include <QElapsedTimer>
#include <QMargins>
#include <QRect>
#include <QTimer>
#include <QWidget>
#include <algorithm>
#include <functional>
#include <memory>
#include <optional>

#include "presentation/x11_window.h"

namespace vantoscope {

/// Where the pointer is there is room for windows; device pixels.
struct Room {
  QRect area;  ///< of the screen, without panels
  double scale = 1;
  QMargins frame;  ///< of this window; empty where nobody has told it yet
};

class WindowPlace {
 public:
  /// `window` has its native window already and is not shown yet.
  explicit WindowPlace(QWidget& window);
  ~WindowPlace();
  WindowPlace(const WindowPlace&) = delete;
  WindowPlace& operator=(const WindowPlace&) = delete;

  /// Told when Outer has another size, and no event of the window has said so.
  std::function<void()> OnOtherSize;

  /// The outer rectangle at this moment, as far as events have told of changes. Asks nobody while
  /// nothing has changed.
  QRectF Outer();
  /// What the screen shows instead of Outer while the window is maximised and the like; else the
  /// same.
  QRectF Shown();
  /// Whether the position of Outer has been asked for, or is where the platform put the window.
  bool HasPlace();
  /// Tells that an event announced a change; the next Outer looks for itself.
  void Invalidate();
  /// Looks at once, ahead of events still on their way.
  void LookAgain();
  void SetLeft(double left);
  void SetTop(double top);
  void SetWidth(double width);
  void SetHeight(double height);
  /// The outer corner, in device pixels, for a side that nobody asks for by the time of Show.
  void Suggest(const QPoint& corner) { suggested_ = corner; }
  /// The frame, in device pixels, that holds until the window manager tells one.
  void SuggestFrame(const QMargins& frame) {
    if (frame_.isNull()) frame_ = frame;
  }
  /// The client area that goes with Outer.
  QSizeF ClientSize();

  /// Gives the window its frame or takes it away; the outer rectangle stays.
  void SetFramed(bool framed);
  /// Keeps the window above all others, or no longer.
  void SetAbove(bool above);
  /// Shows the window at its place, within reach of the user. Without a position the platform
  /// chooses.
  void Show();
  /// Brings a window of which no screen shows enough back to the nearest one.
  void KeepWithinReach();
  /// The room on the screen that the pointer is on. May wait a moment for the window manager.
  Room RoomAtPointer();

 private:
  enum class Phase {
    NotShown,  ///< a wish, until Show
    Placing,   ///< the window manager is about to frame and place the window; after every wish
    Settled,   ///< the screen shows settled_
    Stale,     ///< an event or the user's hand has announced a change; until somebody asks
  };
  /// What a window manager changes around a window while it takes it into its hands. Nobody else
  /// does, so that a window which moves when this has rested for a while has been moved by
  /// somebody.
  struct Surroundings {
    QMargins frame;
    xcb_window_t parent = XCB_NONE;

    bool operator==(const Surroundings&) const = default;
  };
  /// What belongs to one placing.
  struct Placing {
    QElapsedTimer since_start;
    QElapsedTimer since_match;  ///< invalid while the window is not in its place
    QElapsedTimer since_asked;  ///< invalid until the first time
    int asked = 0;              ///< how often, in these surroundings
    QRect when_asked;
    Surroundings surroundings;
    QElapsedTimer since_surrounded;
    QPoint pointer;  ///< where it was at the start
  };
  struct Change {
    QElapsedTimer since;
    QRectF wanted_before;
    QRect settled_before;
  };

  void Enter(Phase phase);
  void StartPlacing();
  void CheckPlacing();
  void CheckInPlace(const X11Look& look);
  void CheckElsewhere(const X11Look& look);
  void AskForPlace(const X11Look& look);
  void SeeSurroundings(const X11Look& look);
  [[nodiscard]] bool IsMovedBySomebody(const X11Look& look) const;
  /// At least as long as the window manager took to show the window: a machine under load is slow.
  [[nodiscard]] int Patience(int milliseconds) const { return std::max(milliseconds, reaction_); }
  [[nodiscard]] bool IsAnswered(const QRect& observed) const;
  [[nodiscard]] bool WaitsForUnframing(const X11Look& look) const;
  void Settle(const QRect& observed);
  void Observe();
  void Accept(const X11Look& look);
  void AcceptAnother(const X11Look& look);
  void AcceptStretched(const QRectF& seen);
  void AcceptEdges(const QRect& observed, const QRectF& seen);
  void WaitForPosition();
  void Apply();
  void TakePosition(const QRectF& seen);
  bool MoveWithinReach();
  [[nodiscard]] bool HasPosition() const { return has_left_ && has_top_; }
  [[nodiscard]] QRect OuterOf(const X11Look& look) const;
  std::optional<X11Look> Look();
  [[nodiscard]] QMargins Frame();
  [[nodiscard]] QRect WantedOuter() const;
  [[nodiscard]] QList<QRectF> Areas();

  QWidget& window_;
  std::unique_ptr<X11Window> x11_;
  bool framed_ = true;
  bool above_ = false;
  bool shy_ = false;  // not to get the keyboard from being shown
  QRectF wanted_;
  bool has_left_ = false;  // asked for, or chosen by the platform already
  bool has_top_ = false;
  std::optional<QPoint> suggested_;
  Phase phase_ = Phase::NotShown;
  int reaction_ = 0;  // milliseconds from Show to the screen; 0 until then
  Placing placing_;
  QRect settled_;                    // device pixels that stand for wanted_
  std::optional<QRectF> stretched_;  // while maximised and the like
  Change change_;                    // the last one by somebody else
  QMargins frame_;                   // device pixels, as last seen
  QTimer timer_;                     // runs while placing
  QTimer recheck_;                   // after a change by somebody else
};

}  // namespace vantoscope
