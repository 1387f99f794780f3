// SPDX-License-Identifier: GPL-3.0-or-later
// What anybody writes to the root of a host. The input is a run of messages as in
// mqtt_payload_fuzz.cpp. Whatever comes, the host sends nothing that a meter would not take.
#include <cstdlib>

#include "host/publication.h"

using namespace vantoscope;

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

void RequireUnderstood(std::string_view leaf, std::span<const std::byte> payload) {
  const std::string_view text(reinterpret_cast<const char*>(payload.data()), payload.size());
  std::string why;
  Require(leaf != "info" || DecodeInfo(text, why));
  Require(leaf != "state" || DecodeState(text));
  Require(leaf != "scan" || DecodeScans(payload));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::int64_t clock = 0;
  Publication host(
      {0x4141414141414141, 1, "SM64", 100, {{1, "A", "m", 0, 1}}},
      [](std::string_view leaf, std::span<const std::byte> payload, int) {
        RequireUnderstood(leaf, payload);
      },
      [](const std::string& line) { Require(!line.empty()); },
      [&] { return HostTimes{.sent_us = clock, .taken_us = clock}; });
  Publication::Time now{};
  host.OnConnected(now);
  for (std::size_t at = 1; at + 3 <= size;) {
    const std::uint8_t kind = data[at];
    const std::size_t length =
        std::min<std::size_t>(data[at + 1] + std::size_t{256} * data[at + 2], size - at - 3);
    const auto payload = std::as_bytes(std::span(data + at + 3, length));
    constexpr const char* kLeaves[] = {"info", "state", "scan", "other"};
    host.OnMessage(kLeaves[kind % 4], payload, (kind & 0x80) != 0, now);
    now += std::chrono::milliseconds(4 * kind);
    clock += 4000 * kind;
    if (kind % 16 == 15) host.OnLost();
    if (kind % 16 == 14) host.OnConnected(now);
    if (kind % 16 == 13) host.SetChannels({{1, "A", "V", 0, static_cast<double>(kind)}});
    host.OnTime(now);
    if (host.Publishing()) host.SendScans({clock, 1, {std::vector<double>{1}}});
    at += 3 + length;
  }
  host.Close();
  return 0;
}
