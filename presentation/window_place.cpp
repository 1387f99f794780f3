#include "presentation/window_place.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>
#include <QThread>
#include <QWindow>
#include <algorithm>
#include <cmath>

#include "presentation/x11_window.h"

namespace vantoscope {
namespace {

constexpr int kCheckMilliseconds = 25;
/// A window manager frames and places in several steps; a place that holds this long is final.
constexpr int kSettledMilliseconds = 250;
/// A window manager that has not obeyed by then has its own mind, such as a tiling one.
constexpr int kGiveUpMilliseconds = 3000;
/// A saved meter needs a position; this long it may wait for the window manager to choose one.
constexpr int kPlacementWaitMilliseconds = 300;
/// So much of a window, in each direction, must be on a screen for a user to get hold of it.
constexpr double kReachable = 16;
/// Largest side in logical pixels, unless the screens together are larger.
constexpr double kLargestSide = 4096;

double DistanceTo(const QRectF& area, const QPointF& point) {
  const double x = std::max({area.left() - point.x(), 0.0, point.x() - area.right()});
  const double y = std::max({area.top() - point.y(), 0.0, point.y() - area.bottom()});
  return std::hypot(x, y);
}

/// A screen's origin is the same in logical and in device pixels; only what is inside it scales.
QRectF DeviceArea(const QScreen& screen) {
  const QRect area = screen.geometry();
  return {area.topLeft(), QSizeF(area.size()) * screen.devicePixelRatio()};
}

template <typename AreaOf>
const QScreen& NearestScreen(const QPointF& point, AreaOf area_of) {
  const QList<QScreen*> screens = QGuiApplication::screens();
  return **std::min_element(screens.begin(), screens.end(), [&](QScreen* a, QScreen* b) {
    return DistanceTo(area_of(*a), point) < DistanceTo(area_of(*b), point);
  });
}

QRectF LogicalArea(const QScreen& screen) { return screen.geometry(); }

QRect DeviceFromLogical(const QRectF& rectangle) {
  const QScreen& screen = NearestScreen(rectangle.center(), LogicalArea);
  const QPointF origin = screen.geometry().topLeft();
  const double scale = screen.devicePixelRatio();
  const QPointF corner = origin + (rectangle.topLeft() - origin) * scale;
  return {qRound(corner.x()), qRound(corner.y()), qRound(rectangle.width() * scale),
          qRound(rectangle.height() * scale)};
}

QRectF LogicalFromDevice(const QRect& rectangle) {
  const QScreen& screen = NearestScreen(QRectF(rectangle).center(), DeviceArea);
  const QPointF origin = screen.geometry().topLeft();
  const double scale = screen.devicePixelRatio();
  return {origin + (QPointF(rectangle.topLeft()) - origin) / scale,
          QSizeF(rectangle.size()) / scale};
}

bool IsReachable(const QRectF& rectangle) {
  const QList<QScreen*> screens = QGuiApplication::screens();
  return std::any_of(screens.begin(), screens.end(), [&](const QScreen* screen) {
    const QRectF seen = rectangle & QRectF(screen->geometry());
    return seen.width() >= std::min(kReachable, rectangle.width()) &&
           seen.height() >= std::min(kReachable, rectangle.height());
  });
}

double LargestSide(double virtual_side) { return std::max(kLargestSide, virtual_side); }

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

QRectF WindowPlace::Outer() {
  if (!HasPosition()) WaitUntilPlaced();
  if (!placing_ && !known_ && window_.isVisible()) Observe();
  return wanted_;
}

// Takes over what changed, edge by edge: what still is where it was put keeps its exact value.
void WindowPlace::Observe() {
  const auto observed = ObservedOuter();
  if (!observed) return;
  const QRectF seen = LogicalFromDevice(*observed);
  if (observed->x() != settled_.x()) wanted_.moveLeft(seen.x());
  if (observed->y() != settled_.y()) wanted_.moveTop(seen.y());
  if (observed->width() != settled_.width()) wanted_.setWidth(seen.width());
  if (observed->height() != settled_.height()) wanted_.setHeight(seen.height());
  settled_ = *observed;
  known_ = true;
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
  const double largest = LargestSide(QGuiApplication::primaryScreen()->virtualSize().width());
  wanted_.setWidth(std::min(width, largest));
  Apply();
}

void WindowPlace::SetHeight(double height) {
  const double largest = LargestSide(QGuiApplication::primaryScreen()->virtualSize().height());
  wanted_.setHeight(std::min(height, largest));
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
  const QRectF outer = Outer();
  framed_ = framed;
  wanted_ = outer;
  // In place: hiding the window for it would let it flicker and lose the keyboard.
  window_.overrideWindowFlags(window_.windowFlags().setFlag(Qt::FramelessWindowHint, !framed));
  window_.windowHandle()->setFlag(Qt::FramelessWindowHint, !framed);
  SetAbove(above_);  // which the toolkit, not knowing of it, has just undone
  Apply();
}

// Before the window is shown the toolkit keeps the place and hands it to the window manager.
void WindowPlace::Apply() {
  if (window_.isVisible()) {
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
  if (!HasPosition() || IsReachable(wanted_)) return;
  const QRectF area = NearestScreen(wanted_.center(), LogicalArea).availableGeometry();
  wanted_.moveLeft(std::max(area.left(), std::min(wanted_.left(), area.right() - wanted_.width())));
  wanted_.moveTop(std::max(area.top(), std::min(wanted_.top(), area.bottom() - wanted_.height())));
  if (window_.isVisible()) Apply();
}

void WindowPlace::StartPlacing() {
  placing_ = true;
  known_ = false;
  since_show_.start();
  since_match_.invalidate();
  matched_ = false;
  pointer_ = QCursor::pos();
  timer_.start();
  CheckPlacing();
}

// What nobody asked for is where the platform put the window.
void WindowPlace::TakePosition(const QRectF& seen) {
  if (!has_left_) wanted_.moveLeft(seen.left());
  if (!has_top_) wanted_.moveTop(seen.top());
  has_left_ = has_top_ = true;
}

// Asks for the wanted place until the window holds it.
void WindowPlace::CheckPlacing() {
  const bool placed = x11_ ? x11_->IsPlaced() : window_.isVisible();
  const bool give_up = since_show_.hasExpired(kGiveUpMilliseconds);
  if (!placed && !give_up) return;
  const auto observed = ObservedOuter();
  if (!observed) {
    timer_.stop();
    return;
  }
  TakePosition(LogicalFromDevice(*observed));
  if (*observed == WantedOuter()) {
    if (!since_match_.isValid()) since_match_.start();
    matched_ = true;
  } else if (matched_ && UserDrags()) {
    settled_ = WantedOuter();
    placing_ = false;
    timer_.stop();
    return;
  } else if (!give_up) {
    since_match_.invalidate();
    const QMargins frame = Frame();
    QRect client = WantedOuter().marginsRemoved(frame);
    client.setSize(client.size().expandedTo({1, 1}));
    if (x11_) {
      x11_->Place(client, frame);
    } else {
      window_.setGeometry(LogicalFromDevice(client).toRect());
    }
    return;
  }
  if (give_up || since_match_.hasExpired(kSettledMilliseconds)) {
    settled_ = *observed;
    known_ = true;
    placing_ = false;
    timer_.stop();
  }
}

// A quick user may already take hold of a window that has hardly appeared.
bool WindowPlace::UserDrags() {
  constexpr int kHandShake = 3;
  return x11_ && x11_->ButtonIsHeld() && (QCursor::pos() - pointer_).manhattanLength() > kHandShake;
}

void WindowPlace::WaitUntilPlaced() {
  if (!x11_ || !window_.isVisible()) return;
  QElapsedTimer waited;
  waited.start();
  while (!HasPosition() && !waited.hasExpired(kPlacementWaitMilliseconds)) {
    CheckPlacing();
    if (!HasPosition()) QThread::msleep(5);
  }
}

}  // namespace vantoscope
