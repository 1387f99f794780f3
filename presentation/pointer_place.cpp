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

// A rest begins before the question, so that what happens after the answer ends it.
QPoint PointerPlace::Look() {
  if (rests_ && !rest_->IsOver() && ++unasked_ < kLooksAtRest) return place_;
  unasked_ = 0;
  if (std::exchange(missed_, false) && !rest_->IsOver()) rest_.reset();
  const bool rested = rests_;
  rests_ = rested ? !rest_->IsOver() : still_ >= kStillLooks && CanRest() && rest_->Begin();
  const QPoint now = ask_();
  still_ = now == place_ ? still_ + 1 : 0;
  // The word of a use that is only just over may still be on its way, but not for a whole tick.
  missed_ = rested && rests_ && still_ == 0;
  if (missed_) rests_ = false;
  place_ = now;
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

}  // namespace vantoscope
