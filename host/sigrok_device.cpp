#include "host/sigrok_device.h"

#include <libsigrok/libsigrok.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <csignal>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

#include "sources/device_text.h"
#include "sources/mqtt/scan_ring.h"

namespace vantoscope {
namespace {

using std::chrono::steady_clock;

constexpr double kUsualRate = 1000;
constexpr double kUsualHoldRate = 10;
constexpr double kMaxRate = 1e6;
constexpr std::chrono::seconds kFirstValues{4};
constexpr std::chrono::seconds kHold{5};
constexpr std::size_t kRingScans = 1 << 16;
// Samples that wait for those of other channels; more means that one of them has fallen silent.
constexpr std::size_t kLongestQueue = 1 << 20;
constexpr double kWords = 32767;

struct Settings {
  std::string driver;
  std::optional<double> rate;
  std::optional<std::pair<double, double>> range;
  std::vector<std::pair<std::string, std::string>> library;  // options of libsigrok
};

Settings ParseSettings(std::string_view text) {
  Settings settings;
  text.remove_prefix(kSigrokPrefix.size());
  settings.driver = text.substr(0, text.find(':'));
  text.remove_prefix(std::min(text.size(), settings.driver.size() + 1));
  for (auto& [name, value] : ParseOptions(text, ':')) {
    if (name == "rate") {
      settings.rate = WholeNumber(value);
      if (!settings.rate || *settings.rate < 0.01 || *settings.rate > kMaxRate) {
        throw SourceError("The option rate=" + value + " is not a number from 0.01 to 1000000.");
      }
    } else if (name == "range") {
      const std::size_t dots = value.find("..");
      const auto low = WholeNumber(std::string_view(value).substr(0, dots));
      const auto high = dots == std::string::npos
                            ? std::nullopt
                            : WholeNumber(std::string_view(value).substr(dots + 2));
      if (!low || !high || *low >= *high) {
        throw SourceError("The option range=" + value + " is not of the form LOW..HIGH.");
      }
      settings.range = {*low, *high};
    } else {
      settings.library.emplace_back(std::move(name), std::move(value));
    }
  }
  return settings;
}

void Check(int rc, const std::string& what) {
  if (rc != SR_OK) throw SourceError("libsigrok cannot " + what + ": " + sr_strerror(rc) + ".");
}

/// A setting of the library as it wants it; null for a type that a text cannot give.
GVariant* SettingValue(const sr_key_info& key, const std::string& value) {
  switch (key.datatype) {
    case SR_T_UINT64: {
      uint64_t number = 0;
      if (sr_parse_sizestring(value.c_str(), &number) != SR_OK) return nullptr;
      return g_variant_new_uint64(number);
    }
    case SR_T_INT32: {
      const auto number = WholeNumber(value);
      return number && std::abs(*number) < 1e9
                 ? g_variant_new_int32(static_cast<gint32>(std::lround(*number)))
                 : nullptr;
    }
    case SR_T_FLOAT: {
      const auto number = WholeNumber(value);
      return number ? g_variant_new_double(*number) : nullptr;
    }
    case SR_T_BOOL:
      return g_variant_new_boolean(sr_parse_boolstring(value.c_str()));
    case SR_T_STRING:
      return g_variant_new_string(value.c_str());
    default:
      return nullptr;
  }
}

std::optional<double> AsDouble(GVariant* value) {
  std::optional<double> number;
  if (g_variant_is_of_type(value, G_VARIANT_TYPE_DOUBLE)) {
    number = g_variant_get_double(value);
  } else if (g_variant_is_of_type(value, G_VARIANT_TYPE_UINT64)) {
    number = static_cast<double>(g_variant_get_uint64(value));
  } else if (g_variant_is_of_type(value, G_VARIANT_TYPE_INT32)) {
    number = g_variant_get_int32(value);
  } else if (g_variant_is_of_type(value, G_VARIANT_TYPE("(tt)"))) {  // a rational
    guint64 p = 0;
    guint64 q = 1;
    g_variant_get(value, "(tt)", &p, &q);
    if (q != 0) number = static_cast<double>(p) / static_cast<double>(q);
  }
  return number;
}

/// One signal: an analog channel, or a group of eight logic channels.
struct Signal {
  sr_channel* channel = nullptr;  // null for a logic group
  std::size_t logic_byte = 0;
  ChannelInfo info;
  bool seen = false;
  std::deque<std::int16_t> queue;  // from the very first sample on: all channels in step
  std::int16_t held = 0;
};

}  // namespace

struct SigrokDevice::Instrument {
  explicit Instrument(const std::string& device_text)
      : text(device_text), settings(ParseSettings(device_text)) {
    try {
      Open();
      ListSignals();
      Begin();
      WaitForFirstValues();
    } catch (...) {
      End();
      throw;
    }
  }
  ~Instrument() { End(); }
  Instrument(const Instrument&) = delete;
  Instrument& operator=(const Instrument&) = delete;

  std::optional<double> Config(const sr_channel_group* group, uint32_t key) const {
    GVariant* value = nullptr;
    if (sr_config_get(sr_dev_inst_driver_get(device), device, group, key, &value) != SR_OK) {
      return std::nullopt;
    }
    const auto number = AsDouble(value);
    g_variant_unref(value);
    return number;
  }

  void Open() {
    sr_log_loglevel_set(SR_LOG_NONE);
    Check(sr_init(&context), "start");
    sr_dev_driver* driver = nullptr;
    for (sr_dev_driver** at = sr_driver_list(context); *at != nullptr; ++at) {
      if (settings.driver == (*at)->name) driver = *at;
    }
    if (driver == nullptr) {
      throw SourceError("libsigrok has no driver '" + settings.driver + "'.");
    }
    Check(sr_driver_init(context, driver), "start the driver " + settings.driver);
    GSList* scan_options = nullptr;
    std::vector<sr_config> where;
    where.reserve(2);
    for (const auto& [name, value] : settings.library) {
      if (name != "conn" && name != "serialcomm") continue;
      where.push_back({name == "conn" ? SR_CONF_CONN : SR_CONF_SERIALCOMM,
                       g_variant_ref_sink(g_variant_new_string(value.c_str()))});
      if (where.size() == 2) break;
    }
    for (sr_config& option : where) scan_options = g_slist_append(scan_options, &option);
    GSList* found = sr_driver_scan(driver, scan_options);
    g_slist_free(scan_options);
    for (const sr_config& option : where) g_variant_unref(option.data);
    if (found == nullptr) {
      throw SourceError("libsigrok finds no instrument with the driver " + settings.driver + ".");
    }
    device = static_cast<sr_dev_inst*>(found->data);
    g_slist_free(found);
    Check(sr_dev_open(device), "open the instrument");
    opened = true;
    Configure();
  }

  void Configure() {
    for (const auto& [name, value] : settings.library) {
      if (name == "conn" || name == "serialcomm") continue;
      std::string what = name;
      what.append("=").append(value);
      const sr_key_info* key = sr_key_info_name_get(SR_KEY_CONFIG, name.c_str());
      GVariant* setting = key == nullptr ? nullptr : SettingValue(*key, value);
      if (setting == nullptr) {
        throw SourceError("libsigrok has no setting " + what + ".");
      }
      Check(sr_config_set(device, nullptr, key->key, setting), "set " + what);
    }
    const auto wanted = static_cast<guint64>(std::llround(settings.rate.value_or(kUsualRate)));
    const bool named = std::ranges::any_of(
        settings.library, [](const auto& option) { return option.first == "samplerate"; });
    if (!named || settings.rate) {
      sr_config_set(device, nullptr, SR_CONF_SAMPLERATE, g_variant_new_uint64(wanted));
    }
    const auto actual = Config(nullptr, SR_CONF_SAMPLERATE);
    sampled = actual && *actual > 0;
    rate = sampled ? *actual : settings.rate.value_or(kUsualHoldRate);
    if (rate > kMaxRate) {
      throw SourceError("The instrument samples faster than a million scans per second.");
    }
  }

  void ListSignals() {
    std::size_t logic = 0;
    for (const GSList* at = sr_dev_inst_channels_get(device); at != nullptr; at = at->next) {
      auto* channel = static_cast<sr_channel*>(at->data);
      if (!channel->enabled) continue;
      if (channel->type == SR_CHANNEL_LOGIC) {
        logic = std::max(logic, static_cast<std::size_t>(channel->index) + 1);
      } else if (channel->type == SR_CHANNEL_ANALOG) {
        Signal signal;
        signal.channel = channel;
        signal.info.name = channel->name;
        signals.push_back(std::move(signal));
      }
    }
    for (std::size_t byte = 0; byte < (logic + 7) / 8; ++byte) {
      Signal signal;
      signal.logic_byte = byte;
      signal.info = {.number = -1, .name = "DigIn", .unit = {}, .low = -32768, .high = 32767};
      signals.push_back(std::move(signal));
    }
  }

  /// Range and factor of a channel, once its first values have told the unit and the resolution.
  void Calibrate(Signal& signal, const sr_datafeed_analog& analog) const {
    char* unit = nullptr;
    if (sr_analog_unit_to_string(&analog, &unit) == SR_OK) {
      const std::string_view whole = unit;
      const std::size_t first = whole.find_first_not_of(' ');
      if (first != whole.npos) signal.info.unit = whole.substr(first);
      g_free(unit);
    }
    if (settings.range) {
      SetRange(signal.info, settings.range->first, settings.range->second);
      return;
    }
    const sr_channel_group* group = GroupOf(signal.channel);
    const auto per_division = Config(group, SR_CONF_VDIV);
    const auto amplitude = Config(group, SR_CONF_AMPLITUDE);
    if (per_division && *per_division > 0) {
      const double half = *per_division * Config(group, SR_CONF_NUM_VDIV).value_or(8) / 2;
      SetRange(signal.info, -half, half);
    } else if (amplitude && *amplitude > 0) {
      const double offset = Config(group, SR_CONF_OFFSET).value_or(0);
      SetRange(signal.info, offset - *amplitude, offset + *amplitude);
    } else {
      const double digit = analog.encoding->is_digits_decimal
                               ? std::pow(10.0, -analog.encoding->digits)
                               : std::pow(2.0, -analog.encoding->digits);
      SetRange(signal.info, -kWords * digit, kWords * digit);
    }
  }

  static void SetRange(ChannelInfo& info, double low, double high) {
    info.low = low;
    info.high = high;
    info.factor = (high - low) / (2 * kWords);
    info.offset = (high + low) / 2;
  }

  const sr_channel_group* GroupOf(const sr_channel* channel) const {
    for (const GSList* at = sr_dev_inst_channel_groups_get(device); at; at = at->next) {
      const auto* group = static_cast<const sr_channel_group*>(at->data);
      // A group that has this one channel first: "Analog" groups of a demo hold all of them.
      if (group->channels != nullptr && group->channels->data == channel &&
          group->channels->next == nullptr) {
        return group;
      }
    }
    return nullptr;
  }

  void Begin() {
    reader = std::thread([this] {
      sigset_t all;
      sigfillset(&all);
      pthread_sigmask(SIG_BLOCK, &all, nullptr);
      GMainContext* loop = g_main_context_new();
      g_main_context_push_thread_default(loop);
      int rc = sr_session_new(context, &session);
      if (rc == SR_OK) rc = sr_session_dev_add(session, device);
      if (rc == SR_OK) rc = sr_session_datafeed_callback_add(session, OnPacket, this);
      if (rc == SR_OK) rc = sr_session_start(session);
      {
        const std::scoped_lock lock(mutex);
        running = rc == SR_OK;
        start_code = rc;
        begun = true;
        changed.notify_all();
      }
      if (rc == SR_OK) sr_session_run(session);
      {
        const std::scoped_lock lock(mutex);
        running = false;
        changed.notify_all();
      }
      g_main_context_pop_thread_default(loop);
      g_main_context_unref(loop);
    });
  }

  void WaitForFirstValues() {
    std::unique_lock lock(mutex);
    changed.wait_for(lock, kFirstValues, [this] {
      return begun && (!running || std::ranges::all_of(signals, &Signal::seen));
    });
    if (begun && start_code != SR_OK) Check(start_code, "start the instrument");
    std::erase_if(signals, [](const Signal& signal) { return !signal.seen; });
    if (signals.empty()) {
      throw SourceError("The instrument " + settings.driver + " gives no values.");
    }
    // The highest analog number first or last in the list.
    if (signals.size() > 2 && signals.back().channel == nullptr) {
      const auto last = std::ranges::find_if(signals.rbegin(), signals.rend(),
                                             [](const Signal& s) { return s.channel != nullptr; });
      if (last != signals.rend()) std::rotate(last.base() - 1, last.base(), signals.end());
    }
    std::int16_t number = 1;
    for (Signal& signal : signals) {
      if (signal.channel != nullptr) signal.info.number = number++;
      channels.push_back(signal.info);
    }
    ring.emplace(signals.size(), kRingScans);
    hold_begin = steady_clock::now();
  }

  void End() {
    if (reader.joinable()) {
      bool stop = false;
      {
        std::unique_lock lock(mutex);
        changed.wait(lock, [this] { return begun; });
        stop = running;
      }
      if (stop) sr_session_stop(session);
      reader.join();
    }
    if (session != nullptr) sr_session_destroy(session);
    if (opened) sr_dev_close(device);
    if (context != nullptr) sr_exit(context);
    session = nullptr;
    context = nullptr;
  }

  static void OnPacket(const sr_dev_inst*, const sr_datafeed_packet* packet, void* self) {
    auto* instrument = static_cast<Instrument*>(self);
    if (packet->type == SR_DF_ANALOG) {
      instrument->OnAnalog(*static_cast<const sr_datafeed_analog*>(packet->payload));
    } else if (packet->type == SR_DF_LOGIC) {
      instrument->OnLogic(*static_cast<const sr_datafeed_logic*>(packet->payload));
    }
  }

  void OnAnalog(const sr_datafeed_analog& analog) {
    const std::size_t width = g_slist_length(analog.meaning->channels);
    if (width == 0 || analog.num_samples == 0) return;
    std::vector<float> values(width * analog.num_samples);
    if (sr_analog_to_float(&analog, values.data()) != SR_OK) return;
    const std::scoped_lock lock(mutex);
    std::size_t column = 0;
    for (const GSList* at = analog.meaning->channels; at != nullptr; at = at->next, ++column) {
      const auto found = std::ranges::find_if(signals, [at](const Signal& signal) {
        return signal.channel != nullptr && signal.channel == at->data;
      });
      if (found == signals.end()) continue;
      if (!found->seen) Calibrate(*found, analog);
      for (std::size_t i = column; i < values.size(); i += width) {
        const double word =
            (static_cast<double>(values[i]) - found->info.offset) / found->info.factor;
        // A multimeter in overflow says infinity; a value that is no number counts as the lower
        // end.
        const double clipped = word >= -kWords ? std::min(word, kWords) : -kWords;
        Take(*found, static_cast<std::int16_t>(std::lround(clipped)));
      }
    }
    AfterPacket();
  }

  void OnLogic(const sr_datafeed_logic& logic) {
    if (logic.unitsize == 0) return;
    const auto* bytes = static_cast<const std::uint8_t*>(logic.data);
    const std::scoped_lock lock(mutex);
    for (Signal& signal : signals) {
      if (signal.channel != nullptr || signal.logic_byte >= logic.unitsize) continue;
      for (std::size_t at = signal.logic_byte; at < logic.length; at += logic.unitsize) {
        Take(signal, static_cast<std::int16_t>(static_cast<std::uint16_t>(bytes[at] << 8U)));
      }
    }
    AfterPacket();
  }

  void Take(Signal& signal, std::int16_t word) const {
    signal.seen = true;
    signal.held = word;
    if (sampled && signal.queue.size() < kLongestQueue) signal.queue.push_back(word);
  }

  /// Whole scans go from the queues into the ring.
  void AfterPacket() {
    last_packet = steady_clock::now();
    changed.notify_all();
    if (!sampled || !ring) return;
    std::size_t scans = kLongestQueue;
    for (const Signal& signal : signals) scans = std::min(scans, signal.queue.size());
    std::vector<std::int16_t> words(scans * signals.size());
    for (std::size_t s = 0; s < signals.size(); ++s) {
      auto& queue = signals[s].queue;
      for (std::size_t i = 0; i < scans; ++i) words[i * signals.size() + s] = queue[i];
      queue.erase(queue.begin(), queue.begin() + static_cast<std::ptrdiff_t>(scans));
    }
    ring->Append(ring->Next(), words);
  }

  /// For an instrument without a sample rate: scans up to now, as long as its value holds.
  void HoldUntil(steady_clock::time_point now) {
    if (sampled || now - last_packet > kHold) return;
    const double seconds = std::chrono::duration<double>(now - hold_begin).count();
    const auto next = static_cast<std::int64_t>(seconds * rate) + 1;
    const std::int64_t from = std::max(ring->Next(), next - static_cast<std::int64_t>(kRingScans));
    std::vector<std::int16_t> words;
    for (std::int64_t scan = from; scan < next; ++scan) {
      for (const Signal& signal : signals) words.push_back(signal.held);
    }
    ring->Append(from, words);
  }

  const std::string text;
  const Settings settings;
  sr_context* context = nullptr;
  sr_dev_inst* device = nullptr;
  sr_session* session = nullptr;
  bool opened = false;
  bool sampled = false;  // has a sample rate of its own
  double rate = 0;
  std::vector<ChannelInfo> channels;
  std::thread reader;

  std::mutex mutex;  // guards what follows
  std::condition_variable changed;
  bool begun = false;
  bool running = false;
  int start_code = SR_OK;
  std::vector<Signal> signals;
  std::optional<ScanRing> ring;
  steady_clock::time_point last_packet;
  steady_clock::time_point hold_begin;
};

SigrokDevice::SigrokDevice(const std::string& text)
    : instrument_(std::make_unique<Instrument>(text)) {}

SigrokDevice::~SigrokDevice() = default;

std::string SigrokDevice::Name() const { return instrument_->text; }

const std::vector<ChannelInfo>& SigrokDevice::Channels() const { return instrument_->channels; }

double SigrokDevice::SampleRate() const { return instrument_->rate; }

double SigrokDevice::LatestValue(std::int16_t channel) {
  const auto block = GetData(1, kEngineeringUnits);
  if (!block || channel < 0 || static_cast<std::size_t>(channel) >= block->Channels()) {
    throw SourceError("The instrument gives no value.");
  }
  return (*block)(static_cast<std::size_t>(channel), 0);
}

std::optional<Block> SigrokDevice::GetData(std::int16_t count, std::int32_t mode) {
  if (count < 0) throw SourceError("A block of fewer than 0 scans was asked for.");
  const std::scoped_lock lock(instrument_->mutex);
  instrument_->HoldUntil(steady_clock::now());
  return instrument_->ring->Newest(static_cast<std::size_t>(count), mode, instrument_->channels);
}

RawScans SigrokDevice::ScansSince(std::int64_t next, std::size_t limit) {
  const std::scoped_lock lock(instrument_->mutex);
  instrument_->HoldUntil(steady_clock::now());
  return instrument_->ring->Since(next, limit);
}

bool SigrokDevice::HostGone() {
  const std::scoped_lock lock(instrument_->mutex);
  return !instrument_->running;
}

}  // namespace vantoscope
