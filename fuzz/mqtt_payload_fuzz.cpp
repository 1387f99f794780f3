// SPDX-License-Identifier: GPL-3.0-or-later
// Payloads of a broker are never trusted. The input is a run of messages: a byte that says the
// topic and whether it is retained, two bytes of length, the payload. A valid info, state and block
// come first, so that every path behind them is in reach.
#include <cstdlib>

#include "fuzz/messages.h"
#include "sources/mqtt/mqtt_feed.h"

using namespace vantoscope;

namespace {

constexpr std::uint64_t kEpoch = 0x4141414141414141;

const Scans kScan{5, 1, {std::vector<std::int16_t>{1}, std::vector<double>{2}}};

std::span<const std::byte> Bytes(const std::string& text) { return std::as_bytes(std::span(text)); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const HostInfo info{
      kEpoch, 1, "DM64", 100, {{1, "A", "m", 0, 1, Encoding::kInt16}, {2, "B", "V"}}};
  MqttFeed::Time now{};
  MqttFeed feed(std::chrono::seconds(30));
  feed.OnConnected(now);
  if (size > 0 && data[0] % 2 == 0) {
    feed.OnMessage("info", Bytes(EncodeInfo(info)), true, now);
    feed.OnMessage("state", Bytes(EncodeState({true, kEpoch, HostTimes{2000, 1000}})), true, now);
    feed.OnMessage("scan", EncodeScans(kScan, kEpoch, 1, {3000, 2000}), false, now);
  }
  ForEachMessage({data, size}, [&](const Message& message) {
    const std::uint8_t kind = message.kind;
    now += std::chrono::milliseconds(kind);
    if (kind % 16 == 15) feed.OnLost();
    if (kind % 16 == 14) feed.OnConnected(now);
    feed.OnMessage(message.Leaf(), message.payload, message.IsRetained(), now);
    if (feed.Ready()) feed.FixChannels();
    // What a meter asks never fails and never gives a short block.
    for (const std::size_t count : {0U, 1U, 3U, 600U}) {
      const auto block = feed.GetData(count, kEngineeringUnits, now);
      if (block &&
          (block->Samples() != count || block->Channels() != feed.Info()->channels.size())) {
        std::abort();
      }
    }
    if (feed.Since(-1, 10).scans > 10) std::abort();
    static_cast<void>(feed.HostGone(now));
    if (const auto fresh = feed.DataFreshness(now); fresh.limit < 2 || fresh.age.value_or(0) < 0)
      std::abort();
  });
  return 0;
}
