// SPDX-License-Identifier: GPL-3.0-or-later
// Names of Unix sockets that stand in no folder and are gone with the socket.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace vantoscope {

class AbstractAddress {
 public:
  /// A name that is too long for an address is cut.
  explicit AbstractAddress(std::string_view name) {
    address_.sun_family = AF_UNIX;
    const std::size_t length = std::min(name.size(), sizeof address_.sun_path - 1);
    std::copy_n(name.begin(), length, address_.sun_path + 1);
    size_ = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + length);
  }
  [[nodiscard]] const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&address_); }
  [[nodiscard]] socklen_t Size() const { return size_; }

 private:
  sockaddr_un address_{};
  socklen_t size_ = 0;
};

}  // namespace vantoscope
