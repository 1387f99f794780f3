#include "sources/mqtt/mqtt_wire.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>

#include "text/characters.h"

namespace vantoscope {
namespace {

using nlohmann::json;

constexpr std::uint32_t kMagic = 0x02585654;  // "TVX" 2
constexpr std::size_t kScanHeaderBytes = 40;
constexpr std::size_t kMaxInfoBytes = 1 << 20;
constexpr std::size_t kMaxText = 256;
constexpr double kMaxRate = 1e9;
constexpr std::int64_t kMaxMicroseconds = std::int64_t{1} << 58U;

template <typename T>
void Put(std::byte* to, T value) {
  auto bits = static_cast<std::make_unsigned_t<T>>(value);
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    to[i] = static_cast<std::byte>(static_cast<std::uint64_t>(bits) >> (8 * i));
  }
}

template <typename T>
T Take(const std::byte* from) {
  std::uint64_t bits = 0;
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    bits |= std::to_integer<std::uint64_t>(from[i]) << (8 * i);
  }
  return static_cast<T>(bits);
}

std::string Hex(std::uint64_t value) {
  char digits[16];
  const auto end = std::to_chars(digits, digits + sizeof digits, value, 16).ptr;
  const auto length = static_cast<std::size_t>(end - digits);
  return std::string(sizeof digits - length, '0').append(digits, length);
}

std::optional<std::uint64_t> FromHex(std::string_view text) {
  std::uint64_t value = 0;
  const char* end = text.data() + text.size();
  const auto [ptr, error] = std::from_chars(text.data(), end, value, 16);
  if (text.size() != 16 || error != std::errc() || ptr != end) return std::nullopt;
  return value;
}

bool InRange(const HostTimes& times) {
  return times.taken_us.value_or(times.sent_us) >= -kMaxMicroseconds &&
         times.taken_us.value_or(times.sent_us) <= times.sent_us &&
         times.sent_us <= kMaxMicroseconds;
}

std::vector<std::string_view> Words(std::string_view text) {
  std::vector<std::string_view> words;
  for (std::size_t end = 0; end != std::string_view::npos;) {
    end = text.find(' ');
    words.push_back(text.substr(0, end));
    text.remove_prefix(std::min(text.size(), words.back().size() + 1));
  }
  return words;
}

std::optional<std::int64_t> Whole(std::string_view text) {
  std::int64_t number = 0;
  const char* end = text.data() + text.size();
  const auto [ptr, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || ptr != end) return std::nullopt;
  return number;
}

std::optional<double> Number(const json& object, const char* key) {
  const auto it = object.find(key);
  if (it == object.end() || !it->is_number()) return std::nullopt;
  const auto value = it->get<double>();
  return std::isfinite(value) ? std::optional(value) : std::nullopt;
}

std::optional<std::string> Text(const json& object, const char* key) {
  const auto it = object.find(key);
  if (it == object.end() || !it->is_string()) return std::nullopt;
  auto value = it->get<std::string>();
  if (value.size() > kMaxText || std::ranges::any_of(value, IsControl)) return std::nullopt;
  return value;
}

std::optional<ChannelInfo> Channel(const json& entry) {
  const auto number = Number(entry, "number");
  const auto name = Text(entry, "name");
  const auto unit = Text(entry, "unit");
  const auto low = Number(entry, "low");
  const auto high = Number(entry, "high");
  const auto factor = Number(entry, "factor");
  const auto offset = Number(entry, "offset");
  using Int16 = std::numeric_limits<std::int16_t>;
  if (!number || !name || !unit || !low || !high || !factor || !offset ||
      *number != std::nearbyint(*number) || *number < Int16::min() || *number > Int16::max()) {
    return std::nullopt;
  }
  return ChannelInfo{.number = static_cast<std::int16_t>(*number),
                     .name = *name,
                     .unit = *unit,
                     .low = *low,
                     .high = *high,
                     .factor = *factor,
                     .offset = *offset};
}

}  // namespace

std::vector<std::int16_t> ScanBlock::Words() const {
  std::vector<std::int16_t> result(scans * channels);
  for (std::size_t i = 0; i < result.size(); ++i) {
    result[i] = Take<std::int16_t>(words.data() + 2 * i);
  }
  return result;
}

std::string EncodeInfo(const HostInfo& info) {
  json channels = json::array();
  for (const ChannelInfo& channel : info.channels) {
    channels.push_back({{"number", channel.number},
                        {"name", channel.name},
                        {"unit", channel.unit},
                        {"low", channel.low},
                        {"high", channel.high},
                        {"factor", channel.factor},
                        {"offset", channel.offset}});
  }
  const json text = {{"format", 2},
                     {"epoch", Hex(info.epoch)},
                     {"device", info.device},
                     {"rate", info.rate},
                     {"channels", std::move(channels)}};
  // Text that is no UTF-8 (a name from a file) must not stop a host.
  return text.dump(-1, ' ', false, json::error_handler_t::replace);
}

std::optional<HostInfo> DecodeInfo(std::string_view text, std::string& why) {
  const auto refuse = [&why](const char* sentence) {
    why = sentence;
    return std::optional<HostInfo>();
  };
  if (text.size() > kMaxInfoBytes) return refuse("it is longer than 1 MiB");
  // What lies deeper than the fields of a channel is dropped as it is read.
  const auto in_reach = [](int depth, json::parse_event_t, json&) { return depth <= 3; };
  const json root = json::parse(text, in_reach, false);
  if (root.is_discarded() || !root.is_object()) return refuse("it is no JSON object");
  const auto format = Number(root, "format");
  if (!format) return refuse("it names no format");
  if (*format != 2) return refuse("its format is not 2");
  const auto epoch_text = Text(root, "epoch");
  const auto epoch = epoch_text ? FromHex(*epoch_text) : std::nullopt;
  if (!epoch) return refuse("its epoch is not 16 hexadecimal digits");
  const auto device = Text(root, "device");
  if (!device) return refuse("its device is no text");
  const auto rate = Number(root, "rate");
  if (!rate || *rate <= 0 || *rate > kMaxRate) return refuse("its rate is out of range");
  const auto list = root.find("channels");
  if (list == root.end() || !list->is_array() || list->empty() || list->size() > kMaxWireChannels) {
    return refuse("it has no list of 1 to 1024 channels");
  }
  HostInfo info{.epoch = *epoch, .device = *device, .rate = *rate, .channels = {}};
  for (const json& entry : *list) {
    auto channel = Channel(entry);
    if (!channel) return refuse("one of its channels is incomplete or out of range");
    info.channels.push_back(std::move(*channel));
  }
  return info;
}

std::string EncodeState(const HostState& state) {
  std::string text = (state.open ? "open " : "closed ") + Hex(state.epoch);
  if (state.times) {
    text += ' ' + std::to_string(state.times->sent_us);
    if (state.times->taken_us) text += ' ' + std::to_string(*state.times->taken_us);
  }
  return text;
}

std::optional<HostState> DecodeState(std::string_view text) {
  if (text.size() > kMaxText) return std::nullopt;
  const auto words = Words(text);
  if (words.size() < 2 || words.size() > 4) return std::nullopt;
  const bool open = words[0] == "open";
  const auto epoch = FromHex(words[1]);
  if (!epoch || (!open && words[0] != "closed")) return std::nullopt;
  HostState state{.open = open, .epoch = *epoch, .times = {}};
  if (words.size() == 2) return state;
  const auto sent = Whole(words[2]);
  const auto taken = Whole(words.back());
  if (!open || !sent || !taken) return std::nullopt;
  state.times = HostTimes{.sent_us = *sent, .taken_us = {}};
  if (words.size() == 4) state.times->taken_us = taken;
  return InRange(*state.times) ? std::optional(state) : std::nullopt;
}

std::vector<std::byte> EncodeScans(const RawScans& scans, std::size_t channels, std::uint64_t epoch,
                                   const HostTimes& times) {
  std::vector<std::byte> payload(kScanHeaderBytes + 2 * scans.words.size());
  std::byte* to = payload.data();
  Put(to, kMagic);
  Put(to + 4, static_cast<std::uint16_t>(channels));
  Put(to + 6, static_cast<std::uint16_t>(scans.scans));
  Put(to + 8, epoch);
  Put(to + 16, scans.first);
  Put(to + 24, times.sent_us);
  Put(to + 32, times.taken_us.value_or(times.sent_us));
  for (std::size_t i = 0; i < scans.words.size(); ++i) {
    Put(to + kScanHeaderBytes + 2 * i, scans.words[i]);
  }
  return payload;
}

std::optional<ScanBlock> DecodeScans(std::span<const std::byte> payload) {
  if (payload.size() < kScanHeaderBytes) return std::nullopt;
  const std::byte* from = payload.data();
  if (Take<std::uint32_t>(from) != kMagic) return std::nullopt;
  ScanBlock block{.epoch = Take<std::uint64_t>(from + 8),
                  .first = Take<std::int64_t>(from + 16),
                  .times = {.sent_us = Take<std::int64_t>(from + 24),
                            .taken_us = Take<std::int64_t>(from + 32)},
                  .scans = Take<std::uint16_t>(from + 6),
                  .channels = Take<std::uint16_t>(from + 4),
                  .words = payload.subspan(kScanHeaderBytes)};
  // An index far from overflow, so that nobody behind has to think of it.
  constexpr std::int64_t kMaxIndex = std::numeric_limits<std::int64_t>::max() / 4;
  if (block.scans == 0 || block.channels == 0 || block.channels > kMaxWireChannels ||
      block.first < 0 || block.first > kMaxIndex || !InRange(block.times) ||
      block.words.size() != 2 * block.scans * block.channels) {
    return std::nullopt;
  }
  return block;
}

}  // namespace vantoscope
