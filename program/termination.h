// Requests from outside to end the program, as an event of the user interface.
#pragma once

#include <QSocketNotifier>
#include <functional>

namespace vantoscope {

/// While it lives, SIGTERM, SIGINT and SIGHUP call `on_request` from the event loop. A signal that
/// the process was started to ignore stays ignored. One object at a time.
class TerminationRequests {
 public:
  explicit TerminationRequests(std::function<void()> on_request);
  ~TerminationRequests();
  TerminationRequests(const TerminationRequests&) = delete;
  TerminationRequests& operator=(const TerminationRequests&) = delete;

 private:
  QSocketNotifier notifier_;
};

}  // namespace vantoscope
