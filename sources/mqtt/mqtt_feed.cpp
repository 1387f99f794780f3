// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/mqtt/mqtt_feed.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "sources/device_text.h"
#include "sources/freshness.h"

namespace vantoscope {
namespace {

using std::chrono::milliseconds;

// How long `closed` must stand before it counts, while the broker stays.
constexpr milliseconds kClosedStands{700};
// An open host gives a sign every second; one without has lost its root to a rival that does.
constexpr std::chrono::seconds kRivalWaits{3};
constexpr std::size_t kLongestBlock = std::numeric_limits<std::int16_t>::max();
// What a ring takes unless a longer block is asked for: all that can be asked for up to 16
// channels of words.
constexpr std::size_t kRingBytes = 1 << 20;

/// True when samples under the labels of `a` are to be read as those of `b`.
bool SameSamples(const HostInfo& a, const HostInfo& b) {
  const auto same = [](const ChannelInfo& one, const ChannelInfo& other) {
    return one.number == other.number && one.encoding == other.encoding &&
           one.factor == other.factor && one.offset == other.offset;
  };
  return a.rate == b.rate && std::ranges::equal(a.channels, b.channels, same);
}

bool SameUnits(const HostInfo& a, const HostInfo& b) {
  return std::ranges::equal(a.channels, b.channels, {}, &ChannelInfo::unit, &ChannelInfo::unit);
}

}  // namespace

void MqttFeed::OnConnected(Time now) { freshness_.OnConnected(now); }

void MqttFeed::OnLost() {
  closed_at_.reset();
  freshness_.OnLost();
}

void MqttFeed::OnMessage(std::string_view leaf, std::span<const std::byte> payload, bool retained,
                         Time now) {
  if (leaf == "info") {
    OnInfo(payload);
  } else if (leaf == "state") {
    OnState(payload, retained, now);
  } else if (leaf == "scan" && retained) {
    ++counts_.retained;
  } else if (leaf == "scan" && !OnScan(payload, now)) {
    ++counts_.ignored;
  }
}

void MqttFeed::OnInfo(std::span<const std::byte> payload) {
  std::string why;
  auto info = DecodeInfo(AsText(payload), why);
  if (!info) {
    ++counts_.ignored;
    info_fault_ = why;
    return;
  }
  info_fault_.clear();
  if (!fixed_) {
    if (info_ == info) return;
    info_ = std::move(info);
    BeginEpoch();
  } else if (info->epoch != info_->epoch) {
    rival_ = std::move(info);
  } else if (!SameSamples(*info_, *info)) {
    ++counts_.ignored;  // an epoch has one list
  } else if (info->revision == info_->revision) {
    TakeList(std::move(*info));
  } else {
    other_revision_ = std::move(info);
  }
}

/// A list that differs from the present one in names, units and ranges.
void MqttFeed::TakeList(HostInfo info) {
  if (!SameUnits(*info_, info)) BeginRing();
  if (info_->channels != info.channels) ++list_changes_;
  info_ = std::move(info);
}

void MqttFeed::BeginEpoch() {
  Clear();
  closed_at_.reset();
  other_revision_.reset();
  freshness_.Begin(info_->rate);
  if (fixed_ && ring_) return;
  const std::size_t scans = kRingBytes / BytesOfScan(info_->channels);
  ring_.emplace(info_->channels, std::min(scans, kLongestBlock));
}

void MqttFeed::OnState(std::span<const std::byte> payload, bool retained, Time now) {
  const auto state = DecodeState(AsText(payload));
  if (!state) {
    ++counts_.ignored;
    return;
  }
  const bool ours = info_ && state->epoch == info_->epoch;
  if (info_ && !ours && (fixed_ || !state->open)) {
    OnRivalState(*state, retained, now);
    return;
  }
  if (ours && state->open && !retained && !freshness_.Hear(state->times, now)) {
    ++counts_.ignored;
    return;
  }
  state_ = state;
  if (state->open) {
    closed_at_.reset();
  } else {
    // A broker that kept its messages over a restart says "closed" until the host is back, too.
    closed_at_ = now + (retained ? timeout_ : kClosedStands);
  }
}

/// The farewell of another host says nothing of ours. The sign of a rival counts when ours is no
/// more.
void MqttFeed::OnRivalState(const HostState& state, bool retained, Time now) {
  ++counts_.ignored;
  const bool open = rival_ && state.epoch == rival_->epoch && state.open && !retained;
  if (!open || (!Closed() && freshness_.Silence(now) < kRivalWaits)) return;
  if (!SameSamples(*info_, *rival_)) {
    other_list_ = true;
    return;
  }
  if (info_->channels != rival_->channels) ++list_changes_;
  info_ = std::exchange(rival_, std::nullopt);
  BeginEpoch();
  state_ = state;
  freshness_.Hear(state.times, now);
}

/// False when nothing of the block is taken.
bool MqttFeed::OnScan(std::span<const std::byte> payload, Time now) {
  const auto block = DecodeScans(payload);
  if (!block || !info_ || other_list_ || block->epoch != info_->epoch) return false;
  auto scans = ScansOf(*block, info_->channels);
  if (!scans || !FollowRevision(*block) || !freshness_.Hear(block->times, now)) return false;
  if (!JoinsOrIsConfirmed(*block)) return false;
  // Own indices go on upwards when the host begins anew, with one left out, so that scans of two
  // epochs are never taken for consecutive.
  if (!shift_) shift_ = next_own_ > 0 ? next_own_ + 1 - block->first : 0;
  constexpr std::int64_t kMaxOwn = std::numeric_limits<std::int64_t>::max() / 2;
  if (*shift_ > 0 && block->first > kMaxOwn - *shift_) return false;
  Bridge(*block);
  scans->first += *shift_;
  const std::size_t taken = ring_->Append(*scans);
  if (taken == 0) return false;
  next_own_ = ring_->Next();
  ++counts_.blocks;
  counts_.scans += taken;
  freshness_.NoteBlock(block->times, block->scans);
  return true;
}

/// False for a block of a list that is not known (yet).
bool MqttFeed::FollowRevision(const ScanBlock& block) {
  if (block.revision == info_->revision) return true;
  if (!other_revision_ || block.revision != other_revision_->revision) return false;
  HostInfo former = *info_;
  TakeList(std::move(*other_revision_));
  other_revision_ = std::move(former);
  return true;
}

bool MqttFeed::JoinsOrIsConfirmed(const ScanBlock& block) {
  const double most = freshness_.Limit() * info_->rate;
  const auto within = [&](std::int64_t scans) {
    return scans >= 0 && static_cast<double>(scans) <= most;
  };
  const std::int64_t end = block.first + static_cast<std::int64_t>(block.scans);
  if (shift_ && ring_->Next() > 0) {
    const std::int64_t next = ring_->Next() - *shift_;
    const auto joins_behind = [&](std::int64_t index) {
      return block.first <= index ? end >= index || within(index - end)
                                  : within(block.first - index);
    };
    const bool joins = joins_behind(next);
    if (!joins && !(jump_ && joins_behind(*jump_))) {
      jump_ = end;
      return false;
    }
    if (!joins) {
      ++counts_.gaps;
      counts_.missing += static_cast<std::uint64_t>(std::max<std::int64_t>(block.first - next, 0));
      BeginRing();
    }
  }
  jump_.reset();
  return true;
}

/// A gap no longer than the limit is closed by moving on from the host's indices.
void MqttFeed::Bridge(const ScanBlock& block) {
  const std::int64_t missing = block.first + *shift_ - ring_->Next();
  if (ring_->Next() == 0 || missing <= 0) return;
  ++counts_.gaps;
  counts_.missing += static_cast<std::uint64_t>(missing);
  *shift_ -= missing;
}

bool MqttFeed::Closed() const {
  return state_ && !state_->open && info_ && state_->epoch == info_->epoch;
}

bool MqttFeed::Ready() const {
  return info_ && state_ && state_->open && state_->epoch == info_->epoch;
}

std::optional<std::string> MqttFeed::HostGone(Time now) {
  if (other_list_) return "publishes other channels now";
  if (closed_at_ && Closed() && now >= *closed_at_) return "has closed";
  if (!freshness_.Silent(timeout_, now)) return std::nullopt;
  const double seconds = std::chrono::duration<double>(timeout_).count();
  return "has given no sign of life for " + ShortestText(seconds) +
         " s: " + freshness_.At(now).reason;
}

std::optional<Block> MqttFeed::GetData(std::size_t count, std::int32_t mode, Time now) {
  if (!ring_) return std::nullopt;
  ring_->Reserve(std::min(count, kLongestBlock));
  if (!IsFresh(freshness_.At(now))) return std::nullopt;
  return ring_->Newest(count, mode, info_->channels);
}

Scans MqttFeed::Since(std::int64_t next, std::size_t limit) const {
  return ring_ ? ring_->Since(next, limit) : Scans{};
}

/// What comes next does not join the scans that were held.
void MqttFeed::BeginRing() {
  if (ring_) ring_->Clear();
  shift_.reset();
  jump_.reset();
}

void MqttFeed::Clear() {
  BeginRing();
  freshness_.Forget();
}

}  // namespace vantoscope
