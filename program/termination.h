// SPDX-License-Identifier: GPL-3.0-or-later
// Requests from outside to end the program, as an event of the user interface.
#pragma once

#include <QSocketNotifier>
#include <QTimer>
#include <functional>
#include <optional>

namespace vantoscope {

/// From Watch on, SIGTERM, SIGINT and SIGHUP call OnRequest from the event loop. The first event of
/// the program calls Watch at the latest: until then nobody would hear them, so they end the
/// process as ever. A signal that the process was started to ignore stays ignored. One object at a
/// time.
class TerminationRequests {
 public:
  TerminationRequests();
  ~TerminationRequests();
  TerminationRequests(const TerminationRequests&) = delete;
  TerminationRequests& operator=(const TerminationRequests&) = delete;

  void Watch();

  std::function<void()> OnRequest;

 private:
  QTimer first_event_;
  std::optional<QSocketNotifier> notifier_;
};

}  // namespace vantoscope
