// SPDX-License-Identifier: GPL-3.0-or-later
#include "host/publication.h"

#include <utility>

namespace vantoscope {
namespace {

using std::chrono::milliseconds;

// Retained messages follow a subscription at once; this is for a slow network.
constexpr milliseconds kLook{400};
// An owner that lives gives a sign in this time.
constexpr milliseconds kLookForOwner = 3 * kSignOfLife + kLook;
// A host gives its next sign in this time, but for the jitter of a network.
constexpr milliseconds kProof = kSignOfLife * 9 / 10;

}  // namespace

Publication::Publication(HostInfo info, Send send, Say say, Times times)
    : info_(std::move(info)),
      send_(std::move(send)),
      say_(std::move(say)),
      times_(std::move(times)),
      list_(EncodeInfo(info_)) {
  std::string why;
  if (!DecodeInfo(list_, why)) {
    throw SourceError("No meter would accept the channel list of the device: " + why + ".");
  }
}

void Publication::OnConnected(Time now) {
  if (phase_ == Phase::kOver) return;
  phase_ = Phase::kLooking;
  look_until_ = now + kLook;
  looks_longer_ = false;
  rival_.reset();
}

void Publication::OnLost() {
  if (phase_ != Phase::kOver) phase_ = Phase::kOffline;
}

void Publication::OnMessage(std::string_view leaf, std::span<const std::byte> payload,
                            bool retained, Time now) {
  if (phase_ != Phase::kLooking && phase_ != Phase::kPublishing) return;
  if (leaf == "info") {
    OnInfo(AsText(payload), now);
  } else if (leaf == "state") {
    OnState(AsText(payload), retained, now);
  } else if (leaf == "scan" && phase_ == Phase::kLooking && !retained) {
    if (const auto block = DecodeScans(payload)) OnForeignSign(block->epoch, now);
  }
}

void Publication::OnInfo(std::string_view text, Time now) {
  if (phase_ != Phase::kPublishing) return;
  if (text == list_) {
    own_info_seen_ = true;
    return;
  }
  std::string why;
  const auto info = DecodeInfo(text, why);
  if (!info || info->epoch == info_.epoch) {
    next_list_ = now;
  } else if (own_info_seen_) {  // else it is older than ours
    rival_ = Rival{.epoch = info->epoch, .first_sign = {}};
    next_list_ = now + kLookForOwner;
  }
}

void Publication::OnState(std::string_view text, bool retained, Time now) {
  const auto state = DecodeState(text);
  if (phase_ == Phase::kPublishing && (!state || !state->open)) {
    // The farewell of a former host, or of a former connection of this one, stands over ours.
    next_sign_ = now;
  } else if (!state || !state->open || state->epoch == info_.epoch) {
    return;
  } else if (!retained) {
    OnForeignSign(state->epoch, now);
  } else if (phase_ == Phase::kLooking) {
    LookLonger(now);
  }
}

/// A live message of another epoch. One says little; a second some time after it is a host.
void Publication::OnForeignSign(std::uint64_t epoch, Time now) {
  if (epoch == info_.epoch) return;
  if (phase_ == Phase::kLooking && (!rival_ || rival_->epoch != epoch)) {
    rival_ = Rival{.epoch = epoch, .first_sign = {}};
    LookLonger(now);
  }
  if (!rival_ || rival_->epoch != epoch) return;
  if (!rival_->first_sign) rival_->first_sign = now;
  if (now - *rival_->first_sign < kProof) return;
  GiveUp(phase_ == Phase::kLooking ? "another host publishes there already"
                                   : "another host has taken over; this one ends");
}

void Publication::LookLonger(Time now) {
  if (std::exchange(looks_longer_, true)) return;
  look_until_ = now + kLookForOwner;
  say_("the root is open already; waiting for signs of its host");
}

void Publication::OnTime(Time now) {
  if (phase_ == Phase::kLooking && now >= look_until_) {
    phase_ = Phase::kPublishing;
    own_info_seen_ = false;
    rival_.reset();
    SendList(now);
    SendState(true, 1, now);
    say_("publishing " + std::to_string(info_.channels.size()) + " channels of " + info_.device);
  }
  if (phase_ != Phase::kPublishing) return;
  if (now >= next_list_) {
    rival_.reset();
    SendList(now);
  }
  if (now >= next_sign_) SendState(true, 0, now);
}

void Publication::SetChannels(const std::vector<ChannelInfo>& channels) {
  if (channels == info_.channels) return;
  HostInfo changed = info_;
  changed.channels = channels;
  ++changed.revision;
  std::string list = EncodeInfo(changed);
  std::string why;
  if (!DecodeInfo(list, why)) {
    if (!std::exchange(refused_list_, true)) {
      say_("no meter would accept the changed channel list: " + why);
    }
    return;
  }
  refused_list_ = false;
  info_ = std::move(changed);
  list_ = std::move(list);
  if (phase_ == Phase::kPublishing) send_("info", std::as_bytes(std::span(list_)), 1);
}

void Publication::SendList(Time now) {
  send_("info", std::as_bytes(std::span(list_)), 1);
  next_list_ = now + kListAgain;
}

void Publication::SendState(bool open, int qos, Time now) {
  const std::string state =
      EncodeState({open, info_.epoch, open ? std::optional(times_()) : std::nullopt});
  send_("state", std::as_bytes(std::span(state)), qos);
  next_sign_ = now + kSignOfLife;
}

void Publication::SendScans(const Scans& scans) {
  const std::vector<std::byte> payload = EncodeScans(scans, info_.epoch, info_.revision, times_());
  send_("scan", payload, 0);
  // A jump of the indices is believed when a second block confirms it.
  const bool jumps = next_scan_ && scans.first != *next_scan_;
  if (jumps) send_("scan", payload, 0);
  next_scan_ = scans.first + static_cast<std::int64_t>(scans.scans);
}

void Publication::Close() {
  if (phase_ == Phase::kPublishing) SendState(false, 1, {});
  phase_ = Phase::kOver;
}

void Publication::GiveUp(const std::string& why) {
  phase_ = Phase::kOver;
  say_(why);
}

}  // namespace vantoscope
