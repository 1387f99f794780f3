// SPDX-License-Identifier: GPL-3.0-or-later
#include "presentation/window_place.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>
#include <QThread>
#include <QWindow>
#include <algorithm>
#include <utility>

#include "presentation/reach.h"
#include "presentation/screens.h"

namespace vantoscope {
namespace {

constexpr int kCheckMilliseconds = 25;
/// A window manager frames and places in several steps; a place that holds this long is final.
constexpr int kSettledMilliseconds = 250;
/// The same for a window that still waits for the frame it may get.
constexpr int kUnframedMilliseconds = 1500;
/// A window that is not on the screen by then is on another desktop, perhaps; looks are rare then.
constexpr int kShownMilliseconds = 3000;
constexpr int kRareMilliseconds = 1000;
constexpr int kLongestReaction = 8000;
/// It gets this long to answer a request, and that many of them; what it has made of them then is
/// its decision.
constexpr int kAnswerMilliseconds = 100;
constexpr int kRequests = 4;
/// It has a window at hand for this long after each change around it.
constexpr int kAtHandMilliseconds = 80;
/// How long a frame may stay that has been taken away.
constexpr int kUnframingMilliseconds = 250;
/// A saved meter needs a position; this long it may wait for the window manager to choose one.
constexpr int kPositionWaitMilliseconds = 300;
/// A window that is maximised may change its size sooner than its state.
constexpr int kStateLagMilliseconds = 1000;
constexpr int kRecheckMilliseconds = 300;
constexpr int kFrameWaitMilliseconds = 100;
/// Of the title bar, in logical pixels, as long as nobody has told it.
constexpr double kLikelyTitleBar = 24;

xcb_connection_t* XConnection() {
  const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  return x11 != nullptr ? x11->connection() : nullptr;
}

template <typename Condition>
void WaitFor(Condition condition, int milliseconds) {
  constexpr int kPauseMilliseconds = 2;
  QElapsedTimer waited;
  waited.start();
  while (!condition() && !waited.hasExpired(milliseconds)) QThread::msleep(kPauseMilliseconds);
}

}  // namespace

WindowPlace::WindowPlace(QWidget& window)
    : window_(window),
      shy_(window.testAttribute(Qt::WA_ShowWithoutActivating)),
      wanted_(window.geometry()) {
  if (xcb_connection_t* connection = XConnection()) {
    x11_ = X11Window::Open(connection, static_cast<xcb_window_t>(window.winId()));
    if (x11_) x11_->RequestFrame();
  }
  QObject::connect(&timer_, &QTimer::timeout, [this] { CheckPlacing(); });
  recheck_.setInterval(kRecheckMilliseconds);
  recheck_.setSingleShot(true);
  QObject::connect(&recheck_, &QTimer::timeout, [this] { LookAgain(); });
}

WindowPlace::~WindowPlace() = default;

std::optional<X11Look> WindowPlace::Look() {
  std::optional<X11Look> look;
  if (x11_) {
    look = x11_->Look();
  } else {
    look.emplace();
    look->on_screen = window_.isVisible();
    look->client = DeviceFromLogical(window_.geometry());
    look->frame = window_.windowHandle()->frameMargins() * window_.devicePixelRatioF();
    look->stretched = window_.isMaximized() || window_.isFullScreen();
  }
  if (look && (framed_ || look->on_screen)) {
    const bool told = phase_ != Phase::NotShown || !look->frame.isNull();
    if (told) frame_ = look->frame;
  }
  return look;
}

// Until the window is shown its frame is asked for where it first matters, and not at each call.
QMargins WindowPlace::Frame() {
  if (!framed_) return {};
  if (phase_ != Phase::NotShown) Look();
  return frame_;
}

QRect WindowPlace::WantedOuter() const { return DeviceFromLogical(wanted_); }

// A window that has been closed keeps its last place.
QRectF WindowPlace::Outer() {
  if (phase_ == Phase::Placing && !HasPosition()) WaitForPosition();
  if (phase_ == Phase::Stale && window_.isVisible()) Observe();
  return wanted_;
}

QRectF WindowPlace::Shown() {
  const QRectF own = Outer();
  return stretched_.value_or(own);
}

bool WindowPlace::HasPlace() {
  Outer();  // the platform may be about to choose
  return HasPosition();
}

void WindowPlace::Invalidate() {
  if (phase_ == Phase::Settled) Enter(Phase::Stale);
  if (phase_ == Phase::Placing && window_.isVisible()) CheckPlacing();
}

void WindowPlace::LookAgain() {
  const QSizeF before = wanted_.size();
  Invalidate();
  if (Outer().size() != before && OnOtherSize) OnOtherSize();
}

void WindowPlace::Observe() {
  if (const auto look = Look()) Accept(*look);
}

// Takes over what somebody else has made of the window.
void WindowPlace::Accept(const X11Look& look) {
  const QRect observed = OuterOf(look);
  const QRectF seen = LogicalFromDevice(observed);
  if (look.stretched) {
    AcceptStretched(seen);
  } else {
    stretched_.reset();
    TakePosition(seen);
    AcceptEdges(observed, seen);
  }
}

void WindowPlace::AcceptStretched(const QRectF& seen) {
  const bool just_changed =
      change_.since.isValid() && !change_.since.hasExpired(kStateLagMilliseconds);
  if (!stretched_ && just_changed) {
    wanted_ = change_.wanted_before;
    settled_ = change_.settled_before;
    change_.since.invalidate();
  }
  stretched_ = seen;
  Enter(Phase::Settled);
}

// Edge by edge: what still is where it was put keeps its exact value.
void WindowPlace::AcceptEdges(const QRect& observed, const QRectF& seen) {
  if (observed != settled_) {
    const bool goes_on =
        change_.since.isValid() && !change_.since.hasExpired(kStateLagMilliseconds);
    if (!goes_on) {
      change_.wanted_before = wanted_;
      change_.settled_before = settled_;
    }
    change_.since.start();
    recheck_.start();
    if (goes_on && observed == change_.settled_before) {  // nothing but a detour
      wanted_ = change_.wanted_before;
      Settle(observed);
      return;
    }
  }
  if (observed.x() != settled_.x()) wanted_.moveLeft(seen.x());
  if (observed.y() != settled_.y()) wanted_.moveTop(seen.y());
  if (observed.width() != settled_.width()) wanted_.setWidth(seen.width());
  if (observed.height() != settled_.height()) wanted_.setHeight(seen.height());
  Settle(observed);
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
  if (phase_ != Phase::NotShown) MoveWithinReach();
  Apply();
}

// Before the window is shown the toolkit keeps the place and hands it to the window manager.
void WindowPlace::Apply() {
  if (phase_ != Phase::NotShown) {
    StartPlacing();
    return;
  }
  const QSize size = ClientSize().toSize().expandedTo({1, 1});
  if (!HasPosition()) {
    window_.resize(size);
    return;
  }
  const QMargins frame = Frame();
  const QPointF corner =
      wanted_.topLeft() + QPointF(frame.left(), frame.top()) / window_.devicePixelRatioF();
  window_.setGeometry({corner.toPoint(), size});
}

// The toolkit's own flag would make a new native window.
void WindowPlace::SetAbove(bool above) {
  above_ = above;
  if (x11_) {
    x11_->SetAbove(above, phase_ != Phase::NotShown);
  } else {
    window_.windowHandle()->setFlag(Qt::WindowStaysOnTopHint, above);
  }
  if (above && window_.isVisible()) window_.raise();
}

void WindowPlace::Show() {
  if (framed_) Look();
  if (suggested_) TakePosition(LogicalFromDevice(QRect(*suggested_, WantedOuter().size())));
  MoveWithinReach();
  Apply();
  if (x11_ && shy_) x11_->AcceptFocus(false);
  window_.show();
  if (x11_ && window_.devicePixelRatioF() != 1) x11_->AllowEverySize();
  Enter(Phase::Placing);
}

QList<QRectF> WindowPlace::Areas() {
  QList<QRectF> areas;
  const QList<QScreen*> screens = QGuiApplication::screens();
  for (const QScreen* screen : screens) {
    QRect area = DeviceArea(*screen);
    if (x11_ && framed_) area = x11_->WithoutPanels(area, screens.size() == 1);
    areas.push_back(LogicalPart(*screen, area));
  }
  return areas;
}

bool WindowPlace::MoveWithinReach() {
  if (!HasPosition()) return false;
  const double known = Frame().top() / window_.devicePixelRatioF();
  const double title_bar = known > 0 ? known : kLikelyTitleBar;
  const QRectF within_reach = WithinReach(wanted_, framed_ ? title_bar : 0, Areas());
  return std::exchange(wanted_, within_reach) != within_reach;
}

void WindowPlace::KeepWithinReach() {
  Outer();
  if (!stretched_ && MoveWithinReach() && phase_ != Phase::NotShown) StartPlacing();
}

Room WindowPlace::RoomAtPointer() {
  const QScreen* const there = QGuiApplication::screenAt(QCursor::pos());
  const QScreen& screen = there != nullptr ? *there : *QGuiApplication::primaryScreen();
  Room room{.area = DeviceArea(screen), .scale = screen.devicePixelRatio(), .frame = {}};
  if (!x11_) return room;
  if (framed_) {
    const int patience = x11_->AnnouncesFrames() ? kFrameWaitMilliseconds : 0;
    WaitFor([this] { return Look() && !frame_.isNull(); }, patience);
  }
  room.area = x11_->WithoutPanels(room.area, QGuiApplication::screens().size() == 1);
  room.frame = Frame();
  return room;
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
  timer_.start(kCheckMilliseconds);
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

QRect WindowPlace::OuterOf(const X11Look& look) const {
  return framed_ ? look.client.marginsAdded(look.frame) : look.client;
}

// Asks for the wanted place until the window holds it, or the window manager or the user has
// decided otherwise.
void WindowPlace::CheckPlacing() {
  const auto look = Look();
  if (!look) {
    Enter(Phase::Stale);
    return;
  }
  const int waited = static_cast<int>(placing_.since_start.elapsed());
  if (!look->on_screen && waited < kShownMilliseconds) return;
  if (x11_ && std::exchange(shy_, false)) x11_->AcceptFocus(true);
  if (!look->on_screen) {
    timer_.setInterval(kRareMilliseconds);
    return;
  }
  if (timer_.interval() != kCheckMilliseconds) timer_.start(kCheckMilliseconds);
  if (reaction_ == 0) reaction_ = waited > kLongestReaction ? 1 : std::max(1, waited);
  if (!HasPosition()) {
    TakePosition(LogicalFromDevice(OuterOf(*look)));
    MoveWithinReach();
  }
  SeeSurroundings(*look);
  if (look->stretched) {
    AcceptAnother(*look);
  } else if (OuterOf(*look) == WantedOuter()) {
    CheckInPlace(*look);
  } else {
    CheckElsewhere(*look);
  }
}

void WindowPlace::SeeSurroundings(const X11Look& look) {
  const Surroundings now{look.frame, look.parent};
  if (now == placing_.surroundings && placing_.since_surrounded.isValid()) return;
  placing_.surroundings = now;
  placing_.since_surrounded.start();
  placing_.since_match.invalidate();
  placing_.asked = 0;
}

void WindowPlace::CheckInPlace(const X11Look& look) {
  if (!placing_.since_match.isValid()) placing_.since_match.start();
  const bool frame_may_come = framed_ && look.has_manager && look.frame.isNull();
  if (placing_.since_match.hasExpired(
          Patience(frame_may_come ? kUnframedMilliseconds : kSettledMilliseconds))) {
    Settle(WantedOuter());
  }
}

void WindowPlace::CheckElsewhere(const X11Look& look) {
  const QRect observed = OuterOf(look);
  const bool refused = placing_.asked == kRequests && IsAnswered(observed);
  if (IsMovedBySomebody(look) || refused) {
    AcceptAnother(look);
  } else if (!WaitsForUnframing(look) && (placing_.asked == 0 || IsAnswered(observed))) {
    AskForPlace(look);
  }
}

// A quick user may already take hold of a window that has hardly appeared.
bool WindowPlace::IsMovedBySomebody(const X11Look& look) const {
  if (!placing_.since_match.isValid()) return false;
  constexpr int kHandShake = 3;
  const bool drags =
      look.button_is_held && (QCursor::pos() - placing_.pointer).manhattanLength() > kHandShake;
  return drags || placing_.since_surrounded.hasExpired(Patience(kAtHandMilliseconds));
}

// The events that told of it have found the wanted rectangle still.
void WindowPlace::AcceptAnother(const X11Look& look) {
  const QSizeF before = wanted_.size();
  settled_ = WantedOuter();
  Accept(look);
  if (wanted_.size() != before && OnOtherSize) OnOtherSize();
}

bool WindowPlace::WaitsForUnframing(const X11Look& look) const {
  return !framed_ && !look.frame.isNull() &&
         !placing_.since_start.hasExpired(Patience(kUnframingMilliseconds));
}

bool WindowPlace::IsAnswered(const QRect& observed) const {
  return observed != placing_.when_asked ||
         placing_.since_asked.hasExpired(Patience(kAnswerMilliseconds));
}

void WindowPlace::AskForPlace(const X11Look& look) {
  ++placing_.asked;
  placing_.since_asked.start();
  placing_.when_asked = OuterOf(look);
  const QMargins frame = framed_ ? look.frame : QMargins();
  QRect client = WantedOuter().marginsRemoved(frame);
  client.setSize(client.size().expandedTo({1, 1}));
  if (x11_) {
    x11_->Place(client, frame);
  } else {
    window_.setGeometry(LogicalFromDevice(client).toRect());
  }
}

void WindowPlace::WaitForPosition() {
  if (!x11_ || !window_.isVisible()) return;
  WaitFor(
      [this] {
        if (phase_ == Phase::Placing && !HasPosition()) CheckPlacing();
        return phase_ != Phase::Placing || HasPosition();
      },
      kPositionWaitMilliseconds);
}

}  // namespace vantoscope
