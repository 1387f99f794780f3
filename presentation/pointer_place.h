// SPDX-License-Identifier: GPL-3.0-or-later
// The pointer's place, asked for only while it can be another than before: a question costs the
// meter and the display more than all else that it does in between two readings.
#pragma once

#include <QPoint>
#include <functional>
#include <memory>

namespace vantoscope {

/// Tells of a pointer at rest that it is used again.
class PointerRest {
 public:
  PointerRest() = default;
  PointerRest(const PointerRest&) = delete;
  PointerRest& operator=(const PointerRest&) = delete;
  virtual ~PointerRest() = default;

  /// True when the pointer is at rest and the next use of it will end that; false when it was used
  /// a moment ago.
  virtual bool Begin() = 0;
  /// Whether the pointer was used since Begin.
  [[nodiscard]] virtual bool IsOver() = 0;
};

class PointerPlace {
 public:
  /// `ask` gives the place now; `open` is called once, when the pointer has been still for a while,
  /// and gives nothing where the display does not tell of a rest.
  PointerPlace(std::function<QPoint()> ask, std::function<std::unique_ptr<PointerRest>()> open)
      : ask_(std::move(ask)), open_(std::move(open)) {}

  /// The place at this tick; called at each, ten times a second.
  QPoint Look();
  /// The same place may have other coordinates now.
  void Forget();

 private:
  bool CanRest();

  std::function<QPoint()> ask_;
  std::function<std::unique_ptr<PointerRest>()> open_;
  std::unique_ptr<PointerRest> rest_;
  QPoint place_;
  int still_ = 0;        // looks that found the same place
  int unasked_ = 0;      // looks since the last question
  bool rests_ = false;   // nobody has asked for the place, because it cannot have changed
  bool missed_ = false;  // moved at rest, and no word of it so far
};

}  // namespace vantoscope
