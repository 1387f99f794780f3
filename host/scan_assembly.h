// SPDX-License-Identifier: GPL-3.0-or-later
// Scans out of values that come signal by signal, in packets that need not keep step with each
// other.
//
// An instrument that samples at a rate gives as many values of every signal: the first value of
// each makes scan 0, and so on; a scan waits until its last value is there. An instrument without a
// rate (a multimeter) gives a value now and then: its scans hold the last one, at a rate of ours
// and for five seconds or three scans at most; then it is missing. No thread and no clock of its
// own: times are handed in.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <vector>

#include "sources/mqtt/scan_ring.h"

namespace vantoscope {

class ScanAssembly {
 public:
  using Time = std::chrono::steady_clock::time_point;
  /// How long the last value of a signal holds, if that is not less than three scans.
  static constexpr std::chrono::seconds kHold{5};
  /// Values of a signal that wait for those of others; what is beyond is lost.
  static constexpr std::size_t kMostWaiting = 1 << 20;
  static constexpr std::size_t kHeldScans = 1 << 16;

  /// `hold_rate` is the rate, in scans per second, of an instrument that has none.
  ScanAssembly(std::size_t signals, std::optional<double> hold_rate)
      : signals_(signals), hold_rate_(hold_rate) {}

  /// Whether the signal has given a value.
  [[nodiscard]] bool Seen(std::size_t signal) const { return signals_[signal].last.has_value(); }
  [[nodiscard]] bool AllSeen() const;
  /// The scans begin, of the signals in `list`, in this order; `channels` are their entries. Once;
  /// every one of them has been seen.
  void Begin(std::vector<std::size_t> list, std::vector<ChannelInfo> channels, Time now);

  /// Values from now on stand under another unit: the scans so far are dropped, and so are values
  /// that still wait.
  void BeginAnew(Time now);
  /// The next values of a signal.
  void Take(std::size_t signal, std::span<const double> values, Time now);
  /// The scans up to `now`. Only after Begin.
  const ScanRing& Scans(Time now);
  /// Seconds since the newest value, or the newest whole scan of an instrument that has a rate.
  [[nodiscard]] double Age(Time now) const {
    return std::chrono::duration<double>(now - (hold_rate_ ? last_value_ : last_scan_)).count();
  }

 private:
  struct Signal {
    std::optional<double> last;
    Time last_at;
    std::deque<double> waiting;
  };
  void Append(const vantoscope::Scans& scans);
  void AppendWhole(Time now);
  void AppendHeld(Time now);
  [[nodiscard]] bool Holds(Time last_at, Time now) const;

  std::vector<Signal> signals_;
  std::optional<double> hold_rate_;
  std::vector<std::size_t> list_;
  std::vector<ChannelInfo> channels_;
  std::optional<ScanRing> ring_;
  std::int64_t next_ = 0;  // index behind the newest scan
  Time begin_;
  Time last_value_;
  Time last_scan_;
};

}  // namespace vantoscope
