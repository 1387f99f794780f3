// SPDX-License-Identifier: GPL-3.0-or-later
// The host's side of a root topic: when it may publish there, and what. No network, no thread and
// no clock of its own: messages and times are handed in, payloads go out through a function.
//
// A root has one host. Whoever connects looks first: a host that gives live signs there is left
// alone, and the newcomer ends. A root left "open" by a host that crashed together with its broker
// is taken over after a while without a sign. If two hosts look at the same time, or one was frozen
// while another took its root, then the one whose info came last stays and the other ends, without
// saying "closed".
//
// One message proves no host: it takes two live ones with some time between them. What anybody else
// writes to the root of a host that publishes is written over at once.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "sources/mqtt/mqtt_wire.h"

namespace vantoscope {

/// How often an open host repeats its state, as a sign of life. Live messages of a host that has no
/// scans to send come no slower, and tell how old its newest one is.
inline constexpr std::chrono::milliseconds kSignOfLife{1'000};
/// How often the channel list is published again.
inline constexpr std::chrono::seconds kListAgain{10};

class Publication {
 public:
  using Time = std::chrono::steady_clock::time_point;
  /// Publishes, retained, under ROOT/`leaf`.
  using Send = std::function<void(std::string_view leaf, std::span<const std::byte>, int qos)>;
  /// One line for the user.
  using Say = std::function<void(const std::string&)>;
  /// The times of what is sent now.
  using Times = std::function<HostTimes()>;

  /// Throws SourceError for a channel list that no meter would accept.
  Publication(HostInfo info, Send send, Say say, Times times);

  void OnConnected(Time now);
  void OnLost();
  void OnMessage(std::string_view leaf, std::span<const std::byte> payload, bool retained,
                 Time now);
  /// To be called several times a second.
  void OnTime(Time now);

  [[nodiscard]] bool Publishing() const { return phase_ == Phase::kPublishing; }
  /// Another host has the root: nothing is published any more.
  [[nodiscard]] bool Over() const { return phase_ == Phase::kOver; }
  [[nodiscard]] const HostInfo& Info() const { return info_; }

  /// The names, units and ranges of the channels from now on.
  void SetChannels(const std::vector<ChannelInfo>& channels);
  /// One block, at most kMaxWireScans scans; twice when its index jumps, since one block alone
  /// proves no jump. Only while Publishing.
  void SendScans(const Scans& scans);
  /// Says "closed", if the root is ours.
  void Close();

 private:
  enum class Phase { kOffline, kLooking, kPublishing, kOver };
  /// Another host, as far as messages tell.
  struct Rival {
    std::uint64_t epoch = 0;
    std::optional<Time> first_sign;
  };

  void OnInfo(std::string_view text, Time now);
  void OnState(std::string_view text, bool retained, Time now);
  void OnForeignSign(std::uint64_t epoch, Time now);
  void LookLonger(Time now);
  void SendList(Time now);
  void SendState(bool open, int qos, Time now);
  void GiveUp(const std::string& why);

  HostInfo info_;
  Send send_;
  Say say_;
  Times times_;
  Phase phase_ = Phase::kOffline;
  Time look_until_;
  bool looks_longer_ = false;
  bool own_info_seen_ = false;
  std::optional<Rival> rival_;
  std::string list_;  // as it is published
  bool refused_list_ = false;
  std::optional<std::int64_t> next_scan_;  // index behind the last block
  Time next_list_;
  Time next_sign_;
};

}  // namespace vantoscope
