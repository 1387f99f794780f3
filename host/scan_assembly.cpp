#include "host/scan_assembly.h"

#include <algorithm>
#include <utility>

namespace vantoscope {

bool ScanAssembly::AllSeen() const {
  return std::ranges::all_of(signals_,
                             [](const Signal& signal) { return signal.last.has_value(); });
}

void ScanAssembly::Begin(std::vector<std::size_t> list, Time now) {
  list_ = std::move(list);
  ring_.emplace(list_.size(), kHeldScans);
  begin_ = now;
  if (!hold_rate_) AppendWhole(now);
}

void ScanAssembly::Take(std::size_t signal, std::span<const std::int16_t> words, Time now) {
  if (words.empty()) return;
  Signal& to = signals_[signal];
  to.last = words.back();
  last_word_ = now;
  if (hold_rate_) return;
  const std::size_t room = kMostWaiting - to.waiting.size();
  const auto taken = words.first(std::min(words.size(), room));
  to.waiting.insert(to.waiting.end(), taken.begin(), taken.end());
  if (ring_) AppendWhole(now);
}

const ScanRing& ScanAssembly::Scans(Time now) {
  if (hold_rate_) AppendHeld(now);
  return *ring_;
}

/// The scans that have a word of every signal.
void ScanAssembly::AppendWhole(Time now) {
  std::size_t scans = kMostWaiting;
  for (const std::size_t signal : list_) scans = std::min(scans, signals_[signal].waiting.size());
  std::vector<std::int16_t> words(scans * list_.size());
  for (std::size_t place = 0; place < list_.size(); ++place) {
    auto& waiting = signals_[list_[place]].waiting;
    for (std::size_t scan = 0; scan < scans; ++scan) {
      words[scan * list_.size() + place] = waiting[scan];
    }
    waiting.erase(waiting.begin(), waiting.begin() + static_cast<std::ptrdiff_t>(scans));
  }
  if (ring_->Append(ring_->Next(), words) > 0) last_scan_ = now;
}

/// Scans of the last words, up to `now` or as long as they hold.
void ScanAssembly::AppendHeld(Time now) {
  if (now - last_word_ > kHold) return;
  const double seconds = std::chrono::duration<double>(now - begin_).count();
  const std::int64_t next = static_cast<std::int64_t>(seconds * *hold_rate_) + 1;
  const std::int64_t from = std::max(ring_->Next(), next - static_cast<std::int64_t>(kHeldScans));
  std::vector<std::int16_t> words;
  for (std::int64_t scan = from; scan < next; ++scan) {
    for (const std::size_t signal : list_) words.push_back(*signals_[signal].last);
  }
  ring_->Append(from, words);
}

}  // namespace vantoscope
