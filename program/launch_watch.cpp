// SPDX-License-Identifier: GPL-3.0-or-later
#include "program/launch_watch.h"

#include <QApplication>
#include <QScreen>
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <utility>

#include "groups/launch_order.h"

namespace vantoscope {
namespace {

constexpr int kGap = 8;        // pixels
constexpr int kTitleBar = 30;  // of the box, about

/// Below the meter, or above it where there is no room: the reading goes on beside the box.
void PlaceBeside(QWidget& box, Form0& form) {
  box.adjustSize();
  const auto pixels = [](Twips twips) { return qRound(PixelsFromTwips(twips)); };
  const QRect meter(pixels(form.Left()), pixels(form.Top()), pixels(form.Width()),
                    pixels(form.Height()));
  const QRect room = form.screen()->availableGeometry();
  const int below = meter.bottom() + kGap + kTitleBar;
  const int above = meter.top() - kGap - box.height();
  const int top = below + box.height() + kGap <= room.bottom() ? below : above;
  const int left = std::min(meter.left(), room.right() - box.width());
  box.move(std::max(left, room.left()), std::max(top, room.top()));
}

}  // namespace

void LaunchWatch::Look() {
  if (auto text = launches_.Look()) untold_ = std::move(*text);
  // Nobody could close the box below a modal one.
  if (untold_.empty() || QApplication::activeModalWidget() != nullptr) return;
  if (!box_) {
    box_ = new QMessageBox(QMessageBox::Critical, "Vanto Scope", "", QMessageBox::Ok, &form_);
    box_->setTextFormat(Qt::PlainText);
    box_->setAttribute(Qt::WA_DeleteOnClose);
    box_->setModal(false);
  }
  box_->setText(QString::fromStdString(std::exchange(untold_, {})));
  PlaceBeside(*box_, form_);
  box_->show();
}

LaunchReport::LaunchReport(int index) : word_{.index = index, .failure = {}} {
  if (const char* name = std::getenv(kMailboxVariable)) mailbox_ = name;
  unsetenv(kMailboxVariable);
}

void LaunchReport::Started() {
  told_ = mailbox_.empty();
  Look();
}

void LaunchReport::Failed(const std::string& sentence) {
  word_.failure = sentence;
  const auto patience = std::chrono::seconds(static_cast<int>(LaunchTally::kPatience));
  if (!mailbox_.empty()) TellMailbox(mailbox_, word_, patience);
}

void LaunchReport::Look() {
  if (!told_) told_ = TellMailbox(mailbox_, word_, std::chrono::milliseconds(0));
}

}  // namespace vantoscope
