#include "host/scan_assembly.h"

#include <algorithm>
#include <utility>

#include "sources/channel_words.h"

namespace vantoscope {

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
  Signal& to = signals_[signal];
  to.last = values.back();
  last_value_ = now;
  if (hold_rate_) return;
  const std::size_t room = kMostWaiting - to.waiting.size();
  const auto taken = values.first(std::min(values.size(), room));
  to.waiting.insert(to.waiting.end(), taken.begin(), taken.end());
  if (ring_) AppendWhole(now);
}

const ScanRing& ScanAssembly::Scans(Time now) {
  if (hold_rate_) AppendHeld(now);
  return *ring_;
}

/// The scans that have a value of every signal.
void ScanAssembly::AppendWhole(Time now) {
  std::size_t count = kMostWaiting;
  for (const std::size_t signal : list_) count = std::min(count, signals_[signal].waiting.size());
  vantoscope::Scans scans{.first = ring_->Next(), .scans = count, .channels = {}};
  for (std::size_t place = 0; place < list_.size(); ++place) {
    auto& waiting = signals_[list_[place]].waiting;
    const auto end = waiting.begin() + static_cast<std::ptrdiff_t>(count);
    scans.channels.push_back(SamplesOf(channels_[place], {waiting.begin(), end}));
    waiting.erase(waiting.begin(), end);
  }
  if (ring_->Append(scans) > 0) last_scan_ = now;
}

/// Scans of the last values, up to `now` or as long as they hold.
void ScanAssembly::AppendHeld(Time now) {
  if (now - last_value_ > kHold) return;
  const double seconds = std::chrono::duration<double>(now - begin_).count();
  const std::int64_t next = static_cast<std::int64_t>(seconds * *hold_rate_) + 1;
  const std::int64_t from = std::max(ring_->Next(), next - static_cast<std::int64_t>(kHeldScans));
  if (next <= from) return;
  const auto count = static_cast<std::size_t>(next - from);
  vantoscope::Scans scans{.first = from, .scans = count, .channels = {}};
  for (std::size_t place = 0; place < list_.size(); ++place) {
    const double value = *signals_[list_[place]].last;
    scans.channels.push_back(SamplesOf(channels_[place], std::vector<double>(count, value)));
  }
  ring_->Append(scans);
}

}  // namespace vantoscope
