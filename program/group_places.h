// SPDX-License-Identifier: GPL-3.0-or-later
// The places of the meters of a group that this process opens: worked out once, before the first of
// them is started, and handed to each, so that all agree although they start at different times.
#pragma once

#include <QMargins>
#include <functional>
#include <optional>

#include "groups/grid.h"
#include "presentation/form0.h"

namespace vantoscope {

class GroupPlaces {
 public:
  /// `count` tells how many channels there are, once it is asked.
  GroupPlaces(Form0& form, std::function<int()> count) : form_(form), count_(std::move(count)) {}

  /// The outer corner for the meter of that index, in device pixels.
  Corner Of(int index);

 private:
  [[nodiscard]] GridRoom Room();

  Form0& form_;
  std::function<int()> count_;
  std::optional<Grid> grid_;
};

/// The frame of this window as the first meter of its group has found it, in device pixels; empty
/// where there is none. Takes it out of the environment.
QMargins TakeFrameOfGroup();

}  // namespace vantoscope
