// SPDX-License-Identifier: GPL-3.0-or-later
// When the host has to end, and that it does: SIGINT, SIGTERM and SIGHUP come to a thread of their
// own, and it ends the process when a device, a library or the reader of standard error holds
// everything else.
#pragma once

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <thread>

namespace vantoscope {

class EndWatch {
 public:
  using Clock = std::chrono::steady_clock;
  /// From the request to the end of the process, at the latest.
  static constexpr std::chrono::milliseconds kGrace{1'300};

  /// To be made before every other thread: those that are begun from now on do not take the signals
  /// either. SIGHUP stays ignored where the process was started so (nohup).
  EndWatch();
  /// Whoever gets here ends by itself.
  ~EndWatch();
  EndWatch(const EndWatch&) = delete;
  EndWatch& operator=(const EndWatch&) = delete;

  /// Waits until then, or until the end is asked for. Before the first call nobody waits for a
  /// request, so it ends the process at once.
  void WaitUntil(Clock::time_point time);
  /// The signal that asks for the end, or 0.
  [[nodiscard]] int Signal();
  /// The host ends for a reason of its own: the process ends with `code` when the grace is over.
  void EndWith(int code);

 private:
  void Watch();
  void LookAtTime();

  sigset_t signals_{};
  std::mutex mutex_;  // guards what follows
  std::condition_variable changed_;
  bool done_ = false;
  bool heard_ = false;
  int signal_ = 0;
  int code_ = 0;
  Clock::time_point end_ = Clock::time_point::max();

  std::thread thread_;  // last: uses what stands above
};

}  // namespace vantoscope
