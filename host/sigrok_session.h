// SPDX-License-Identifier: GPL-3.0-or-later
// An acquisition of libsigrok, running on a thread of its own from beginning to end.
#pragma once

#include <functional>
#include <future>
#include <thread>

#include "host/sigrok_instrument.h"

namespace vantoscope {

class SigrokSession {
 public:
  /// Both are called on the session's thread, `ended` once when the instrument has stopped, and
  /// neither after the session's destruction.
  struct Events {
    std::function<void(const sr_datafeed_packet&)> packet;
    std::function<void()> ended;
  };

  /// Throws SourceError when the instrument does not start. It outlives the session.
  SigrokSession(const SigrokInstrument& instrument, Events events);
  SigrokSession(const SigrokSession&) = delete;
  SigrokSession& operator=(const SigrokSession&) = delete;
  ~SigrokSession();

 private:
  void Run(std::promise<int> started);

  const Events events_;
  OpenSession session_;
  std::jthread thread_;  // last: ends before what it uses
};

}  // namespace vantoscope
