// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/mqtt/mqtt_device.h"

#include <condition_variable>
#include <mutex>
#include <utility>

#include "sources/mqtt/mqtt_link.h"

namespace vantoscope {
namespace {

using std::chrono::steady_clock;

// A broker that is gone without a word is noticed within two of these.
constexpr std::chrono::seconds kKeepAlive{10};
// Between two looks while the host is waited for.
constexpr std::chrono::milliseconds kLook{100};

}  // namespace

/// The link and the feed, and the one lock between the link's thread and the meter's.
struct MqttDevice::Reader {
  explicit Reader(const MqttAddress& where)
      : address(where),
        feed(where.timeout),
        link(where, kKeepAlive, std::nullopt,
             {.connected = [this] { OnConnected(); },
              .lost = [this](const std::string& why, bool no_entry) { OnLost(why, no_entry); },
              .message = [this](const std::string& topic, std::span<const std::byte> payload,
                                bool retained) { OnMessage(topic, payload, retained); }}) {}

  void OnConnected() {
    bool scans = false;
    {
      const std::scoped_lock lock(mutex);
      reached = true;
      connected = true;
      fault.clear();
      feed.OnConnected(steady_clock::now());
      scans = started;
    }
    link.Subscribe(address.root + "/info", 1);
    link.Subscribe(address.root + "/state", 1);
    if (scans) link.Subscribe(address.root + "/scan", 0);
  }

  void OnLost(const std::string& why, bool broker_refused) {
    const std::scoped_lock lock(mutex);
    connected = false;
    fault = why;
    refused = broker_refused;
    feed.OnLost();
    changed.notify_all();
  }

  void OnMessage(const std::string& topic, std::span<const std::byte> payload, bool retained) {
    if (!topic.starts_with(address.root + '/')) return;
    const std::scoped_lock lock(mutex);
    feed.OnMessage(std::string_view(topic).substr(address.root.size() + 1), payload, retained,
                   steady_clock::now());
    if (!opened) changed.notify_all();
  }

  /// Throws SourceError with what is known of the reason.
  void WaitUntilReady(const Meanwhile& meanwhile) {
    std::unique_lock lock(mutex);
    // An attempt that failed tells more than waiting does; a host may still be on its way.
    const auto decided = [this] {
      return feed.Ready() || refused || (!fault.empty() && !address.patient);
    };
    const auto until = steady_clock::now() + address.wait;
    bool go_on = true;
    while (go_on && !changed.wait_for(lock, kLook, decided) && steady_clock::now() < until) {
      if (!meanwhile) continue;
      const std::string sentence = Missing();
      lock.unlock();
      go_on = meanwhile(sentence);
      lock.lock();
    }
    const bool ready = feed.Ready();
    const std::string sentence = Missing();
    if (ready) feed.FixChannels();
    opened = ready;
    lock.unlock();
    if (meanwhile) meanwhile("");
    if (!ready) throw SourceError(sentence);
  }

  /// Why there is no channel list of an open host. Only under the lock.
  [[nodiscard]] std::string Missing() const {
    const std::string broker = address.BrokerText();
    const std::string root = '"' + address.root + '"';
    if (refused) return "The " + broker + " refuses the connection: " + fault + ".";
    if (!fault.empty() || !reached) {
      return "The " + broker +
             " cannot be reached: " + (fault.empty() ? "no answer in time" : fault) + ".";
    }
    if (!feed.InfoFault().empty()) {
      return "The channel list under " + root + " at the " + broker +
             " is not understood: " + feed.InfoFault() + ".";
    }
    if (feed.Closed()) {
      return "The host that published under " + root + " at the " + broker + " has closed.";
    }
    return "No host publishes under " + root + " at the " + broker + ".";
  }

  const MqttAddress address;
  std::mutex mutex;  // guards what follows, but for the link
  std::condition_variable changed;
  bool reached = false;
  bool connected = false;
  bool refused = false;
  std::string fault;
  bool opened = false;
  bool started = false;
  MqttFeed feed;
  MqttLink link;  // last: its thread uses what stands above
};

MqttDevice::MqttDevice(int model, const MqttAddress& address, const Meanwhile& meanwhile)
    : name_(FullText(MqttDeviceText(model, address))), reader_(std::make_unique<Reader>(address)) {
  reader_->link.Connect();
  reader_->WaitUntilReady(meanwhile);
  const std::scoped_lock lock(reader_->mutex);
  channels_ = reader_->feed.Info()->channels;
  list_changes_ = reader_->feed.ListChanges();
  rate_ = reader_->feed.Info()->rate;
}

MqttDevice::~MqttDevice() = default;

void MqttDevice::Start() {
  {
    const std::scoped_lock lock(reader_->mutex);
    if (std::exchange(reader_->started, true) || !reader_->connected) return;
  }
  reader_->link.Subscribe(reader_->address.root + "/scan", 0);
}

void MqttDevice::Stop() {
  {
    const std::scoped_lock lock(reader_->mutex);
    if (!std::exchange(reader_->started, false)) return;
    reader_->feed.Clear();
  }
  reader_->link.Unsubscribe(reader_->address.root + "/scan");
}

double MqttDevice::LatestValue(std::int16_t channel) {
  const auto block = GetData(1, kEngineeringUnits);
  if (!block) {
    throw SourceError("No fresh value comes from the " + reader_->address.BrokerText() + ".");
  }
  return (*block)(static_cast<std::size_t>(channel), 0);
}

std::optional<Block> MqttDevice::GetData(std::int16_t count, std::int32_t mode) {
  const std::scoped_lock lock(reader_->mutex);
  if (!reader_->started) return std::nullopt;
  TakeList();
  return reader_->feed.GetData(static_cast<std::size_t>(count), mode, steady_clock::now());
}

Scans MqttDevice::ScansSince(std::int64_t next, std::size_t limit) {
  const std::scoped_lock lock(reader_->mutex);
  TakeList();
  return reader_->feed.Since(next, limit);
}

/// The list of the scans that are held. Only under the lock.
void MqttDevice::TakeList() {
  if (list_changes_ == reader_->feed.ListChanges()) return;
  list_changes_ = reader_->feed.ListChanges();
  channels_ = reader_->feed.Info()->channels;
}

Freshness MqttDevice::DataFreshness() {
  const std::scoped_lock lock(reader_->mutex);
  return reader_->feed.DataFreshness(steady_clock::now());
}

std::optional<std::string> MqttDevice::HostGone() {
  const std::scoped_lock lock(reader_->mutex);
  const auto what = reader_->feed.HostGone(steady_clock::now());
  if (!what) return std::nullopt;
  return "The host under \"" + reader_->address.root + "\" at the " +
         reader_->address.BrokerText() + ' ' + *what + '.';
}

MqttCounts MqttDevice::Counts() {
  const std::scoped_lock lock(reader_->mutex);
  return reader_->feed.Counts();
}

std::unique_ptr<Device> OpenMqttDevice(const DeviceText& device, const Meanwhile& meanwhile) {
  return std::make_unique<MqttDevice>(device.model, ParseMqttAddress(device), meanwhile);
}

}  // namespace vantoscope
