// SPDX-License-Identifier: GPL-3.0-or-later
#include "presentation/pointer_place.h"

#include <utility>

namespace vantoscope {
namespace {

/// So many looks that find it still, and the pointer may be at rest.
constexpr int kStillLooks = 20;
/// At rest it is asked for at every so many looks, since a display may tell of its use wrongly.
constexpr int kLooksAtRest = 20;

}  // namespace

QPoint PointerPlace::Look() {
  if (rests_ && !rest_->IsOver() && ++unasked_ < kLooksAtRest) return place_;
  unasked_ = 0;
  const QPoint now = ask_();
  CheckTheRest(now);
  still_ = now == place_ ? still_ + 1 : 0;
  place_ = now;
  if (!rests_ && still_ >= kStillLooks && CanRest() && rest_->Begin()) {
    rests_ = true;
    place_ = ask_();  // what happened up to here ends no rest
  }
  return place_;
}

void PointerPlace::Forget() {
  rests_ = missed_ = false;
  still_ = 0;
}

bool PointerPlace::CanRest() {
  if (open_) rest_ = std::exchange(open_, nullptr)();
  return rest_ != nullptr;
}

// The word of a use that is only just over may still be on its way, but not for a whole tick.
void PointerPlace::CheckTheRest(const QPoint& now) {
  if (std::exchange(missed_, false) && !rest_->IsOver()) rest_.reset();
  if (!rests_) return;
  if (rest_->IsOver()) {
    rests_ = false;
  } else if (now != place_) {
    rests_ = false;
    missed_ = true;
  }
}

}  // namespace vantoscope
