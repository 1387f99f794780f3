// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/mqtt/host_freshness.h"

#include <algorithm>

#include "sources/freshness.h"

namespace vantoscope {
namespace {

constexpr double kBlocks = 3;
constexpr double kLongestBlocks = 3600;
// Of the limit. Who has been silent, or had nothing new, for so long is the reason once it is over.
constexpr double kReason = 0.75;
constexpr std::chrono::seconds kSilenceSeen{2};
constexpr std::chrono::hours kEver{24 * 365 * 100};  // far from overflow

double Seconds(std::chrono::duration<double> time) { return time.count(); }

}  // namespace

void HostFreshness::OnConnected(Time now) {
  connected_at_ = now;
  if (!heard_at_) heard_at_ = now;
}

void HostFreshness::OnLost() {
  connected_at_.reset();
  late_.reset();
}

void HostFreshness::Begin(double rate) {
  rate_ = rate;
  clock_ = {};
  late_.reset();
  taken_at_.reset();
}

bool HostFreshness::Hear(const std::optional<HostTimes>& times, Time now) {
  if (times) {
    const auto late = clock_.Lateness(times->sent_us, now);
    if (!late) return false;
    late_ = late;
  }
  heard_at_ = now;
  if (times && times->taken_us) {
    const Microseconds at_sending(times->sent_us - *times->taken_us);
    taken_at_ = now - std::min<Microseconds>(at_sending + *late_, kEver);
  }
  return true;
}

void HostFreshness::NoteBlock(const HostTimes& times, std::size_t scans) {
  const std::int64_t taken_us = times.taken_us.value_or(times.sent_us);
  if (newest_at_ && taken_us > newest_us_) {
    former_pause_seconds_ = pause_seconds_;
    pause_seconds_ = 1e-6 * static_cast<double>(taken_us - newest_us_);
  }
  block_seconds_ = static_cast<double>(scans) / rate_;
  newest_us_ = taken_us;
  newest_at_ = taken_at_;
}

void HostFreshness::Forget() {
  newest_at_.reset();
  block_seconds_ = pause_seconds_ = former_pause_seconds_ = 0;
}

double HostFreshness::Limit() const {
  // One long pause comes from something that stood still; two of them are how the host sends.
  const double block = std::max(block_seconds_, std::min(pause_seconds_, former_pause_seconds_));
  return std::max(FreshnessLimit(rate_), std::min(kBlocks * block, kLongestBlocks));
}

Freshness HostFreshness::At(Time now) const {
  std::optional<double> age;
  if (newest_at_) age = Seconds(now - *newest_at_);
  return FreshnessOf(age, Limit(), Reason(now));
}

/// Empty as long as scans may be on their way.
const char* HostFreshness::Reason(Time now) const {
  if (!connected_at_) return "the broker does not answer";
  const double long_ago = kReason * Limit();
  if (Seconds(now - std::max(*heard_at_, *connected_at_)) > long_ago) return "the host is silent";
  if (!late_) return "the host has not been heard yet";
  if (Seconds(*late_) > long_ago) return "the network is too slow";
  if (!taken_at_) return "the host has no data yet";
  if (Seconds(now - *taken_at_) > long_ago) return "the host has no new data";
  return Seconds(now - *connected_at_) > Limit() ? "the scans of the host do not arrive" : "";
}

bool HostFreshness::Silent(std::chrono::milliseconds timeout, Time now) {
  if (!heard_at_) return false;
  const auto seen = std::min<std::chrono::milliseconds>(kSilenceSeen, timeout / 2);
  const auto silence = now - *heard_at_;
  if (silence < timeout - seen) {
    silence_seen_at_.reset();
    return false;
  }
  if (!silence_seen_at_) silence_seen_at_ = now;
  return silence >= timeout && now - *silence_seen_at_ >= seen;
}

}  // namespace vantoscope
