// SPDX-License-Identifier: GPL-3.0-or-later
#include "host/scan_assembly.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "sources/channel_words.h"

namespace vantoscope {
namespace {

constexpr double kMissing = std::numeric_limits<double>::quiet_NaN();

}  // namespace

bool ScanAssembly::AllSeen() const {
  return std::ranges::all_of(signals_,
                             [](const Signal& signal) { return signal.last.has_value(); });
}

void ScanAssembly::Begin(std::vector<std::size_t> list, std::vector<ChannelInfo> channels,
                         Time now) {
  list_ = std::move(list);
  channels_ = std::move(channels);
  ring_.emplace(channels_, kHeldScans);
  begin_ = now;
  if (!hold_rate_) AppendWhole(now);
}

void ScanAssembly::Take(std::size_t signal, std::span<const double> values, Time now) {
  if (values.empty()) return;
  if (ring_ && hold_rate_) AppendHeld(now);  // of the value before
  Signal& to = signals_[signal];
  to.last = values.back();
  to.last_at = now;
  last_value_ = now;
  if (hold_rate_) return;
  const std::size_t room = kMostWaiting - to.waiting.size();
  const auto taken = values.first(std::min(values.size(), room));
  to.waiting.insert(to.waiting.end(), taken.begin(), taken.end());
  if (ring_) AppendWhole(now);
}

void ScanAssembly::BeginAnew(Time now) {
  if (ring_ && hold_rate_) AppendHeld(now);
  for (Signal& signal : signals_) signal.waiting.clear();
  if (ring_) ring_->Clear();
}

const ScanRing& ScanAssembly::Scans(Time now) {
  if (hold_rate_) AppendHeld(now);
  return *ring_;
}

void ScanAssembly::Append(const vantoscope::Scans& scans) {
  ring_->Append(scans);
  next_ = scans.first + static_cast<std::int64_t>(scans.scans);
}

/// The scans that have a value of every signal.
void ScanAssembly::AppendWhole(Time now) {
  std::size_t count = kMostWaiting;
  for (const std::size_t signal : list_) count = std::min(count, signals_[signal].waiting.size());
  vantoscope::Scans scans{.first = next_, .scans = count, .channels = {}};
  for (std::size_t place = 0; place < list_.size(); ++place) {
    auto& waiting = signals_[list_[place]].waiting;
    const auto end = waiting.begin() + static_cast<std::ptrdiff_t>(count);
    scans.channels.push_back(SamplesOf(channels_[place], {waiting.begin(), end}));
    waiting.erase(waiting.begin(), end);
  }
  Append(scans);
  if (count > 0) last_scan_ = now;
}

bool ScanAssembly::Holds(Time last_at, Time now) const {
  return std::chrono::duration<double>(now - last_at) <=
         std::max<std::chrono::duration<double>>(kHold,
                                                 std::chrono::duration<double>(3 / *hold_rate_));
}

/// Scans of the last values, up to `now` or as long as they hold.
void ScanAssembly::AppendHeld(Time now) {
  if (!Holds(last_value_, now)) return;
  const double seconds = std::chrono::duration<double>(now - begin_).count();
  const std::int64_t next = static_cast<std::int64_t>(seconds * *hold_rate_) + 1;
  const std::int64_t from = std::max(next_, next - static_cast<std::int64_t>(kHeldScans));
  if (next <= from) return;
  const auto count = static_cast<std::size_t>(next - from);
  vantoscope::Scans scans{.first = from, .scans = count, .channels = {}};
  for (std::size_t place = 0; place < list_.size(); ++place) {
    const Signal& signal = signals_[list_[place]];
    const double value = Holds(signal.last_at, now) ? *signal.last : kMissing;
    scans.channels.push_back(SamplesOf(channels_[place], std::vector<double>(count, value)));
  }
  Append(scans);
}

}  // namespace vantoscope
