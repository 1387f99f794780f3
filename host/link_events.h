// SPDX-License-Identifier: GPL-3.0-or-later
// What the link's thread tells, carried over to the thread of the host.
#pragma once

#include <cstddef>
#include <mutex>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace vantoscope {

struct LinkConnected {};
struct LinkLost {
  std::string why;
};
struct LinkMessage {
  std::string leaf;  ///< the topic behind the root
  std::vector<std::byte> payload;
  bool retained = false;
};
using LinkEvent = std::variant<LinkConnected, LinkLost, LinkMessage>;

class LinkEvents {
 public:
  void Put(LinkEvent event) {
    const std::scoped_lock lock(mutex_);
    // Nobody sends a host so much; a flood of foreign messages must not take the memory.
    if (events_.size() < kMost) events_.push_back(std::move(event));
  }
  std::vector<LinkEvent> Take() {
    const std::scoped_lock lock(mutex_);
    return std::exchange(events_, {});
  }

 private:
  static constexpr std::size_t kMost = 10'000;
  std::mutex mutex_;
  std::vector<LinkEvent> events_;
};

}  // namespace vantoscope
