#include "sources/mqtt/mqtt_feed.h"

#include <algorithm>
#include <limits>

#include "sources/freshness.h"

namespace vantoscope {
namespace {

using std::chrono::milliseconds;

// How long `closed` must stand before it counts, while the broker stays.
constexpr milliseconds kClosedStands{700};
constexpr std::size_t kLongestBlock = std::numeric_limits<std::int16_t>::max();
// What a ring takes unless a longer block is asked for: all that can be asked for up to 16
// channels.
constexpr std::size_t kRingBytes = 1 << 20;

std::string_view AsText(std::span<const std::byte> payload) {
  return {reinterpret_cast<const char*>(payload.data()), payload.size()};
}

/// True when values under the labels of `a` stand for the same under those of `b`.
bool SameList(const HostInfo& a, const HostInfo& b) {
  return a.rate == b.rate && a.channels == b.channels;
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
  } else if (leaf == "scan") {
    OnScan(payload, retained, now);
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
  if (fixed_ && !SameList(*info_, *info)) {
    other_list_ = true;
    return;
  }
  if (info_ && info_->epoch == info->epoch && SameList(*info_, *info)) return;
  info_ = std::move(info);
  BeginEpoch();
}

void MqttFeed::BeginEpoch() {
  Clear();
  closed_at_.reset();
  freshness_.Begin(info_->rate);
  const std::size_t channels = info_->channels.size();
  const std::size_t scans = kRingBytes / (channels * sizeof(std::int16_t));
  if (!fixed_ || !ring_) ring_.emplace(channels, std::min(scans, kLongestBlock));
}

void MqttFeed::OnState(std::span<const std::byte> payload, bool retained, Time now) {
  const auto state = DecodeState(AsText(payload));
  if (!state) {
    ++counts_.ignored;
    return;
  }
  const bool ours = info_ && state->epoch == info_->epoch;
  // The farewell of another host says nothing of ours.
  if (!state->open && info_ && !ours) {
    ++counts_.ignored;
    return;
  }
  state_ = state;
  if (state->open) {
    closed_at_.reset();
    if (ours && !retained) freshness_.Hear(state->times, now);
  } else {
    // A broker that kept its messages over a restart says "closed" until the host is back, too.
    closed_at_ = now + (retained ? timeout_ : kClosedStands);
  }
}

void MqttFeed::OnScan(std::span<const std::byte> payload, bool retained, Time now) {
  if (retained) {
    ++counts_.retained;
    return;
  }
  const auto block = DecodeScans(payload);
  if (!block || !info_ || other_list_ || block->epoch != info_->epoch ||
      block->channels != info_->channels.size()) {
    ++counts_.ignored;
    return;
  }
  freshness_.Hear(block->times, now);
  // Own indices go on upwards when the host begins anew, with one left out, so that scans of two
  // epochs are never taken for consecutive.
  if (!shift_) shift_ = next_own_ > 0 ? next_own_ + 1 - block->first : 0;
  constexpr std::int64_t kMaxOwn = std::numeric_limits<std::int64_t>::max() / 2;
  if (*shift_ > 0 && block->first > kMaxOwn - *shift_) {
    ++counts_.ignored;
    return;
  }
  Bridge(*block);
  const std::size_t taken = ring_->Append(block->first + *shift_, block->Words());
  if (taken == 0) {
    ++counts_.ignored;
    return;
  }
  next_own_ = ring_->Next();
  ++counts_.blocks;
  counts_.scans += taken;
  freshness_.NoteBlock(block->times, block->scans);
}

/// A gap no longer than the limit is closed by moving on from the host's indices.
void MqttFeed::Bridge(const ScanBlock& block) {
  const std::int64_t missing = block.first + *shift_ - ring_->Next();
  if (ring_->Next() == 0 || missing <= 0) return;
  ++counts_.gaps;
  counts_.missing += static_cast<std::uint64_t>(missing);
  if (static_cast<double>(missing) / info_->rate <= freshness_.Limit()) *shift_ -= missing;
}

bool MqttFeed::Closed() const {
  return state_ && !state_->open && info_ && state_->epoch == info_->epoch;
}

bool MqttFeed::Ready() const {
  return info_ && state_ && state_->open && state_->epoch == info_->epoch;
}

bool MqttFeed::HostGone(Time now) {
  const bool silent = freshness_.Silent(timeout_, now);
  return silent || other_list_ || (closed_at_ && Closed() && now >= *closed_at_);
}

std::optional<Block> MqttFeed::GetData(std::size_t count, std::int32_t mode, Time now) {
  if (!ring_) return std::nullopt;
  ring_->Reserve(std::min(count, kLongestBlock));
  if (!IsFresh(freshness_.At(now))) return std::nullopt;
  return ring_->Newest(count, mode, info_->channels);
}

RawScans MqttFeed::Since(std::int64_t next, std::size_t limit) const {
  return ring_ ? ring_->Since(next, limit) : RawScans{};
}

void MqttFeed::Clear() {
  if (ring_) ring_->Clear();
  shift_.reset();
  freshness_.Forget();
}

}  // namespace vantoscope
