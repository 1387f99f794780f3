// SPDX-License-Identifier: GPL-3.0-or-later
// What a meter makes of the messages of its host: the channel list, the newest scans, whether they
// are fresh and whether the host is gone. Messages and times are handed in, and none is trusted.
//
// The rules:
// - Number, count, encoding and rate of the info that the device was opened with are fixed. Names,
//   units and ranges change with the list of the revision that a block carries; after a change of
//   unit the scans before it are dropped.
// - A block counts only if it carries the epoch of the host, the revision of a list of that epoch
// and
//   the samples of that list; anything else is counted and ignored, so a second host on the same
//   root can never mix its values in.
// - An info with another epoch is a rival's. The meter goes over to it when it gives a live sign
//   while the former host has closed, or has been silent for three seconds; if its channels are
//   others, that means that the host of this meter is gone.
// - What a block brings again is dropped; an older block is ignored. A window is made of the newest
//   scans that arrived: a gap no longer than the limit is closed. A jump beyond the limit, forwards
//   or backwards, is taken when the next block agrees with it; then the older scans are
//   dropped.
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
  /// Counts up whenever a name, unit or range in Info has changed.
  [[nodiscard]] std::uint64_t ListChanges() const { return list_changes_; }
  /// True when the host's last word is that it has closed.
  [[nodiscard]] bool Closed() const;
  /// Why the last info was refused; empty if it was not.
  [[nodiscard]] const std::string& InfoFault() const { return info_fault_; }
  /// What the host has done, as the end of a sentence, from when on it is gone. To be asked a few
  /// times a second.
  std::optional<std::string> HostGone(Time now);
  [[nodiscard]] Freshness DataFreshness(Time now) const { return freshness_.At(now); }

  /// See Device::GetData.
  std::optional<Block> GetData(std::size_t count, std::int32_t mode, Time now);
  [[nodiscard]] Scans Since(std::int64_t next, std::size_t limit) const;
  /// Forgets the scans.
  void Clear();
  [[nodiscard]] const MqttCounts& Counts() const { return counts_; }

 private:
  void OnInfo(std::span<const std::byte> payload);
  void TakeList(HostInfo info);
  void OnState(std::span<const std::byte> payload, bool retained, Time now);
  void OnRivalState(const HostState& state, bool retained, Time now);
  bool OnScan(std::span<const std::byte> payload, Time now);
  bool FollowRevision(const ScanBlock& block);
  bool JoinsOrIsConfirmed(const ScanBlock& block);
  void Bridge(const ScanBlock& block);
  void BeginEpoch();
  void BeginRing();

  std::chrono::milliseconds timeout_;
  bool fixed_ = false;
  bool other_list_ = false;
  std::optional<HostInfo> info_;
  std::optional<HostInfo> other_revision_;  // the last list of another revision in this epoch
  std::optional<HostInfo> rival_;           // the last info of another epoch
  std::uint64_t list_changes_ = 0;
  std::string info_fault_;
  std::optional<HostState> state_;
  std::optional<Time> closed_at_;  // when `closed` counts, unless something else comes
  HostFreshness freshness_;

  std::optional<ScanRing> ring_;
  std::optional<std::int64_t> shift_;  // own index of a scan minus the host's, in this epoch
  std::int64_t next_own_ = 0;          // own index behind all scans ever taken
  std::optional<std::int64_t> jump_;   // index of the host behind a block that did not join
  MqttCounts counts_;
};

}  // namespace vantoscope
