// SPDX-License-Identifier: GPL-3.0-or-later
#include "host/sigrok_scan.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <span>
#include <system_error>
#include <utility>

#include "host/sigrok_log.h"

namespace vantoscope {
namespace {

sr_dev_driver* StartDriver(sr_context* context, const std::string& name) {
  for (sr_dev_driver** driver = sr_driver_list(context); *driver != nullptr; ++driver) {
    if (name != (*driver)->name) continue;
    CheckSigrok(sr_driver_init(context, *driver), "start the driver " + name);
    return *driver;
  }
  throw SourceError("libsigrok has no driver '" + name + "'.");
}

GlibVariant TextVariant(const std::string& text) {
  return GlibVariant(g_variant_ref_sink(g_variant_new_string(text.c_str())));
}

bool Takes(const sr_dev_driver* driver, std::uint32_t option) {
  GArray* const options = sr_driver_scan_options_list(driver);
  if (options == nullptr) return false;
  const std::span keys(reinterpret_cast<const std::uint32_t*>(options->data), options->len);
  const bool takes = std::ranges::find(keys, option) != keys.end();
  g_array_free(options, TRUE);
  return takes;
}

/// Why there is no instrument where the settings say, as far as anybody knows.
std::string WhyNone(const sr_dev_driver* driver, const SigrokSettings& settings) {
  const std::string complaint = TakeSigrokComplaint();
  if (!settings.conn) {
    const std::string place = "conn= names the place of an instrument that is not found by itself";
    if (Takes(driver, SR_CONF_CONN)) return complaint.empty() ? place : complaint + "; " + place;
  } else if (settings.conn->starts_with('/') && access(settings.conn->c_str(), R_OK | W_OK) != 0) {
    return *settings.conn + ": " + std::generic_category().message(errno);
  }
  return complaint.empty() ? "none answers" : complaint;
}

std::string TextOf(const char* text) { return text == nullptr ? "" : text; }

FoundInstrument Found(sr_dev_inst* instrument, const SigrokSettings& settings) {
  FoundInstrument found{.from = {},
                        .vendor = TextOf(sr_dev_inst_vendor_get(instrument)),
                        .model = TextOf(sr_dev_inst_model_get(instrument)),
                        .version = TextOf(sr_dev_inst_version_get(instrument)),
                        .serial = TextOf(sr_dev_inst_sernum_get(instrument)),
                        .analog = {},
                        .logic = {}};
  found.from = SigrokText(settings);
  for (const GSList* at = sr_dev_inst_channels_get(instrument); at != nullptr; at = at->next) {
    const auto* channel = static_cast<const sr_channel*>(at->data);
    if (!channel->enabled) continue;
    (channel->type == SR_CHANNEL_ANALOG ? found.analog : found.logic)
        .push_back(TextOf(channel->name));
  }
  return found;
}

}  // namespace

SigrokContext StartSigrok() {
  ListenToSigrok();
  sr_context* context = nullptr;
  CheckSigrok(sr_init(&context), "start");
  return SigrokContext(context);
}

std::vector<sr_dev_inst*> FindInstruments(sr_context* context, const SigrokSettings& settings) {
  sr_dev_driver* const driver = StartDriver(context, settings.driver);
  const GlibVariant conn = TextVariant(settings.conn.value_or(""));
  const GlibVariant serialcomm = TextVariant(settings.serialcomm.value_or(""));
  sr_config at_conn{SR_CONF_CONN, conn.get()};
  sr_config with_serialcomm{SR_CONF_SERIALCOMM, serialcomm.get()};
  GlibList where;
  if (settings.conn) where.reset(g_slist_append(where.release(), &at_conn));
  if (settings.serialcomm) where.reset(g_slist_append(where.release(), &with_serialcomm));
  const GlibList found(sr_driver_scan(driver, where.get()));
  std::vector<sr_dev_inst*> instruments;
  for (const GSList* at = found.get(); at != nullptr; at = at->next) {
    instruments.push_back(static_cast<sr_dev_inst*>(at->data));
  }
  if (!instruments.empty()) return instruments;
  throw SourceError("libsigrok finds no instrument with the driver " + settings.driver + ": " +
                    WhyNone(driver, settings) + ".");
}

std::vector<SigrokDriver> SigrokDrivers() {
  const SigrokContext context = StartSigrok();
  std::vector<SigrokDriver> drivers;
  for (sr_dev_driver** at = sr_driver_list(context.get()); *at != nullptr; ++at) {
    drivers.push_back({.name = TextOf((*at)->name),
                       .reads = TextOf((*at)->longname),
                       .takes_conn = Takes(*at, SR_CONF_CONN),
                       .takes_serialcomm = Takes(*at, SR_CONF_SERIALCOMM)});
  }
  std::ranges::sort(drivers, {}, &SigrokDriver::name);
  return drivers;
}

std::vector<FoundInstrument> ScanForInstruments(const std::string& text) {
  SigrokSettings settings = ParseSigrokSettings(text);
  const SigrokContext context = StartSigrok();
  const std::vector<sr_dev_inst*> instruments = FindInstruments(context.get(), settings);
  // The library's name of a place is not always one that it takes: what found one instrument stays.
  const bool as_asked = settings.conn && instruments.size() == 1;
  std::vector<FoundInstrument> found;
  for (sr_dev_inst* instrument : instruments) {
    const std::string place = TextOf(sr_dev_inst_connid_get(instrument));
    if (!as_asked && !place.empty()) settings.conn = place;
    found.push_back(Found(instrument, settings));
  }
  return found;
}

}  // namespace vantoscope
