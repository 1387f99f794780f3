// SPDX-License-Identifier: GPL-3.0-or-later
#include "host/sigrok_instrument.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

#include "host/sigrok_log.h"
#include "host/sigrok_scan.h"
#include "sources/device_text.h"

namespace vantoscope {
namespace {

constexpr double kUsualRate = 1000;
constexpr double kUsualDivisions = 8;

std::string Printed(GVariant* value) { return GlibText(g_variant_print(value, FALSE)).get(); }

/// The library takes every other word for "off".
bool IsSwitchWord(std::string_view word) {
  constexpr std::array<std::string_view, 9> kWords{"",   "true",  "yes", "on", "1",
                                                   "no", "false", "off", "0"};
  return std::ranges::find(kWords, word) != kWords.end();
}

/// A setting of the library as it wants it; null for a type that a text cannot give.
GVariant* SettingValue(int type, const std::string& value) {
  const std::optional<double> number = WholeNumber(value);
  std::uint64_t size = 0;
  switch (type) {
    case SR_T_UINT64:
      if (sr_parse_sizestring(value.c_str(), &size) != SR_OK) return nullptr;
      return g_variant_new_uint64(size);
    case SR_T_INT32:
      if (!number || std::abs(*number) >= 1e9) return nullptr;
      return g_variant_new_int32(static_cast<gint32>(std::lround(*number)));
    case SR_T_FLOAT:
      return number ? g_variant_new_double(*number) : nullptr;
    case SR_T_BOOL:
      return IsSwitchWord(value) ? g_variant_new_boolean(sr_parse_boolstring(value.c_str()))
                                 : nullptr;
    case SR_T_STRING:
      return g_variant_new_string(value.c_str());
    default:
      return nullptr;
  }
}

std::optional<double> AsDouble(GVariant* value) {
  if (g_variant_is_of_type(value, G_VARIANT_TYPE_DOUBLE)) return g_variant_get_double(value);
  if (g_variant_is_of_type(value, G_VARIANT_TYPE_INT32)) return g_variant_get_int32(value);
  if (g_variant_is_of_type(value, G_VARIANT_TYPE_UINT64)) {
    return static_cast<double>(g_variant_get_uint64(value));
  }
  if (!g_variant_is_of_type(value, G_VARIANT_TYPE("(tt)"))) return std::nullopt;
  guint64 p = 0;
  guint64 q = 0;
  g_variant_get(value, "(tt)", &p, &q);
  if (q == 0) return std::nullopt;
  return static_cast<double>(p) / static_cast<double>(q);
}

/// The group of that channel alone: an instrument may have groups of several, too.
const sr_channel_group* GroupOf(const sr_dev_inst* instrument, const sr_channel& channel) {
  for (const GSList* at = sr_dev_inst_channel_groups_get(instrument); at; at = at->next) {
    const auto* group = static_cast<const sr_channel_group*>(at->data);
    const GSList* members = group->channels;
    if (members != nullptr && members->data == &channel && members->next == nullptr) return group;
  }
  return nullptr;
}

}  // namespace

SigrokInstrument::SigrokInstrument(const SigrokSettings& settings) : context_(StartSigrok()) {
  Open(settings);
  for (const auto& [name, value] : settings.instrument) Set(name, value);
  const bool named = std::ranges::any_of(
      settings.instrument, [](const auto& setting) { return setting.first == "samplerate"; });
  if (!named || settings.rate) AskForRate(settings.rate);
  sample_rate_ = Config(nullptr, SR_CONF_SAMPLERATE);
  if (sample_rate_ == 0) sample_rate_.reset();
  if (sample_rate_ > kMaxSigrokRate) {
    throw SourceError("The instrument samples faster than a million scans per second.");
  }
}

void SigrokInstrument::Open(const SigrokSettings& settings) {
  sr_dev_inst* const instrument = FindInstruments(context_.get(), settings).front();
  CheckSigrok(sr_dev_open(instrument), "open the instrument");
  opened_.reset(instrument);
}

void SigrokInstrument::Set(const std::string& name, const std::string& value) {
  const std::string what = name + '=' + value;
  const sr_key_info* key = sr_key_info_name_get(SR_KEY_CONFIG, name.c_str());
  GVariant* const made = key == nullptr ? nullptr : SettingValue(key->datatype, value);
  if (made == nullptr) throw SourceError("libsigrok has no setting " + what + ".");
  const GlibVariant setting(g_variant_ref_sink(made));
  CheckSigrok(sr_config_set(Handle(), nullptr, key->key, setting.get()), "set " + what);
  const GlibVariant now = Read(nullptr, key->key);
  const bool known = now && g_variant_is_of_type(now.get(), g_variant_get_type(setting.get()));
  if (!known || g_variant_equal(now.get(), setting.get())) return;
  throw SourceError("The instrument does not take the setting " + what + "; it stays at " +
                    Printed(now.get()) + ".");
}

/// Not every instrument has a sample rate to set, and some have only certain ones: then theirs
/// counts, unless the user asked for another.
void SigrokInstrument::AskForRate(const std::optional<double>& wanted) {
  const auto whole = static_cast<guint64>(std::llround(wanted.value_or(kUsualRate)));
  const GlibVariant rate_wanted(g_variant_ref_sink(g_variant_new_uint64(whole)));
  if (sr_config_set(Handle(), nullptr, SR_CONF_SAMPLERATE, rate_wanted.get()) != SR_OK) {
    TakeSigrokComplaint();
  }
  const auto rate = Config(nullptr, SR_CONF_SAMPLERATE).value_or(0);
  if (!wanted || rate == 0 || rate == *wanted) return;
  throw SourceError("The instrument does not sample at rate=" + ShortestText(*wanted) +
                    "; it stays at " + std::to_string(std::llround(rate)) + " scans per second.");
}

/// Nothing for what it does not tell.
GlibVariant SigrokInstrument::Read(const sr_channel_group* group, uint32_t key) const {
  GVariant* value = nullptr;
  const sr_dev_driver* const driver = sr_dev_inst_driver_get(Handle());
  // That it has no such thing is an answer.
  if (sr_config_get(driver, Handle(), group, key, &value) != SR_OK) TakeSigrokComplaint();
  return GlibVariant(value);
}

std::optional<double> SigrokInstrument::Config(const sr_channel_group* group, uint32_t key) const {
  const GlibVariant value = Read(group, key);
  return value ? AsDouble(value.get()) : std::nullopt;
}

std::vector<const sr_channel*> SigrokInstrument::Enabled(int type) const {
  std::vector<const sr_channel*> channels;
  for (const GSList* at = sr_dev_inst_channels_get(Handle()); at != nullptr; at = at->next) {
    const auto* channel = static_cast<const sr_channel*>(at->data);
    if (channel->enabled && channel->type == type) channels.push_back(channel);
  }
  return channels;
}

std::vector<const sr_channel*> SigrokInstrument::AnalogChannels() const {
  return Enabled(SR_CHANNEL_ANALOG);
}

std::size_t SigrokInstrument::LogicBytes() const {
  int bits = 0;
  for (const sr_channel* channel : Enabled(SR_CHANNEL_LOGIC)) {
    bits = std::max(bits, channel->index + 1);
  }
  return (static_cast<std::size_t>(bits) + 7) / 8;
}

std::optional<Range> SigrokInstrument::RangeOf(const sr_channel& channel) const {
  const sr_channel_group* group = GroupOf(Handle(), channel);
  const auto per_division = Config(group, SR_CONF_VDIV);
  if (per_division && *per_division > 0) {
    const double half =
        *per_division * Config(group, SR_CONF_NUM_VDIV).value_or(kUsualDivisions) / 2;
    return Range{.low = -half, .high = half};
  }
  const auto amplitude = Config(group, SR_CONF_AMPLITUDE);
  if (!amplitude || *amplitude <= 0) return std::nullopt;
  const double offset = Config(group, SR_CONF_OFFSET).value_or(0);
  return Range{.low = offset - *amplitude, .high = offset + *amplitude};
}

}  // namespace vantoscope
