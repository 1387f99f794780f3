#include "host/publication.h"

namespace vantoscope {
namespace {

using std::chrono::milliseconds;

// Retained messages follow a subscription at once; this is for a slow network.
constexpr milliseconds kLook{400};
// An owner that lives gives a sign in this time.
constexpr milliseconds kLookForOwner = 3 * kSignOfLife + kLook;

std::string_view AsText(std::span<const std::byte> payload) {
  return {reinterpret_cast<const char*>(payload.data()), payload.size()};
}

}  // namespace

void Publication::OnConnected(Time now) {
  if (phase_ == Phase::kOver) return;
  phase_ = Phase::kLooking;
  look_until_ = now + kLook;
  said_waiting_ = false;
}

void Publication::OnLost() {
  if (phase_ != Phase::kOver) phase_ = Phase::kOffline;
}

void Publication::OnMessage(std::string_view leaf, std::span<const std::byte> payload,
                            bool retained, Time now) {
  if (phase_ != Phase::kLooking && phase_ != Phase::kPublishing) return;
  if (leaf == "info") {
    std::string why;
    const auto info = DecodeInfo(AsText(payload), why);
    if (!info) return;
    const bool own = info->epoch == info_.epoch;
    if (phase_ == Phase::kPublishing && own) own_info_seen_ = true;
    // Older than ours if it comes before ours is back.
    if (phase_ == Phase::kPublishing && !own && own_info_seen_) {
      GiveUp("another host has taken over; this one ends");
    }
  } else if (leaf == "state") {
    const auto state = DecodeState(AsText(payload));
    if (!state) return;
    if (phase_ == Phase::kPublishing) {
      // The farewell of a former host, or of a former connection of this one, stands over ours.
      if (!state->open) SendState(true, 1, now);
      return;
    }
    if (state->epoch == info_.epoch) return;
    if (state->open && !retained) {
      GiveUp("another host publishes there already");
    } else if (state->open && !said_waiting_) {
      said_waiting_ = true;
      look_until_ = now + kLookForOwner;
      say_("the root is open already; waiting for a sign of its host");
    }
  } else if (leaf == "scan" && phase_ == Phase::kLooking && !retained) {
    const auto block = DecodeScans(payload);
    if (block && block->epoch != info_.epoch) GiveUp("another host publishes there already");
  }
}

void Publication::OnTime(Time now) {
  if (phase_ == Phase::kLooking && now >= look_until_) {
    phase_ = Phase::kPublishing;
    Begin(now);
    say_("publishing " + std::to_string(info_.channels.size()) + " channels of " + info_.device);
  }
  if (phase_ == Phase::kPublishing && now >= next_sign_) SendState(true, 0, now);
}

void Publication::Begin(Time now) {
  own_info_seen_ = false;
  const std::string info = EncodeInfo(info_);
  send_("info", std::as_bytes(std::span(info)), 1);
  SendState(true, 1, now);
}

void Publication::SendState(bool open, int qos, Time now) {
  const std::string state =
      EncodeState({open, info_.epoch, open ? std::optional(times_()) : std::nullopt});
  send_("state", std::as_bytes(std::span(state)), qos);
  next_sign_ = now + kSignOfLife;
}

void Publication::SendScans(const RawScans& scans) {
  send_("scan", EncodeScans(scans, info_.channels.size(), info_.epoch, times_()), 0);
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
