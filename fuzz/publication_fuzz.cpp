// SPDX-License-Identifier: GPL-3.0-or-later
// What anybody writes to the root of a host. The input is a run of messages
// (messages.h). Whatever comes, the host sends nothing that a meter would not take.
#include <cstdlib>

#include "fuzz/messages.h"
#include "host/publication.h"

using namespace vantoscope;

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

void RequireUnderstood(std::string_view leaf, std::span<const std::byte> payload) {
  const std::string_view text = AsText(payload);
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
  ForEachMessage({data, size}, [&](const Message& message) {
    const std::uint8_t kind = message.kind;
    host.OnMessage(message.Leaf(), message.payload, message.IsRetained(), now);
    now += std::chrono::milliseconds(4 * kind);
    clock += 4000 * kind;
    if (kind % 16 == 15) host.OnLost();
    if (kind % 16 == 14) host.OnConnected(now);
    if (kind % 16 == 13) host.SetChannels({{1, "A", "V", 0, static_cast<double>(kind)}});
    host.OnTime(now);
    if (host.Publishing()) host.SendScans({clock, 1, {std::vector<double>{1}}});
  });
  host.Close();
  return 0;
}
