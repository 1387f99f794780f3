// SPDX-License-Identifier: GPL-3.0-or-later
// The meter as assistive technology sees it: a window with one value in it, and a voice for what
// has changed. Costs nothing while nobody listens.
#pragma once

#include <QObject>
#include <QString>

namespace vantoscope {

/// Once a process, before somebody asks for the accessibility tree. The reading is a text that can
/// be read only: its name is the channel's, its text what is shown, its value the number, its
/// description what stands beside it. No event tells of a new number: it would be spoken with every
/// tick.
void InstallReadingAccessible();

/// Whether assistive technology listens.
bool SomebodyListens();

/// Speaks up without being asked, whatever has the keyboard.
class Announcer final : public QObject {
 public:
  using QObject::QObject;

  void Say(const QString& sentence);
  [[nodiscard]] const QString& Sentence() const { return sentence_; }

 private:
  QString sentence_;
};

}  // namespace vantoscope
