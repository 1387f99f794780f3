// SPDX-License-Identifier: GPL-3.0-or-later
// What the first meter of a group shows of the launch, and what a further one reports to it.
#pragma once

#include <QPointer>
#include <string>

#include "groups/launches.h"
#include "presentation/form0.h"
#include "presentation/message_box.h"

namespace vantoscope {

/// The first meter's side.
class LaunchWatch {
 public:
  LaunchWatch(Launches& launches, Form0& form) : launches_(launches), form_(form) {}

  /// Called several times a second. Meters that did not start are named in one box, which the meter
  /// does not wait for; one that fails while the box is open is added to it.
  void Look();

 private:
  Launches& launches_;
  Form0& form_;
  std::string untold_;
  QPointer<MessageBox> box_;
};

/// A further meter's side; without effect in a meter that nobody launched. Takes the name of the
/// mailbox out of the environment.
class LaunchReport {
 public:
  explicit LaunchReport(int index);

  void Started();
  /// `sentence` is for the user. Waits while the mailbox is full.
  void Failed(const std::string& sentence);
  /// Called several times a second: says again what the mailbox had no room for.
  void Look();

 private:
  std::string mailbox_;
  LaunchWord word_;
  bool told_ = true;
};

}  // namespace vantoscope
