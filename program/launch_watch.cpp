// SPDX-License-Identifier: GPL-3.0-or-later
#include "program/launch_watch.h"

#include <QApplication>
#include <QScreen>
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <utility>

#include "groups/launch_order.h"
#include "presentation/beside.h"

namespace vantoscope {
namespace {

/// Below the meter, or where there is room: the reading goes on beside the box.
void PlaceBeside(QWidget& box, Form0& form) {
  constexpr int kGap = 8;             // pixels
  constexpr QSize kBoxFrame(12, 40);  // about
  box.adjustSize();
  const auto pixels = [](Twips twips) { return qRound(PixelsFromTwips(twips)); };
  const QRect meter(pixels(form.Left()), pixels(form.Top()), pixels(form.Width()),
                    pixels(form.Height()));
  const QPoint below(meter.left(), meter.top() + meter.height() + kGap);
  box.move(Beside(meter, box.size() + kBoxFrame, below, form.screen()->availableGeometry()));
}

}  // namespace

void LaunchWatch::Look() {
  if (auto text = launches_.Look()) untold_ = std::move(*text);
  // Nobody could close the box below a modal one.
  if (untold_.empty() || QApplication::activeModalWidget() != nullptr) return;
  const QString text = QString::fromStdString(std::exchange(untold_, {}));
  if (!box_) {
    box_ = new MessageBox(MessageIcon::Critical, text, QDialogButtonBox::Ok, &form_);
    box_->setAttribute(Qt::WA_DeleteOnClose);
  }
  box_->SetText(text);
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
