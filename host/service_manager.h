// SPDX-License-Identifier: GPL-3.0-or-later
// What the host tells the service manager that started it, where there is one that listens: by the
// documented datagrams of sd_notify, which need no library.
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace vantoscope {

class ServiceManager {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// Reads $NOTIFY_SOCKET, $WATCHDOG_USEC and $WATCHDOG_PID.
  ServiceManager();
  ServiceManager(const ServiceManager&) = delete;
  ServiceManager& operator=(const ServiceManager&) = delete;
  ~ServiceManager();

  /// READY=1 at the first call, and what the host does now.
  void Ready(const std::string& status);
  void Status(const std::string& status);
  void Stopping();
  /// The watchdog's sign of life, at most four times in the time that it grants.
  void Alive(Time now);

 private:
  void Send(const std::string& text) const;

  int socket_ = -1;
  bool ready_ = false;
  std::optional<std::chrono::microseconds> watchdog_;
  Time next_alive_;
};

}  // namespace vantoscope
