// What a meter makes of the messages of its host: the channel list, the newest scans, whether they
// are fresh and whether the host is gone. Messages and times are handed in.
//
// The rules:
// - The list of the info that the device was opened with is fixed. A later info with the same list
//   is the host begun anew: its blocks are followed from then on. One with another list means
//   that the host of this meter is gone.
// - A block counts only if it carries the epoch of the newest info and as many channels; anything
//   else is counted and ignored, so a second host on the same root can never mix its values in.
// - What a block brings again is dropped; an older block is ignored. A window is made of the newest
//   scans that arrived: a gap no longer than the limit is closed, after a longer one the older
//   scans are dropped.
// - Scans older than the limit (host_freshness.h) are no block. A retained block has no known age
//   and is never taken.
// - A host whose data stand still is not gone: it goes on saying that it is open. It is gone when
//   "closed" has stood for a moment (a broker that shuts down sends the last wills of its clients
//   just before it goes), or when no live message of it has come for `timeout`.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "sources/mqtt/host_freshness.h"
#include "sources/mqtt/mqtt_wire.h"
#include "sources/mqtt/scan_ring.h"

namespace vantoscope {

struct MqttCounts {
  std::uint64_t blocks = 0;    ///< taken, at least in part
  std::uint64_t scans = 0;     ///< taken
  std::uint64_t gaps = 0;      ///< times that scans were missing
  std::uint64_t missing = 0;   ///< scans that were
  std::uint64_t ignored = 0;   ///< payloads not understood, foreign, old or known already
  std::uint64_t retained = 0;  ///< blocks of unknown age
};

class MqttFeed {
 public:
  using Time = std::chrono::steady_clock::time_point;

  explicit MqttFeed(std::chrono::milliseconds timeout) : timeout_(timeout) {}

  void OnConnected(Time now);
  void OnLost();
  /// `leaf` is the topic behind the root: "info", "state" or "scan".
  void OnMessage(std::string_view leaf, std::span<const std::byte> payload, bool retained,
                 Time now);

  /// A list is known and its host says that it is open.
  [[nodiscard]] bool Ready() const;
  /// From now on the list is that of the present info. Only when Ready.
  void FixChannels() { fixed_ = true; }
  [[nodiscard]] const std::optional<HostInfo>& Info() const { return info_; }
  /// True when the host's last word is that it has closed.
  [[nodiscard]] bool Closed() const;
  /// Why the last info was refused; empty if it was not.
  [[nodiscard]] const std::string& InfoFault() const { return info_fault_; }
  /// To be asked a few times a second.
  bool HostGone(Time now);
  [[nodiscard]] Freshness DataFreshness(Time now) const { return freshness_.At(now); }

  /// See Device::GetData.
  std::optional<Block> GetData(std::size_t count, std::int32_t mode, Time now);
  [[nodiscard]] RawScans Since(std::int64_t next, std::size_t limit) const;
  /// Forgets the scans.
  void Clear();
  [[nodiscard]] const MqttCounts& Counts() const { return counts_; }

 private:
  void OnInfo(std::span<const std::byte> payload);
  void OnState(std::span<const std::byte> payload, bool retained, Time now);
  void OnScan(std::span<const std::byte> payload, bool retained, Time now);
  void BeginEpoch();
  void Bridge(const ScanBlock& block);

  std::chrono::milliseconds timeout_;
  bool fixed_ = false;
  bool other_list_ = false;
  std::optional<HostInfo> info_;
  std::string info_fault_;
  std::optional<HostState> state_;
  std::optional<Time> closed_at_;  // when `closed` counts, unless something else comes
  HostFreshness freshness_;

  std::optional<ScanRing> ring_;
  std::optional<std::int64_t> shift_;  // own index of a scan minus the host's, in this epoch
  std::int64_t next_own_ = 0;          // own index behind all scans ever taken
  MqttCounts counts_;
};

}  // namespace vantoscope
