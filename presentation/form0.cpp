// SPDX-License-Identifier: GPL-3.0-or-later
#include "presentation/form0.h"

#include <QCloseEvent>
#include <QCursor>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QMouseEvent>
#include <QScreen>
#include <QShortcut>
#include <QToolTip>
#include <QWindow>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "presentation/color.h"
#include "presentation/message_box.h"
#include "presentation/settings_button.h"
#include "presentation/x11_pointer_rest.h"

namespace vantoscope {
namespace {

constexpr const char* kDesignTitle = "Form1";
constexpr const char* kDesignCaption = "009000";
constexpr Twips kDesignClientWidth{6510};
constexpr Twips kDesignClientHeight{3480};
constexpr Twips kCommand1Corner{120};
constexpr Twips kCommand1Side{495};
constexpr int kTimer1Milliseconds = 200;
constexpr int kTimer2Milliseconds = 100;
/// A desktop whose screens change gets this long to put its windows in order by itself.
constexpr int kScreensMilliseconds = 500;

QString Text(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

int WholePixels(Twips twips) { return qRound(PixelsFromTwips(twips)); }
int WholePixels(Points points) { return qRound(PixelsFromPoints(points)); }

/// The native window must exist before WindowPlace watches it.
QWidget& Prepared(QWidget& form, bool take_focus) {
  form.setWindowFlags(Qt::Tool);
  form.setAttribute(Qt::WA_ShowWithoutActivating, !take_focus);
  form.setAttribute(Qt::WA_QuitOnClose);
  form.setAttribute(Qt::WA_AlwaysShowToolTips);  // the window mostly is not the active one
  form.resize(WholePixels(kDesignClientWidth), WholePixels(kDesignClientHeight));
  form.winId();
  form.windowHandle()->setBaseSize({0, 0});  // unset, a scaled desktop may take it for -1, and huge
  return form;
}

}  // namespace

Form0::Form0(bool take_focus)
    : label1_(new ReadingLabel(this)),
      command1_(new SettingsButton(this)),
      place_(Prepared(*this, take_focus)),
      pointer_([] { return QCursor::pos(); }, X11PointerRest::Open) {
  setWindowTitle(kDesignTitle);
  label1_->SetReading(kDesignCaption);
  label1_->SetDoubt(ReadingState::Waiting);
  label1_->installEventFilter(this);
  label1_->OnAskSpoken = [this] { return OnAskSpoken ? OnAskSpoken() : SpokenReading{}; };
  label1_->setFocus();
  label1_->setGeometry(rect());
  const int corner = WholePixels(kCommand1Corner);
  const int side = WholePixels(kCommand1Side);
  command1_->setGeometry(corner, corner, side, side);
  command1_->raise();

  timer1_.setInterval(kTimer1Milliseconds);
  timer2_.setInterval(kTimer2Milliseconds);
  // A box of start-up runs an event loop too, and no reading may stand below it.
  connect(&timer1_, &QTimer::timeout, this, [this] {
    if (opened_) OnTimer1();
  });
  connect(&timer2_, &QTimer::timeout, this, [this] { OnTimer2(); });
  connect(command1_, &QPushButton::clicked, this, [this] { OnCommand1Click(); });
  // The button is hidden while the pointer is elsewhere; the keyboard reaches it all the same.
  const auto* shortcut = new QShortcut(QKeySequence("Ctrl+,"), this);
  connect(shortcut, &QShortcut::activated, this, [this] {
    if (border_style_ != kBare) OnCommand1Click();
  });
  place_.OnOtherSize = [this] { RaiseResize(); };
  screens_changed_.setSingleShot(true);
  screens_changed_.setInterval(kScreensMilliseconds);
  connect(&screens_changed_, &QTimer::timeout, this, [this] {
    pointer_.Forget();
    place_.KeepWithinReach();
  });
  connect(qGuiApp, &QGuiApplication::screenAdded, this, [this](QScreen* screen) {
    WatchScreen(screen);
    screens_changed_.start();
  });
  connect(qGuiApp, &QGuiApplication::screenRemoved, this, [this] { screens_changed_.start(); });
  for (QScreen* screen : QGuiApplication::screens()) WatchScreen(screen);
  timer2_.start();
}

// Looking through the fonts takes longer than all else, and the window manager has the time to tell
// its frame, so that the window is shown in its final size at once.
void Form0::Open() {
  opened_ = true;
  QFontDatabase::hasFamily(label1_->font().family());
  place_.Show();
}

void Form0::WatchScreen(QScreen* screen) {
  const auto changed = [this] { screens_changed_.start(); };
  connect(screen, &QScreen::geometryChanged, this, changed);
  connect(screen, &QScreen::availableGeometryChanged, this, changed);
}

void Form0::Unload() {
  if (!OnUnload) return;
  LookAgain();
  std::exchange(OnUnload, nullptr)();
}

void Form0::SetDoubt(ReadingState state, std::string_view sentence) {
  label1_->SetDoubt(state);
  if (const QString text = Text(sentence); text != label1_->accessibleDescription()) {
    label1_->setAccessibleDescription(text);
  }
}

QFont Form0::ReadingFont() const { return label1_->font(); }
void Form0::Announce(std::string_view sentence) { announcer_.Say(Text(sentence)); }

std::string Form0::Reading() const { return label1_->Text().toStdString(); }

bool Form0::ReadingIsCut() const { return label1_->IsCut(); }

bool Form0::eventFilter(QObject* watched, QEvent* event) {
  if (watched != label1_ || event->type() != QEvent::ToolTip || !OnAskAbout) return false;
  QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), Text(OnAskAbout()), label1_);
  return true;
}

std::string Form0::Title() { return windowTitle().toStdString(); }
void Form0::SetTitle(std::string_view title) {
  setWindowTitle(Text(title));
  label1_->setAccessibleName(Text(title));
}

Twips Form0::Left() { return TwipsFromPixels(place_.Outer().left()); }
Twips Form0::Top() { return TwipsFromPixels(place_.Outer().top()); }
Twips Form0::Width() { return TwipsFromPixels(place_.Outer().width()); }
Twips Form0::Height() { return TwipsFromPixels(place_.Outer().height()); }

void Form0::SetLeft(Twips left) { place_.SetLeft(PixelsFromTwips(left)); }
void Form0::SetTop(Twips top) { place_.SetTop(PixelsFromTwips(top)); }

void Form0::SetWidth(Twips width) {
  if (width >= Twips{1}) place_.SetWidth(PixelsFromTwips(width));
  RaiseResize();
}

void Form0::SetHeight(Twips height) {
  if (height >= Twips{1}) place_.SetHeight(PixelsFromTwips(height));
  RaiseResize();
}

void Form0::SetBorderStyle(std::int16_t style) {
  border_style_ = style;
  place_.SetFramed(style != kBare);
}

void Form0::SetLayeredAlpha(std::uint8_t alpha) {
  const QString platform = QGuiApplication::platformName();
  if (platform != "xcb" && platform != "offscreen" && alpha < 255) {
    throw WindowError("This platform has no transparent windows", platform.toStdString());
  }
  setWindowOpacity(alpha / 255.0);
}

void Form0::SetWindowPos(std::int16_t insert_after) {
  if (insert_after == kTopMost || insert_after == kNotTopMost) {
    place_.SetAbove(insert_after == kTopMost);
  }
}

Points Form0::ClientWidth() { return PointsFromPixels(place_.ClientSize().width()); }
Points Form0::ClientHeight() { return PointsFromPixels(place_.ClientSize().height()); }

void Form0::SetBackColor(std::int32_t color) {
  QPalette changed = palette();
  changed.setColor(QPalette::Window, QColorFrom(color));
  setPalette(changed);
}

void Form0::MoveLabel(Points left, Points top, Points width, Points height) {
  label1_->setGeometry(WholePixels(left), WholePixels(top), WholePixels(width),
                       WholePixels(height));
}

Points Form0::LabelHeight() { return PointsFromPixels(label1_->height()); }
void Form0::SetLabelFontSize(Points size) { label1_->SetFontHeight(WholePixels(size)); }
void Form0::SetLabelBackColor(std::int32_t color) { label1_->SetBackColor(QColorFrom(color)); }
void Form0::SetLabelForeColor(std::int32_t color) { label1_->SetForeColor(QColorFrom(color)); }
void Form0::SetLabelText(std::string_view text) { label1_->SetReading(Text(text)); }

void Form0::ShowCommand1(bool visible) { command1_->setVisible(visible); }

void Form0::EnableTimer1(bool enabled) {
  if (!enabled) {
    timer1_.stop();
  } else if (!timer1_.isActive()) {
    timer1_.start();
  }
}

double Form0::CursorX() {
  return pointer_.Look().x() + place_.Outer().left() - place_.Shown().left();
}

void Form0::ShowMessage(MessageIcon icon, std::string_view text, std::string_view title) {
  ShowMessageBox(isVisible() ? this : nullptr, icon, text, title);
}

void Form0::EndProcess() {
  std::fflush(nullptr);
  std::_Exit(0);
}

void Form0::RaiseResize() {
  if (OnResize) OnResize();
}

void Form0::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  place_.Invalidate();
  RaiseResize();
}

void Form0::moveEvent(QMoveEvent* event) {
  QWidget::moveEvent(event);
  place_.Invalidate();
}

void Form0::mouseDoubleClickEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) OnLabelDoubleClick();
}

void Form0::closeEvent(QCloseEvent* event) {
  Unload();
  event->accept();
}

}  // namespace vantoscope
