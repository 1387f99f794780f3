// SPDX-License-Identifier: GPL-3.0-or-later
#include "program/waiting_box.h"

#include <QApplication>
#include <iostream>

namespace vantoscope {
namespace {

constexpr std::chrono::milliseconds kMoment{500};

}  // namespace

bool WaitingBox::Look(const std::string& sentence) {
  if (sentence.empty()) {
    box_.reset();
    return true;
  }
  const auto now = std::chrono::steady_clock::now();
  if (!since_) since_ = now;
  if (now - *since_ < kMoment) return true;
  const QString text = "Waiting for the device.\n" + QString::fromStdString(sentence);
  if (!box_) {
    std::cerr << "vantoscope: Waiting: " << sentence << std::endl;
    box_.emplace(MessageIcon::Information, text, QDialogButtonBox::Cancel, nullptr);
    QObject::connect(&*box_, &QDialog::finished, [this] { given_up_ = true; });
    box_->show();
  }
  box_->SetText(text);
  QApplication::processEvents();
  return !given_up_;
}

}  // namespace vantoscope
