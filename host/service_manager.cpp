// SPDX-License-Identifier: GPL-3.0-or-later
#include "host/service_manager.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "sources/device_text.h"
#include "text/shown_text.h"

namespace vantoscope {
namespace {

std::string_view Environment(const char* name) {
  const char* text = std::getenv(name);
  return text == nullptr ? std::string_view{} : text;
}

/// Connected to that socket, or -1. An @ stands for the NUL of the abstract name space.
int Connected(std::string_view path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.empty() || path.size() > sizeof address.sun_path) return -1;
  std::ranges::copy(path, static_cast<char*>(address.sun_path));
  if (path.starts_with('@')) address.sun_path[0] = '\0';
  const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size());
  // A manager that hangs must not hold the host.
  const int made = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (made < 0) return -1;
  if (connect(made, reinterpret_cast<const sockaddr*>(&address), length) == 0) return made;
  close(made);
  return -1;
}

std::optional<std::chrono::microseconds> WatchdogTime() {
  const std::string_view pid = Environment("WATCHDOG_PID");
  if (!pid.empty() && pid != std::to_string(getpid())) return std::nullopt;
  const auto time = WholeNumber(Environment("WATCHDOG_USEC"));
  if (!time || *time < 1 || *time > 1e15) return std::nullopt;
  return std::chrono::microseconds(static_cast<std::int64_t>(*time));
}

}  // namespace

ServiceManager::ServiceManager()
    : socket_(Connected(Environment("NOTIFY_SOCKET"))), watchdog_(WatchdogTime()) {}

ServiceManager::~ServiceManager() {
  if (socket_ >= 0) close(socket_);
}

void ServiceManager::Send(const std::string& text) const {
  if (socket_ >= 0) send(socket_, text.data(), text.size(), MSG_NOSIGNAL);
}

void ServiceManager::Ready(const std::string& status) {
  if (!ready_) Send("READY=1");
  ready_ = true;
  Status(status);
}

void ServiceManager::Status(const std::string& status) { Send("STATUS=" + Escaped(status)); }

void ServiceManager::Stopping() { Send("STOPPING=1"); }

void ServiceManager::Alive(Time now) {
  if (!watchdog_ || now < next_alive_) return;
  next_alive_ = now + *watchdog_ / 4;
  Send("WATCHDOG=1");
}

}  // namespace vantoscope
