// telvixd: acquires from one device and publishes its scans through an MQTT broker, for any number
// of meters on any number of machines.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <csignal>
#include <ctime>
#include <iostream>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <variant>
#include <vector>

#include "host/publication.h"
#include "host/sigrok_device.h"
#include "sources/mqtt/mqtt_address.h"
#include "sources/mqtt/mqtt_link.h"
#include "sources/open_device.h"

namespace vantoscope {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// A host that falls silent on the network is declared gone by its broker after 1.5 times this.
constexpr std::chrono::seconds kKeepAlive{20};
constexpr milliseconds kFarewell{2'000};
// A device without a scan for so long, or three scans' time, is asked whether it began again.
constexpr std::chrono::seconds kLookAgain{2};
constexpr std::size_t kBlockWords = 1 << 16;

struct Options {
  std::string from = std::string(kDefaultDevice);
  std::string to;
  int interval_ms = 40;
};

void Say(const std::string& line) { std::cerr << "telvixd: " << line << std::endl; }

std::uint64_t DrawEpoch() {
  std::random_device random;
  return (static_cast<std::uint64_t>(random()) << 32U) | random();
}

std::int64_t WallMicroseconds() {
  return std::chrono::duration_cast<std::chrono::microseconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

std::unique_ptr<Device> OpenAny(const std::string& text) {
  if (text.starts_with(kSigrokPrefix)) return std::make_unique<SigrokDevice>(text);
  return OpenDevice(text);
}

/// `--to` as an address: the same forms as a meter's device text, with or without mqtt://.
MqttAddress ParseTarget(const std::string& text) {
  const bool is_device_text = LooksLikeDeviceText(text) || text.starts_with("mqtt");
  return ParseMqttAddress(is_device_text ? ParseAnyDeviceText(text) : ParseRest("MQ", 64, text));
}

struct Connected {};
struct Lost {
  std::string why;
};
struct Message {
  std::string leaf;
  std::vector<std::byte> payload;
  bool retained = false;
};
using Event = std::variant<Connected, Lost, Message>;

/// Carries what the link's thread tells over to the main one.
class EventQueue {
 public:
  void Put(Event event) {
    const std::scoped_lock lock(mutex_);
    // Nobody sends a host so much; a flood of foreign messages must not take the memory.
    if (events_.size() < kMost) events_.push_back(std::move(event));
  }
  std::vector<Event> Take() {
    const std::scoped_lock lock(mutex_);
    return std::exchange(events_, {});
  }

 private:
  static constexpr std::size_t kMost = 10'000;
  std::mutex mutex_;
  std::vector<Event> events_;
};

class Host {
 public:
  Host(Device& device, const MqttAddress& address)
      : device_(device),
        address_(address),
        publication_(
            {.epoch = DrawEpoch(),
             .device = device.Name(),
             .rate = device.SampleRate(),
             .channels = device.Channels()},
            [this](std::string_view leaf, std::span<const std::byte> payload, int qos) {
              link_.Publish(Topic(leaf), payload, qos, true);
            },
            [this](const std::string& line) { Say(address_.root + ": " + line); }),
        link_(address, kKeepAlive,
              MqttWill{Topic("state"), EncodeState({false, publication_.Info().epoch})},
              {.connected = [this] { events_.Put(Connected{}); },
               .lost = [this](const std::string& why, bool) { events_.Put(Lost{why}); },
               .message = [this](const std::string& topic, std::span<const std::byte> payload,
                                 bool retained) { OnMessage(topic, payload, retained); }}) {}

  /// Publishes until the device ends, a signal comes or another host has the root; gives the exit
  /// code.
  int Run(milliseconds interval, const sigset_t& ends) {
    link_.Connect();
    device_.Start();
    int code = 0;
    auto next = steady_clock::now();
    while (true) {
      HandleEvents();
      publication_.OnTime(steady_clock::now());
      if (publication_.Over()) {
        code = 1;
        break;
      }
      PublishNew();
      if (device_.HostGone()) {
        PublishNew();
        Say("the device " + device_.Name() + " has ended");
        break;
      }
      // Late after a pause of the machine: go on from now instead of catching up tick by tick.
      next = std::max(next + interval, steady_clock::now());
      if (const int signal = SleepUntil(next, ends)) {
        Say(std::string("ending on ") + (signal == SIGINT ? "SIGINT" : "SIGTERM or SIGHUP"));
        break;
      }
    }
    publication_.Close();
    link_.Flush(kFarewell);
    device_.Stop();
    return code;
  }

 private:
  std::string Topic(std::string_view leaf) const { return address_.root + '/' + std::string(leaf); }

  void OnMessage(const std::string& topic, std::span<const std::byte> payload, bool retained) {
    if (topic.size() <= address_.root.size()) return;
    // Own scans come back only while looking; their many bytes need not pile up.
    events_.Put(Message{
        topic.substr(address_.root.size() + 1), {payload.begin(), payload.end()}, retained});
  }

  /// 0 when the time has come, else the signal that asks for the end.
  static int SleepUntil(steady_clock::time_point time, const sigset_t& ends) {
    const auto left = std::max(time - steady_clock::now(), steady_clock::duration::zero());
    timespec wait{};
    wait.tv_sec = static_cast<time_t>(left / std::chrono::seconds(1));
    wait.tv_nsec = static_cast<long>((left % std::chrono::seconds(1)).count());
    return std::max(sigtimedwait(&ends, nullptr, &wait), 0);
  }

  void HandleEvents() {
    for (const Event& event : events_.Take()) {
      const auto now = steady_clock::now();
      if (const auto* message = std::get_if<Message>(&event)) {
        publication_.OnMessage(message->leaf, message->payload, message->retained, now);
      } else if (const auto* lost = std::get_if<Lost>(&event)) {
        SayLost(lost->why);
        publication_.OnLost();
        listening_ = false;
      } else {
        Say("connected to the " + address_.BrokerText());
        connected_ = true;
        last_loss_.clear();
        publication_.OnConnected(now);
        // The scan topic last: what is retained under the others tells whether it matters.
        for (const char* leaf : {"info", "state", "scan"}) link_.Subscribe(Topic(leaf), 1);
        listening_ = true;
      }
    }
    if (listening_ && publication_.Publishing()) {
      link_.Unsubscribe(Topic("scan"));
      listening_ = false;
    }
  }

  /// Once for a loss, whatever the attempts after it meet; before the first connection, once for
  /// each reason.
  void SayLost(const std::string& why) {
    if (connected_) {
      Say("lost the " + address_.BrokerText() + ": " + why + "; trying again");
    } else if (!lost_before_ && why != last_loss_) {
      Say("the " + address_.BrokerText() + " cannot be reached: " + why + "; trying again");
    }
    lost_before_ = lost_before_ || connected_;
    connected_ = false;
    last_loss_ = why;
  }

  void PublishNew() {
    const std::size_t limit =
        std::clamp<std::size_t>(kBlockWords / device_.Channels().size(), 1, kMaxWireScans);
    const auto now = steady_clock::now();
    while (true) {
      RawScans scans = device_.ScansSince(next_scan_, limit);
      if (scans.scans == 0) break;
      next_scan_ = scans.first + static_cast<std::int64_t>(scans.scans);
      last_scan_ = now;
      scans.first += published_minus_own_;
      if (publication_.Publishing()) publication_.SendScans(scans, WallMicroseconds());
      if (scans.scans < limit) return;
    }
    const std::chrono::duration<double> three_scans(3 / device_.SampleRate());
    if (now - last_scan_ > std::max<std::chrono::duration<double>>(kLookAgain, three_scans)) {
      last_scan_ = now;
      LookAgain();
    }
  }

  /// A device that follows the clock goes back in its indices when the clock is set back. What is
  /// published rises all the same, with one index left out for the break.
  void LookAgain() {
    const RawScans newest = device_.ScansSince(-1, 1);
    if (newest.scans == 0 || newest.first + 1 >= next_scan_) return;
    Say("the device begins again at scan " + std::to_string(newest.first));
    published_minus_own_ += next_scan_ + 1 - newest.first;
    next_scan_ = newest.first;
  }

  Device& device_;
  const MqttAddress address_;
  EventQueue events_;
  bool connected_ = false;
  bool lost_before_ = false;
  std::string last_loss_;
  bool listening_ = false;
  std::int64_t next_scan_ = -1;
  std::int64_t published_minus_own_ = 0;
  steady_clock::time_point last_scan_ = steady_clock::now();
  Publication publication_;
  MqttLink link_;  // last: its thread uses what stands above
};

int Run(const Options& options) {
  const MqttAddress address = ParseTarget(options.to);
  // Before any thread begins, so that only the wait between two blocks takes them.
  sigset_t ends;
  sigemptyset(&ends);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&ends, signal);
  pthread_sigmask(SIG_BLOCK, &ends, nullptr);
  const std::unique_ptr<Device> device = OpenAny(options.from);
  Host host(*device, address);
  return host.Run(milliseconds(options.interval_ms), ends);
}

}  // namespace
}  // namespace vantoscope

int main(int argc, char** argv) {
  vantoscope::Options options;
  CLI::App app(
      "Acquires from one device and publishes its scans through an MQTT broker, so that meters on "
      "any machine can show them. Ends when the device ends or on SIGINT, SIGTERM or SIGHUP.",
      "telvixd");
  app.add_option("--from", options.from,
                 "Device to read:\n"
                 "sim or SM64:rate=1000,channels=12,seed=1   simulator (the default)\n"
                 "/data/run.csv, /data/x.wav?loop            recording\n"
                 "sigrok:DRIVER[:OPTION=VALUE...]            instrument of libsigrok;\n"
                 "                                           sigrok:demo needs no hardware\n"
                 "mqtt://host/root                           another host, handed on");
  app.add_option("--to", options.to,
                 "Broker and root topic, HOST[:PORT]/ROOT or /SOCKET!ROOT;\n"
                 "port 8883 or ?tls means TLS, ?cafile=PATH whom to trust")
      ->required();
  app.add_option("--interval", options.interval_ms, "Milliseconds between blocks (40)")
      ->check(CLI::Range(1, 10'000));
  app.set_version_flag("--version", "telvixd " VANTOSCOPE_VERSION);
  app.footer(
      "Environment:\n"
      "  VANTOSCOPE_MQTT_CREDENTIALS   file with the user name in its first line and the password\n"
      "                                in its second\n\n"
      "Example:\n"
      "  mosquitto -p 1883 &\n"
      "  telvixd --from sim --to localhost:1883/lab/bench1 &\n"
      "  vantoscope -dmqtt://localhost:1883/lab/bench1 -nBench -i-1");
  CLI11_PARSE(app, argc, argv);
  try {
    return vantoscope::Run(options);
  } catch (const std::exception& error) {
    vantoscope::Say(error.what());
    return 1;
  }
}
