// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/mqtt/mqtt_wire.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <type_traits>

#include "text/characters.h"

namespace vantoscope {
namespace {

using nlohmann::json;

constexpr std::uint32_t kMagic = 0x02585654;  // "TVX" 2
constexpr std::size_t kScanHeaderBytes = 48;
constexpr std::size_t kMaxInfoBytes = 1 << 20;
constexpr std::size_t kMaxText = 256;
constexpr double kMaxRate = 1e9;
constexpr const char* kWordsText = "i16";
constexpr const char* kNumbersText = "f64";
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

/// Thrown within this file: what is wrong with a list, as the end of a sentence.
struct Misread {
  std::string why;
};

/// A text of the object; Misread, with `what` it is the text of, when it cannot be taken.
std::string Text(const json& object, const char* key, const std::string& what) {
  const auto it = object.find(key);
  if (it == object.end() || !it->is_string()) throw Misread{what + " is no text"};
  auto value = it->get<std::string>();
  if (value.size() > kMaxText) {
    throw Misread{what + " is longer than " + std::to_string(kMaxText) + " bytes"};
  }
  if (std::ranges::any_of(value, IsControl)) throw Misread{what + " holds a control character"};
  return value;
}

double Finite(const json& object, const char* key, const std::string& of) {
  const auto number = Number(object, key);
  if (!number) throw Misread{"the " + std::string(key) + of + " is no finite number"};
  return *number;
}

template <typename Whole>
Whole WholeIn(const json& object, const char* key, const std::string& of) {
  using Limits = std::numeric_limits<Whole>;
  const double number = Finite(object, key, of);
  if (number != std::nearbyint(number) || number < Limits::min() || number > Limits::max()) {
    throw Misread{"the " + std::string(key) + of + " is out of range"};
  }
  return static_cast<Whole>(number);
}

ChannelInfo Channel(const json& entry, std::size_t place) {
  const std::string of = " of channel " + std::to_string(place);
  ChannelInfo channel{.number = WholeIn<std::int16_t>(entry, "number", of),
                      .name = Text(entry, "name", "the name" + of),
                      .unit = Text(entry, "unit", "the unit" + of),
                      .low = Finite(entry, "low", of),
                      .high = Finite(entry, "high", of)};
  const std::string encoding = Text(entry, "encoding", "the encoding" + of);
  if (encoding == kWordsText) {
    channel.encoding = Encoding::kInt16;
    channel.factor = Finite(entry, "factor", of);
    channel.offset = Finite(entry, "offset", of);
  } else if (encoding != kNumbersText) {
    throw Misread{"the encoding" + of + " is not known"};
  }
  return channel;
}

json Entry(const ChannelInfo& channel) {
  const bool words = channel.encoding == Encoding::kInt16;
  json entry = {{"number", channel.number}, {"name", channel.name},
                {"unit", channel.unit},     {"low", channel.low},
                {"high", channel.high},     {"encoding", words ? kWordsText : kNumbersText}};
  if (words) {
    entry["factor"] = channel.factor;
    entry["offset"] = channel.offset;
  }
  return entry;
}

/// The integer of the same bits.
template <typename T>
auto BitsOf(T value) {
  if constexpr (std::is_floating_point_v<T>) {
    return std::bit_cast<std::uint64_t>(value);
  } else {
    return value;
  }
}

std::byte* PutSamples(std::byte* to, const Samples& samples) {
  return std::visit(
      [to](const auto& values) mutable {
        for (const auto value : values) {
          Put(to, BitsOf(value));
          to += sizeof value;
        }
        return to;
      },
      samples);
}

Samples TakeSamples(const std::byte* from, Encoding encoding, std::size_t count) {
  if (encoding == Encoding::kInt16) {
    std::vector<std::int16_t> words(count);
    for (std::size_t i = 0; i < count; ++i) words[i] = Take<std::int16_t>(from + 2 * i);
    return words;
  }
  std::vector<double> values(count);
  for (std::size_t i = 0; i < count; ++i) {
    values[i] = std::bit_cast<double>(Take<std::uint64_t>(from + 8 * i));
  }
  return values;
}

HostInfo InfoOf(std::string_view text) {
  if (text.size() > kMaxInfoBytes) throw Misread{"it is longer than 1 MiB"};
  // What lies deeper than the fields of a channel is dropped as it is read.
  const auto in_reach = [](int depth, json::parse_event_t, json&) { return depth <= 3; };
  const json root = json::parse(text, in_reach, false);
  if (root.is_discarded() || !root.is_object()) throw Misread{"it is no JSON object"};
  if (Finite(root, "format", "") != 2) throw Misread{"its format is not 2"};
  const auto epoch = FromHex(Text(root, "epoch", "its epoch"));
  if (!epoch) throw Misread{"its epoch is not 16 hexadecimal digits"};
  HostInfo info{.epoch = *epoch,
                .revision = WholeIn<std::uint32_t>(root, "revision", ""),
                .device = Text(root, "device", "its device text"),
                .rate = Finite(root, "rate", ""),
                .channels = {}};
  if (info.rate <= 0 || info.rate > kMaxRate) throw Misread{"its rate is out of range"};
  const auto list = root.find("channels");
  if (list == root.end() || !list->is_array() || list->empty() || list->size() > kMaxWireChannels) {
    throw Misread{"it has no list of 1 to 1024 channels"};
  }
  for (const json& entry : *list) {
    info.channels.push_back(Channel(entry, info.channels.size() + 1));
  }
  return info;
}

}  // namespace

std::string EncodeInfo(const HostInfo& info) {
  json channels = json::array();
  for (const ChannelInfo& channel : info.channels) channels.push_back(Entry(channel));
  const json text = {
      {"format", 2},           {"epoch", Hex(info.epoch)}, {"revision", info.revision},
      {"device", info.device}, {"rate", info.rate},        {"channels", std::move(channels)}};
  // Text that is no UTF-8 (a name from a file) must not stop a host.
  return text.dump(-1, ' ', false, json::error_handler_t::replace);
}

std::optional<HostInfo> DecodeInfo(std::string_view text, std::string& why) {
  try {
    return InfoOf(text);
  } catch (const Misread& misread) {
    why = misread.why;
    return std::nullopt;
  }
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

std::vector<std::byte> EncodeScans(const Scans& scans, std::uint64_t epoch, std::uint32_t revision,
                                   const HostTimes& times) {
  std::size_t bytes = kScanHeaderBytes;
  for (const Samples& samples : scans.channels) {
    bytes += std::visit([](const auto& values) { return std::as_bytes(std::span(values)).size(); },
                        samples);
  }
  std::vector<std::byte> payload(bytes);
  std::byte* to = payload.data();
  Put(to, kMagic);
  Put(to + 4, static_cast<std::uint16_t>(scans.channels.size()));
  Put(to + 6, static_cast<std::uint16_t>(scans.scans));
  Put(to + 8, epoch);
  Put(to + 16, scans.first);
  Put(to + 24, times.sent_us);
  Put(to + 32, times.taken_us.value_or(times.sent_us));
  Put(to + 40, revision);
  to += kScanHeaderBytes;
  for (const Samples& samples : scans.channels) to = PutSamples(to, samples);
  return payload;
}

std::optional<ScanBlock> DecodeScans(std::span<const std::byte> payload) {
  if (payload.size() < kScanHeaderBytes) return std::nullopt;
  const std::byte* from = payload.data();
  if (Take<std::uint32_t>(from) != kMagic) return std::nullopt;
  ScanBlock block{.epoch = Take<std::uint64_t>(from + 8),
                  .revision = Take<std::uint32_t>(from + 40),
                  .first = Take<std::int64_t>(from + 16),
                  .times = {.sent_us = Take<std::int64_t>(from + 24),
                            .taken_us = Take<std::int64_t>(from + 32)},
                  .scans = Take<std::uint16_t>(from + 6),
                  .channels = Take<std::uint16_t>(from + 4),
                  .samples = payload.subspan(kScanHeaderBytes)};
  // An index far from overflow, so that nobody behind has to think of it.
  constexpr std::int64_t kMaxIndex = std::numeric_limits<std::int64_t>::max() / 4;
  if (block.scans == 0 || block.channels == 0 || block.channels > kMaxWireChannels ||
      block.first < 0 || block.first > kMaxIndex || !InRange(block.times)) {
    return std::nullopt;
  }
  return block;
}

std::optional<Scans> ScansOf(const ScanBlock& block, const std::vector<ChannelInfo>& channels) {
  const std::size_t bytes = block.scans * BytesOfScan(channels);
  if (block.channels != channels.size() || block.samples.size() != bytes) return std::nullopt;
  Scans scans{.first = block.first, .scans = block.scans, .channels = {}};
  const std::byte* from = block.samples.data();
  for (const ChannelInfo& channel : channels) {
    scans.channels.push_back(TakeSamples(from, channel.encoding, block.scans));
    from += block.scans * BytesOf(channel.encoding);
  }
  return scans;
}

}  // namespace vantoscope
