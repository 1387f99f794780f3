#include "host/sigrok_device.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

#include "host/sigrok_words.h"
#include "sources/channel_words.h"
#include "sources/freshness.h"

namespace vantoscope {
namespace {

using std::chrono::steady_clock;

constexpr double kUsualHoldRate = 10;
constexpr std::chrono::seconds kFirstValues{4};

/// As the library writes it, often with a blank before it.
std::string UnitOf(const sr_datafeed_analog& analog) {
  char* unit = nullptr;
  if (sr_analog_unit_to_string(&analog, &unit) != SR_OK) return {};
  std::string text = GlibText(unit).get();
  return text.erase(0, text.find_first_not_of(' '));
}

Range RangeOfDigits(const sr_analog_encoding& encoding) {
  const double digit = std::pow(encoding.is_digits_decimal ? 10.0 : 2.0, -encoding.digits);
  return {.low = -32767 * digit, .high = 32767 * digit};
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
  std::vector<float> values(width * analog.num_samples);
  if (values.empty() || sr_analog_to_float(&analog, values.data()) != SR_OK) return;
  std::size_t column = 0;
  for (const GSList* at = analog.meaning->channels; at != nullptr; at = at->next, ++column) {
    const auto found = std::ranges::find(analog_, at->data);
    if (found == analog_.end()) continue;
    const auto place = static_cast<std::size_t>(found - analog_.begin());
    if (!scans_.Seen(place)) Calibrate(place, analog);
    scans_.Take(place, AnalogValues(values, width, column), steady_clock::now());
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
  ended_ = true;
  changed_.notify_all();
}

/// Unit and range of an analog channel, once its first values have told the unit and the
/// resolution.
void SigrokDevice::Calibrate(std::size_t place, const sr_datafeed_analog& analog) {
  std::optional<Range> range = settings_.range;
  if (!range) range = instrument_.RangeOf(*analog_[place]);
  if (!range) range = RangeOfDigits(*analog.encoding);
  signals_[place].low = range->low;
  signals_[place].high = range->high;
  signals_[place].unit = UnitOf(analog);
}

void SigrokDevice::WaitForFirstValues() {
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, kFirstValues, [this] { return ended_ || scans_.AllSeen(); });
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
    throw SourceError("The instrument " + settings_.driver + " gives no values.");
  }
  for (const std::size_t place : list) channels_.push_back(signals_[place]);
  scans_.Begin(std::move(list), channels_, steady_clock::now());
}

double SigrokDevice::LatestValue(std::int16_t channel) {
  const auto block = GetData(1, kEngineeringUnits);
  if (!block) throw SourceError("The instrument gives no value.");
  return (*block)(static_cast<std::size_t>(channel), 0);
}

std::optional<Block> SigrokDevice::GetData(std::int16_t count, std::int32_t mode) {
  const std::scoped_lock lock(mutex_);
  return scans_.Scans(steady_clock::now()).Newest(static_cast<std::size_t>(count), mode, channels_);
}

Scans SigrokDevice::ScansSince(std::int64_t next, std::size_t limit) {
  const std::scoped_lock lock(mutex_);
  return scans_.Scans(steady_clock::now()).Since(next, limit);
}

Freshness SigrokDevice::DataFreshness() {
  const std::scoped_lock lock(mutex_);
  return FreshnessOf(scans_.Age(steady_clock::now()), FreshnessLimit(rate_),
                     ended_ ? "the instrument has ended" : "the instrument is silent");
}

std::optional<std::string> SigrokDevice::HostGone() {
  const std::scoped_lock lock(mutex_);
  if (!ended_) return std::nullopt;
  return "The instrument " + settings_.driver + " has ended.";
}

}  // namespace vantoscope
