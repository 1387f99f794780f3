// The host's side of a root topic: when it may publish there, and what. No network, no thread and
// no clock of its own: messages and times are handed in, payloads go out through a function.
//
// A root has one host. Whoever connects looks first: a host that gives a live sign there is left
// alone, and the newcomer ends. A root left "open" by a host that crashed together with its broker
// is taken over after a while without a sign. If two hosts look at the same time, or one was frozen
// while another took its root, then the one whose info came last stays and the other ends, without
// saying "closed".
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

class Publication {
 public:
  using Time = std::chrono::steady_clock::time_point;
  /// Publishes, retained, under ROOT/`leaf`.
  using Send = std::function<void(std::string_view leaf, std::span<const std::byte>, int qos)>;
  /// One line for the user.
  using Say = std::function<void(const std::string&)>;
  /// The times of what is sent now.
  using Times = std::function<HostTimes()>;

  Publication(HostInfo info, Send send, Say say, Times times)
      : info_(std::move(info)),
        send_(std::move(send)),
        say_(std::move(say)),
        times_(std::move(times)) {}

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

  /// One block, at most kMaxWireScans scans. Only while Publishing.
  void SendScans(const RawScans& scans);
  /// Says "closed", if the root is ours.
  void Close();

 private:
  enum class Phase { kOffline, kLooking, kPublishing, kOver };

  void Begin(Time now);
  void SendState(bool open, int qos, Time now);
  void GiveUp(const std::string& why);

  HostInfo info_;
  Send send_;
  Say say_;
  Times times_;
  Phase phase_ = Phase::kOffline;
  Time look_until_;
  bool said_waiting_ = false;
  bool own_info_seen_ = false;
  Time next_sign_;
};

}  // namespace vantoscope
