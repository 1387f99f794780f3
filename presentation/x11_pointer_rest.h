// SPDX-License-Identifier: GPL-3.0-or-later
// A pointer at rest on X11: the server counts how long it has not been used, by hand or by program,
// and sends one event when that count falls.
#pragma once

#include <xcb/sync.h>

#include <QAbstractNativeEventFilter>
#include <memory>

#include "presentation/pointer_place.h"

namespace vantoscope {

class X11PointerRest final : public PointerRest, QAbstractNativeEventFilter {
 public:
  /// Null where the display is none of X11, or has no such count.
  static std::unique_ptr<X11PointerRest> Open();
  ~X11PointerRest() override;
  X11PointerRest(const X11PointerRest&) = delete;
  X11PointerRest& operator=(const X11PointerRest&) = delete;

  bool Begin() override;
  [[nodiscard]] bool IsOver() override { return over_; }

 private:
  X11PointerRest(xcb_connection_t* connection, xcb_sync_counter_t counter, int event);
  bool nativeEventFilter(const QByteArray& type, void* message, qintptr* result) override;

  xcb_connection_t* connection_;
  xcb_sync_counter_t counter_;
  int event_;
  xcb_sync_alarm_t alarm_;
  bool over_ = false;
};

}  // namespace vantoscope
