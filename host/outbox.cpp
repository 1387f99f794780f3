// SPDX-License-Identifier: GPL-3.0-or-later
#include "host/outbox.h"

#include <algorithm>
#include <utility>

#include "sources/mqtt/mqtt_wire.h"

namespace vantoscope {
namespace {

constexpr std::string_view kScans = "scan";
constexpr std::size_t kMessageCost = 128;  // bytes, beside its payload

}  // namespace

void Outbox::Put(std::string_view leaf, std::span<const std::byte> payload, int qos) {
  if (open_ || (waiting_.empty() && takes_())) {
    send_(leaf, payload, qos);
    return;
  }
  waiting_.push_back({std::string(leaf), {payload.begin(), payload.end()}, qos});
  bytes_ += payload.size() + kMessageCost;
  if (bytes_ > kMost) DropOldestScans();
}

void Outbox::SendOn() {
  if (waiting_.empty()) return;
  while (!waiting_.empty() && takes_()) {
    const Message& next = waiting_.front();
    send_(next.leaf, next.payload, next.qos);
    bytes_ -= next.payload.size() + kMessageCost;
    waiting_.pop_front();
  }
  if (waiting_.empty() && dropping_) SayOver("takes them all again; ");
}

void Outbox::Drop() {
  for (const Message& message : waiting_) Count(message);
  waiting_.clear();
  bytes_ = 0;
  if (dropping_ || dropped_ > 0) SayOver("is left; ");
}

void Outbox::Open() {
  Drop();
  open_ = true;
}

/// The lists and states between them stay.
void Outbox::DropOldestScans() {
  if (!std::exchange(dropping_, true)) {
    say_("takes the scans more slowly than they come; the oldest that wait are dropped");
  }
  while (bytes_ > kMost) {
    const auto oldest = std::ranges::find(waiting_, kScans, &Message::leaf);
    if (oldest == waiting_.end()) return;
    Count(*oldest);
    bytes_ -= oldest->payload.size() + kMessageCost;
    waiting_.erase(oldest);
  }
}

void Outbox::Count(const Message& message) {
  if (message.leaf != kScans) return;
  if (const auto block = DecodeScans(message.payload)) dropped_ += block->scans;
}

void Outbox::SayOver(const std::string& now) {
  dropping_ = false;
  say_(now + std::to_string(std::exchange(dropped_, 0)) + " scans were dropped");
}

}  // namespace vantoscope
