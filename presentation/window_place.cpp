#include "presentation/window_place.h"

#include <QCursor>
#include <QGuiApplication>
#include <QThread>
#include <QWindow>
#include <algorithm>

#include "presentation/screens.h"
#include "presentation/x11_window.h"

namespace vantoscope {
namespace {

constexpr int kCheckMilliseconds = 25;
/// A window manager frames and places in several steps; a place that holds this long is final.
constexpr int kSettledMilliseconds = 250;
/// A window manager that has not obeyed by then has its own mind, such as a tiling one.
constexpr int kGiveUpMilliseconds = 3000;
/// A saved meter needs a position; this long it may wait for the window manager to choose one.
constexpr int kPositionWaitMilliseconds = 300;

xcb_connection_t* XConnection() {
  const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  return x11 != nullptr ? x11->connection() : nullptr;
}

}  // namespace

WindowPlace::WindowPlace(QWidget& window) : window_(window), wanted_(window.geometry()) {
  if (xcb_connection_t* connection = XConnection()) {
    x11_ = X11Window::Open(connection, static_cast<xcb_window_t>(window.winId()));
    if (x11_) x11_->RequestFrame();
  }
  const QMargins frame = Frame();
  wanted_.setSize(wanted_.size() +
                  QSizeF(frame.left() + frame.right(), frame.top() + frame.bottom()) /
                      window.devicePixelRatioF());
  timer_.setInterval(kCheckMilliseconds);
  QObject::connect(&timer_, &QTimer::timeout, [this] { CheckPlacing(); });
}

WindowPlace::~WindowPlace() = default;

QMargins WindowPlace::Frame() {
  if (!framed_) return {};
  if (!x11_) return window_.windowHandle()->frameMargins() * window_.devicePixelRatioF();
  if (!x11_->HasManager()) return {};
  if (const auto frame = x11_->Frame()) frame_ = *frame;
  return frame_;
}

std::optional<QRect> WindowPlace::ObservedOuter() {
  const auto client = x11_ ? x11_->Client() : DeviceFromLogical(window_.geometry());
  if (!client) return std::nullopt;
  return client->marginsAdded(Frame());
}

QRect WindowPlace::WantedOuter() const { return DeviceFromLogical(wanted_); }

// A window that has been closed keeps its last place.
QRectF WindowPlace::Outer() {
  if (phase_ == Phase::Placing && !HasPosition()) WaitForPosition();
  if (phase_ == Phase::Stale && window_.isVisible()) Observe();
  return wanted_;
}

bool WindowPlace::HasPlace() {
  Outer();  // the platform may be about to choose
  return HasPosition();
}

void WindowPlace::Invalidate() {
  if (phase_ == Phase::Settled) Enter(Phase::Stale);
}

// Takes over what changed, edge by edge: what still is where it was put keeps its exact value.
void WindowPlace::Observe() {
  const auto observed = ObservedOuter();
  if (!observed) return;
  const QRectF seen = LogicalFromDevice(*observed);
  TakePosition(seen);
  if (observed->x() != settled_.x()) wanted_.moveLeft(seen.x());
  if (observed->y() != settled_.y()) wanted_.moveTop(seen.y());
  if (observed->width() != settled_.width()) wanted_.setWidth(seen.width());
  if (observed->height() != settled_.height()) wanted_.setHeight(seen.height());
  Settle(*observed);
}

void WindowPlace::SetLeft(double left) {
  has_left_ = true;
  wanted_.moveLeft(left);
  Apply();
}

void WindowPlace::SetTop(double top) {
  has_top_ = true;
  wanted_.moveTop(top);
  Apply();
}

void WindowPlace::SetWidth(double width) {
  wanted_.setWidth(std::min(width, LargestWindow().width()));
  Apply();
}

void WindowPlace::SetHeight(double height) {
  wanted_.setHeight(std::min(height, LargestWindow().height()));
  Apply();
}

QSizeF WindowPlace::ClientSize() {
  if (window_.isVisible()) return window_.size();
  const QMargins frame = Frame();
  const double scale = window_.devicePixelRatioF();
  return {std::max(1.0, wanted_.width() - (frame.left() + frame.right()) / scale),
          std::max(1.0, wanted_.height() - (frame.top() + frame.bottom()) / scale)};
}

void WindowPlace::SetFramed(bool framed) {
  if (framed_ == framed) return;
  Outer();  // takes over what the user changed while the frame is still the old one
  framed_ = framed;
  // In place: hiding the window for it would let it flicker and lose the keyboard.
  window_.overrideWindowFlags(window_.windowFlags().setFlag(Qt::FramelessWindowHint, !framed));
  window_.windowHandle()->setFlag(Qt::FramelessWindowHint, !framed);
  SetAbove(above_);  // which the toolkit, not knowing of it, has just undone
  Apply();
}

// Before the window is shown the toolkit keeps the place and hands it to the window manager.
void WindowPlace::Apply() {
  if (phase_ != Phase::NotShown) {
    StartPlacing();
    return;
  }
  const QSizeF client = ClientSize();
  window_.resize(std::max(1, qRound(client.width())), std::max(1, qRound(client.height())));
  // Last: a change of size makes the toolkit take the position for that of the client area.
  if (HasPosition()) window_.windowHandle()->setFramePosition(wanted_.topLeft().toPoint());
}

// The toolkit's own flag would make a new native window.
void WindowPlace::SetAbove(bool above) {
  above_ = above;
  if (x11_) {
    x11_->SetAbove(above);
  } else {
    window_.windowHandle()->setFlag(Qt::WindowStaysOnTopHint, above);
  }
  if (above && window_.isVisible()) window_.raise();
}

void WindowPlace::Show() {
  KeepOnScreen();
  Apply();
  window_.show();
  StartPlacing();
}

void WindowPlace::KeepOnScreen() {
  if (!HasPosition()) return;
  const QRectF within_reach = WithinReach(wanted_);
  if (within_reach == wanted_) return;
  wanted_ = within_reach;
  if (phase_ != Phase::NotShown) StartPlacing();
}

void WindowPlace::Enter(Phase phase) {
  phase_ = phase;
  if (phase != Phase::Placing) {
    timer_.stop();
    return;
  }
  placing_ = {};
  placing_.since_start.start();
  placing_.pointer = QCursor::pos();
  timer_.start();
}

void WindowPlace::StartPlacing() {
  Enter(Phase::Placing);
  CheckPlacing();
}

void WindowPlace::Settle(const QRect& observed) {
  settled_ = observed;
  Enter(Phase::Settled);
}

// What nobody asked for is where the platform put the window.
void WindowPlace::TakePosition(const QRectF& seen) {
  if (!has_left_) wanted_.moveLeft(seen.left());
  if (!has_top_) wanted_.moveTop(seen.top());
  has_left_ = has_top_ = true;
}

// Asks for the wanted place until the window holds it.
void WindowPlace::CheckPlacing() {
  const bool on_screen = x11_ ? x11_->IsPlaced() : window_.isVisible();
  const bool give_up = placing_.since_start.hasExpired(kGiveUpMilliseconds);
  if (!on_screen && !give_up) return;
  const auto observed = ObservedOuter();
  if (!observed) {
    Enter(Phase::Stale);
    return;
  }
  TakePosition(LogicalFromDevice(*observed));
  if (*observed == WantedOuter()) {
    if (!placing_.since_match.isValid()) placing_.since_match.start();
    placing_.matched = true;
    if (give_up || placing_.since_match.hasExpired(kSettledMilliseconds)) Settle(*observed);
  } else if (placing_.matched && UserDrags()) {
    settled_ = WantedOuter();
    Enter(Phase::Stale);
  } else if (give_up) {
    Settle(*observed);
  } else {
    placing_.since_match.invalidate();
    AskForPlace();
  }
}

void WindowPlace::AskForPlace() {
  const QMargins frame = Frame();
  QRect client = WantedOuter().marginsRemoved(frame);
  client.setSize(client.size().expandedTo({1, 1}));
  if (x11_) {
    x11_->Place(client, frame);
  } else {
    window_.setGeometry(LogicalFromDevice(client).toRect());
  }
}

// A quick user may already take hold of a window that has hardly appeared.
bool WindowPlace::UserDrags() {
  constexpr int kHandShake = 3;
  return x11_ && x11_->ButtonIsHeld() &&
         (QCursor::pos() - placing_.pointer).manhattanLength() > kHandShake;
}

void WindowPlace::WaitForPosition() {
  if (!x11_ || !window_.isVisible()) return;
  QElapsedTimer waited;
  waited.start();
  while (phase_ == Phase::Placing && !HasPosition() &&
         !waited.hasExpired(kPositionWaitMilliseconds)) {
    CheckPlacing();
    if (!HasPosition()) QThread::msleep(5);
  }
}

}  // namespace vantoscope
