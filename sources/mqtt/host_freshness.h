// SPDX-License-Identifier: GPL-3.0-or-later
// How fresh the scans of a host are, why there are none newer, and whether the host still lives,
// by what its messages tell of themselves. Times are handed in.
//
// The age of a scan is what the host says of it, and how late it says so (host_clock.h), and the
// time since then. The limit is two seconds, three sample periods or three blocks, whichever is
// longest; a block is what it spans or the pause between two, as seen.
#pragma once

#include <chrono>
#include <optional>

#include "meter/reading_state.h"
#include "sources/mqtt/host_clock.h"
#include "sources/mqtt/mqtt_wire.h"

namespace vantoscope {

class HostFreshness {
 public:
  using Time = HostClock::Time;

  void OnConnected(Time now);
  void OnLost();
  /// Another host, or the same one begun anew, with `rate` scans per second. Its clock is another.
  void Begin(double rate);
  /// A live message of the host has come. False, and nothing else, when its times do not fit those
  /// before (host_clock.h): it may not be the host's.
  bool Hear(const std::optional<HostTimes>& times, Time now);
  /// What was heard last were `scans` scans, and new ones among them.
  void NoteBlock(const HostTimes& times, std::size_t scans);
  /// No scans are held any more.
  void Forget();

  /// Seconds; see Freshness.
  [[nodiscard]] double Limit() const;
  [[nodiscard]] Freshness At(Time now) const;
  /// Time since the last live message, or the first connection.
  [[nodiscard]] HostClock::Time::duration Silence(Time now) const {
    return heard_at_ ? now - *heard_at_ : HostClock::Time::duration{};
  }
  /// True when no live message has come for `timeout`. To be asked a few times a second: a meter
  /// that was frozen itself has heard nobody, so a silence counts only when it has lasted for a
  /// moment longer than from when it was first seen.
  bool Silent(std::chrono::milliseconds timeout, Time now);

 private:
  using Microseconds = HostClock::Microseconds;
  [[nodiscard]] const char* Reason(Time now) const;

  double rate_ = 1;
  std::optional<Time> connected_at_;  // while connected
  std::optional<Time> heard_at_;      // the last live message, or the first connection
  std::optional<Time> silence_seen_at_;

  HostClock clock_;
  std::optional<Microseconds> late_;  // of the last live message that told its time
  std::optional<Time> taken_at_;      // the newest scan that the host has
  std::optional<Time> newest_at_;     // the newest scan that is held
  std::int64_t newest_us_ = 0;        // the same by the host's clock
  double block_seconds_ = 0;          // what the last block spans
  double pause_seconds_ = 0;          // between the last two blocks,
  double former_pause_seconds_ = 0;   // and the two before
};

}  // namespace vantoscope
