// SPDX-License-Identifier: GPL-3.0-or-later
// What a host and its meters say to each other through a broker: the payloads of the topics
// ROOT/info, ROOT/state and ROOT/scan. Only bytes to records and back; nothing here is trusted, and
// nothing throws.
//
//   info   JSON, retained, QoS 1:
//          {"format": 2, "epoch": "0123456789abcdef", "revision": 1, "device": "SM64",
//           "rate": 1000.0,
//           "channels": [{"number": 1, "name": "Tank", "unit": "m", "low": 0.0, "high": 10.0,
//                         "encoding": "i16", "factor": 0.00015, "offset": 5.0},
//                        {"number": 2, "name": "Flow", "unit": "l/s", "low": -1.0, "high": 1.0,
//                         "encoding": "f64"}, ...]}
//          It comes again every ten seconds, and with the next revision whenever the name, the unit
//          or the range of a channel has changed; everything else stays as it is for an epoch
//   state  "open EPOCH SENT TAKEN" or "closed EPOCH", retained, QoS 1; "closed EPOCH" is the last
//          will too. An open host repeats it every second, QoS 0, whether or not there are scans
//          to send; TAKEN is missing while it has none
//   scan   retained, QoS 0, little-endian:
//          0  4  "TVX" and the format version 2
//          4  2  channels
//          6  2  scans
//          8  8  epoch
//          16 8  index of the first scan
//          24 8  SENT
//          32 8  TAKEN
//          40 4  revision of the list under which the samples stand
//          44 4  0
//          48    channel by channel its samples. i16: signed 16-bit words; a word w stands for
//                offset + factor * w, that of a digital input (number -1) for its bits 8 to 15.
//                f64: numbers in the unit; nan is missing, an infinity is over range
//
// SENT is when the message was sent, TAKEN when the newest scan that the host has was taken; both
// in microseconds by one clock of the host. It may begin anywhere and need not agree with any
// other, but it should neither be set nor stand still while the machine sleeps. A host that hands
// on the scans of another one reckons TAKEN back from the age that they have when they reach it.
//
// The epoch is drawn anew whenever a host starts, so that a restarted host is never taken for the
// one before. Within an epoch indices only rise.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "sources/device.h"

namespace vantoscope {

inline constexpr std::size_t kMaxWireChannels = 1024;
inline constexpr std::size_t kMaxWireScans = 65535;

struct HostInfo {
  std::uint64_t epoch = 0;
  std::uint32_t revision = 1;
  std::string device;  ///< text of the device behind the host, for people
  double rate = 0;     ///< scans per second
  std::vector<ChannelInfo> channels;

  bool operator==(const HostInfo&) const = default;
};

/// Microseconds by the host's clock.
struct HostTimes {
  std::int64_t sent_us = 0;
  std::optional<std::int64_t> taken_us;  ///< not above sent_us; nothing while there is no scan

  bool operator==(const HostTimes&) const = default;
};

struct HostState {
  bool open = false;
  std::uint64_t epoch = 0;
  std::optional<HostTimes> times;  ///< only of an open host
};

/// A view into a payload; valid as long as the payload.
struct ScanBlock {
  std::uint64_t epoch = 0;
  std::uint32_t revision = 0;
  std::int64_t first = 0;
  HostTimes times;  ///< with a taken_us
  std::size_t scans = 0;
  std::size_t channels = 0;
  std::span<const std::byte> samples;
};

inline std::string_view AsText(std::span<const std::byte> payload) {
  return {reinterpret_cast<const char*>(payload.data()), payload.size()};
}

std::string EncodeInfo(const HostInfo& info);
/// Nothing, and one sentence in `why`, for a text that is no info of format 2.
std::optional<HostInfo> DecodeInfo(std::string_view text, std::string& why);

std::string EncodeState(const HostState& state);
std::optional<HostState> DecodeState(std::string_view text);

/// At most kMaxWireScans scans. Without a `taken_us` they were taken when they are sent.
std::vector<std::byte> EncodeScans(const Scans& scans, std::uint64_t epoch, std::uint32_t revision,
                                   const HostTimes& times);
/// Nothing unless every field is in range.
std::optional<ScanBlock> DecodeScans(std::span<const std::byte> payload);
/// The scans of a block in the byte order of this machine; nothing unless its length is exactly
/// that of such channels.
std::optional<Scans> ScansOf(const ScanBlock& block, const std::vector<ChannelInfo>& channels);

}  // namespace vantoscope
