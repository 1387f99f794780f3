// SPDX-License-Identifier: GPL-3.0-or-later
#include "host/sigrok_device.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <system_error>
#include <utility>

#include "host/sigrok_log.h"
#include "host/sigrok_values.h"
#include "sources/channel_words.h"
#include "sources/freshness.h"

namespace vantoscope {
namespace {

using std::chrono::steady_clock;

constexpr double kUsualHoldRate = 10;
constexpr std::chrono::seconds kFirstValues{4};

/// What the library says of a fault, behind a sentence without its full stop.
std::string WithComplaint(const std::string& sentence, const std::string& complaint) {
  return sentence + (complaint.empty() ? "." : ": " + complaint + ".");
}

/// An end that was asked for.
bool IsLimited(const SigrokSettings& settings) {
  return std::ranges::any_of(
      settings.instrument, [](const auto& setting) { return setting.first.starts_with("limit_"); });
}

bool IsPathOfNothing(const std::optional<std::string>& conn) {
  std::error_code ignored;
  return conn && conn->starts_with('/') && !std::filesystem::exists(*conn, ignored);
}

/// The analog channels, still without unit and range, and the logic ones behind them.
std::vector<ChannelInfo> SignalsOf(const SigrokInstrument& instrument) {
  std::vector<ChannelInfo> signals;
  for (const sr_channel* channel : instrument.AnalogChannels()) {
    signals.emplace_back().name = channel->name;
  }
  signals.resize(signals.size() + instrument.LogicBytes(), SpecialChannel(kDigitalInput));
  return signals;
}

}  // namespace

SigrokDevice::SigrokDevice(const std::string& text)
    : text_(text),
      settings_(ParseSigrokSettings(text)),
      instrument_(settings_),
      rate_(instrument_.SampleRate().value_or(settings_.rate.value_or(kUsualHoldRate))),
      analog_(instrument_.AnalogChannels()),
      signals_(SignalsOf(instrument_)),
      scans_(signals_.size(),
             instrument_.SampleRate() ? std::nullopt : std::optional<double>(rate_)),
      session_(instrument_,
               {.packet = [this](const sr_datafeed_packet& packet) { OnPacket(packet); },
                .ended = [this] { OnEnded(); }}) {
  WaitForFirstValues();
  ListChannels();
}

void SigrokDevice::OnPacket(const sr_datafeed_packet& packet) {
  const std::scoped_lock lock(mutex_);
  if (packet.type == SR_DF_ANALOG) {
    OnAnalog(*static_cast<const sr_datafeed_analog*>(packet.payload));
  } else if (packet.type == SR_DF_LOGIC) {
    OnLogic(*static_cast<const sr_datafeed_logic*>(packet.payload));
  }
  changed_.notify_all();
}

void SigrokDevice::OnAnalog(const sr_datafeed_analog& analog) {
  const std::size_t width = g_slist_length(analog.meaning->channels);
  const std::vector<double> values = AnalogValues(analog, !instrument_.SampleRate());
  if (values.empty()) return;
  const std::string unit = UnitOf(analog);
  std::size_t column = 0;
  for (const GSList* at = analog.meaning->channels; at != nullptr; at = at->next, ++column) {
    const auto found = std::ranges::find(analog_, at->data);
    if (found == analog_.end()) continue;
    const auto place = static_cast<std::size_t>(found - analog_.begin());
    const std::vector<double> own = Column(values, width, column);
    SetUnit(place, unit);
    Enclose(place, own);
    scans_.Take(place, own, steady_clock::now());
  }
}

void SigrokDevice::OnLogic(const sr_datafeed_logic& logic) {
  const std::span bytes(static_cast<const std::uint8_t*>(logic.data), logic.length);
  const std::size_t known = signals_.size() - analog_.size();
  for (std::size_t byte = 0; byte < std::min<std::size_t>(known, logic.unitsize); ++byte) {
    scans_.Take(analog_.size() + byte, LogicValues(bytes, logic.unitsize, byte),
                steady_clock::now());
  }
}

void SigrokDevice::OnEnded() {
  const std::scoped_lock lock(mutex_);
  End(TakeSigrokComplaint());
}

void SigrokDevice::End(const std::string& why) {
  if (ended_) return;
  ended_ = WithComplaint("The instrument " + settings_.driver + " has ended", why);
  end_ = steady_clock::now();
  changed_.notify_all();
}

/// The unit that an analog channel has from now on; its first one makes its first range, too.
void SigrokDevice::SetUnit(std::size_t place, const std::string& unit) {
  ChannelInfo& signal = signals_[place];
  if (scans_.Seen(place)) {
    if (unit == signal.unit) return;
    scans_.BeginAnew(steady_clock::now());
  }
  std::optional<Range> range = settings_.range;
  if (!range) range = instrument_.RangeOf(*analog_[place]);
  signal.unit = unit;
  signal.low = range.value_or(Range{}).low;
  signal.high = range.value_or(Range{}).high;
  list_changed_ = true;
}

void SigrokDevice::Enclose(std::size_t place, std::span<const double> values) {
  ChannelInfo& signal = signals_[place];
  const Range range{.low = signal.low, .high = signal.high};
  std::optional<Range> beyond;
  for (const double value : values) {
    if (!std::isfinite(value) || (value >= range.low && value <= range.high)) continue;
    beyond =
        Joined(beyond.value_or(Range{.low = value, .high = value}), {.low = value, .high = value});
  }
  if (!beyond) return;
  const Range wider = Joined(range, RoomAround(*beyond));
  signal.low = wider.low;
  signal.high = wider.high;
  list_changed_ = true;
}

void SigrokDevice::WaitForFirstValues() {
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, kFirstValues, [this] { return ended_.has_value() || scans_.AllSeen(); });
}

/// Lists what has given values: the logic ones between the first analog one and the last, which has
/// the highest number.
void SigrokDevice::ListChannels() {
  const std::scoped_lock lock(mutex_);
  std::vector<std::size_t> list;
  std::vector<std::size_t> logic;
  for (std::size_t place = 0; place < signals_.size(); ++place) {
    if (!scans_.Seen(place)) continue;
    (place < analog_.size() ? list : logic).push_back(place);
    if (place < analog_.size()) signals_[place].number = static_cast<std::int16_t>(list.size());
  }
  list.insert(list.size() > 1 ? list.end() - 1 : list.end(), logic.begin(), logic.end());
  if (list.empty()) {
    throw SourceError(WithComplaint("The instrument " + settings_.driver + " gives no values",
                                    TakeSigrokComplaint()));
  }
  for (const std::size_t place : list) channels_.push_back(signals_[place]);
  list_ = list;
  scans_.Begin(std::move(list), channels_, steady_clock::now());
}

double SigrokDevice::LatestValue(std::int16_t channel) {
  const auto block = GetData(1, kEngineeringUnits);
  if (!block) throw SourceError("The instrument gives no value.");
  return (*block)(static_cast<std::size_t>(channel), 0);
}

/// With the units and ranges under which they stand.
const ScanRing& SigrokDevice::UpToNow() {
  const ScanRing& scans = scans_.Scans(ended_ ? end_ : steady_clock::now());
  if (!std::exchange(list_changed_, false)) return scans;
  for (std::size_t channel = 0; channel < list_.size(); ++channel) {
    channels_[channel] = signals_[list_[channel]];
  }
  return scans;
}

std::optional<Block> SigrokDevice::GetData(std::int16_t count, std::int32_t mode) {
  const std::scoped_lock lock(mutex_);
  return UpToNow().Newest(static_cast<std::size_t>(count), mode, channels_);
}

Scans SigrokDevice::ScansSince(std::int64_t next, std::size_t limit) {
  const std::scoped_lock lock(mutex_);
  Scans scans = UpToNow().Since(next, limit);
  if (scans.scans == 0 && ended_ && !IsLimited(settings_)) throw SourceError(*ended_);
  return scans;
}

Freshness SigrokDevice::DataFreshness() {
  const std::scoped_lock lock(mutex_);
  return FreshnessOf(scans_.Age(steady_clock::now()), FreshnessLimit(rate_),
                     ended_ ? "the instrument has ended" : "the instrument is silent");
}

std::optional<std::string> SigrokDevice::HostGone() {
  const std::scoped_lock lock(mutex_);
  if (IsPathOfNothing(settings_.conn)) End(*settings_.conn + " is gone");
  return IsLimited(settings_) ? ended_ : std::nullopt;
}

}  // namespace vantoscope
