// The outer rectangle of a top-level window, frame included, in logical pixels as fractions. What
// was asked for stays the answer until the user or the window manager puts the window elsewhere:
// neither a frame that is not known yet nor the rounding to device pixels ever gets into it, so a
// rectangle that is stored and restored does not wander.
#pragma once

#include <QElapsedTimer>
#include <QMargins>
#include <QRect>
#include <QTimer>
#include <QWidget>
#include <memory>
#include <optional>

namespace vantoscope {

class X11Window;

class WindowPlace {
 public:
  /// `window` has its native window already and is not shown yet.
  explicit WindowPlace(QWidget& window);
  ~WindowPlace();
  WindowPlace(const WindowPlace&) = delete;
  WindowPlace& operator=(const WindowPlace&) = delete;

  /// The outer rectangle at this moment, as far as events have told of changes. Asks nobody while
  /// nothing has changed.
  QRectF Outer();
  /// Whether the position of Outer has been asked for, or is where the platform put the window.
  bool HasPlace();
  /// Tells that an event announced a change; the next Outer looks for itself.
  void Invalidate();
  void SetLeft(double left);
  void SetTop(double top);
  void SetWidth(double width);
  void SetHeight(double height);
  /// The client area that goes with Outer.
  QSizeF ClientSize();

  /// Gives the window its frame or takes it away; the outer rectangle stays.
  void SetFramed(bool framed);
  /// Keeps the window above all others, or no longer.
  void SetAbove(bool above);
  /// Shows the window at its place, on a screen that exists. Without a position the platform
  /// chooses.
  void Show();
  /// Brings a window that no screen shows back to the nearest one.
  void KeepOnScreen();

 private:
  enum class Phase {
    NotShown,  ///< a wish, until Show
    Placing,   ///< the window manager is about to frame and place the window; after every wish
    Settled,   ///< the screen shows settled_
    Stale,     ///< an event or the user's hand has announced a change; until somebody asks
  };
  /// What belongs to one placing.
  struct Placing {
    QElapsedTimer since_start;
    QElapsedTimer since_match;  ///< invalid while the window is not in its place
    bool matched = false;       ///< it has been in its place once
    QPoint pointer;             ///< where it was at the start
  };

  void Enter(Phase phase);
  void StartPlacing();
  void CheckPlacing();
  void AskForPlace();
  void Settle(const QRect& observed);
  void Observe();
  void WaitForPosition();
  void Apply();
  bool UserDrags();
  void TakePosition(const QRectF& seen);
  [[nodiscard]] bool HasPosition() const { return has_left_ && has_top_; }
  [[nodiscard]] QMargins Frame();
  [[nodiscard]] std::optional<QRect> ObservedOuter();
  [[nodiscard]] QRect WantedOuter() const;

  QWidget& window_;
  std::unique_ptr<X11Window> x11_;
  bool framed_ = true;
  bool above_ = false;
  QRectF wanted_;
  bool has_left_ = false;  // asked for, or chosen by the platform already
  bool has_top_ = false;
  Phase phase_ = Phase::NotShown;
  Placing placing_;
  QRect settled_;   // device pixels that stand for wanted_
  QMargins frame_;  // device pixels, as last seen
  QTimer timer_;    // runs while placing
};

}  // namespace vantoscope
