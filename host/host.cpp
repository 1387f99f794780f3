// SPDX-License-Identifier: GPL-3.0-or-later
#include "host/host.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <ctime>
#include <optional>
#include <random>
#include <utility>
#include <variant>

namespace vantoscope {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// A host that falls silent on the network is declared gone by its broker after 1.5 times this.
constexpr std::chrono::seconds kKeepAlive{20};
constexpr milliseconds kFarewell{500};
constexpr std::size_t kBlockWords = 1 << 16;
// What a gigabit network takes.
constexpr double kMostBytesPerSecond = 100e6;
constexpr milliseconds kTurn = kSignOfLife / 4;
// Between two looks whether the broker takes more of what waits.
constexpr milliseconds kSendOn{10};
// Messages that the library has and has not sent; the rest waits where it can be dropped.
constexpr std::size_t kMostInLibrary = 16;

std::uint64_t DrawEpoch() {
  std::random_device random;
  return (static_cast<std::uint64_t>(random()) << 32U) | random();
}

/// By a clock that nobody sets and that goes on while the machine sleeps.
std::int64_t Microseconds() {
  timespec now{};
  clock_gettime(CLOCK_BOOTTIME, &now);
  return std::int64_t{1'000'000} * now.tv_sec + now.tv_nsec / 1000;
}

void CheckRate(const Device& device) {
  const auto bytes = static_cast<double>(BytesOfScan(device.Channels()));
  if (bytes * device.SampleRate() <= kMostBytesPerSecond) return;
  throw SourceError("The device " + device.Name() + " gives " +
                    std::to_string(std::llround(bytes * device.SampleRate() / 1e6)) +
                    " MB a second, more than the " +
                    std::to_string(std::llround(kMostBytesPerSecond / 1e6)) +
                    " that a network takes; choose a lower rate or fewer channels.");
}

/// A device need not hold more scans than fit into one message.
milliseconds Shortened(milliseconds interval, double rate) {
  const double most = 1000 * static_cast<double>(kMaxWireScans) / 4 / rate;
  return most < static_cast<double>(interval.count())
             ? milliseconds(std::max(std::lround(most), 1L))
             : interval;
}

}  // namespace

Host::Host(Device& device, const MqttAddress& address, std::function<void(const std::string&)> say)
    : device_(device),
      address_(address),
      say_(std::move(say)),
      scans_(device, say_, steady_clock::now()),
      outbox_(
          [this] { return link_.Outstanding() < kMostInLibrary; },
          [this](std::string_view leaf, std::span<const std::byte> payload, int qos) {
            link_.Publish(Topic(leaf), payload, qos, true);
          },
          [this](const std::string& line) { say_("the " + address_.BrokerText() + ' ' + line); }),
      publication_(
          {.epoch = DrawEpoch(),
           .device = device.Name(),
           .rate = device.SampleRate(),
           .channels = device.Channels()},
          [this](std::string_view leaf, std::span<const std::byte> payload, int qos) {
            outbox_.Put(leaf, payload, qos);
          },
          [this](const std::string& line) { say_(address_.root + ": " + line); },
          [this] { return Times(); }),
      link_(address, kKeepAlive,
            MqttWill{Topic("state"), EncodeState({false, publication_.Info().epoch, {}})},
            {.connected = [this] { events_.Put(LinkConnected{}); },
             .lost = [this](const std::string& why, bool) { events_.Put(LinkLost{why}); },
             .message = [this](const std::string& topic, std::span<const std::byte> payload,
                               bool retained) { OnMessage(topic, payload, retained); }}) {
  CheckRate(device);
}

int Host::Run(milliseconds interval, EndWatch& end) {
  interval = Shortened(interval, device_.SampleRate());
  link_.Connect();
  device_.Start();
  std::optional<int> code;
  while (!code) {
    try {
      code = Turn(interval);
    } catch (const SourceError& error) {
      say_(error.what());
      code = 1;
    }
    if (code) break;
    const auto now = steady_clock::now();
    // Signs of life wait for no block.
    end.WaitUntil(std::min(next_block_, now + (outbox_.Empty() ? kTurn : kSendOn)));
    if (const int signal = end.Signal()) {
      say_(std::string("ending on SIG") + sigabbrev_np(signal));
      code = 0;
    }
  }
  return End(*code, end);
}

/// Everything that is due, and at most one block; the exit code when it is over.
std::optional<int> Host::Turn(milliseconds interval) {
  HandleEvents();
  const auto now = steady_clock::now();
  publication_.OnTime(now);
  if (publication_.Over()) return 1;
  outbox_.SendOn();
  TellManager();
  if (now < next_block_) return std::nullopt;
  // Asked before the last scans are taken.
  const std::optional<std::string> ended = device_.HostGone();
  if (PublishNew()) return std::nullopt;
  if (ended) {
    say_(*ended);
    return 0;
  }
  // Late after a pause of the machine: go on from now instead of catching up tick by tick.
  next_block_ = std::max(next_block_ + interval, now);
  return std::nullopt;
}

int Host::End(int code, EndWatch& end) {
  end.EndWith(code);
  manager_.Stopping();
  outbox_.Open();
  publication_.Close();
  link_.Flush(kFarewell);
  device_.Stop();
  return code;
}

void Host::TellManager() {
  manager_.Alive(steady_clock::now());
  const std::string status = publication_.Publishing()
                                 ? "publishing " + device_.Name() + " under " + address_.root
                                 : (connected_ ? "looking at " + address_.root
                                               : "trying to reach the " + address_.BrokerText());
  if (status == status_) return;
  status_ = status;
  publication_.Publishing() ? manager_.Ready(status) : manager_.Status(status);
}

std::string Host::Topic(std::string_view leaf) const {
  return address_.root + '/' + std::string(leaf);
}

void Host::OnMessage(const std::string& topic, std::span<const std::byte> payload, bool retained) {
  if (topic.size() <= address_.root.size()) return;
  events_.Put(LinkMessage{
      topic.substr(address_.root.size() + 1), {payload.begin(), payload.end()}, retained});
}

void Host::HandleEvents() {
  for (const LinkEvent& event : events_.Take()) {
    if (const auto* message = std::get_if<LinkMessage>(&event)) {
      publication_.OnMessage(message->leaf, message->payload, message->retained,
                             steady_clock::now());
    } else if (const auto* lost = std::get_if<LinkLost>(&event)) {
      OnLost(lost->why);
    } else {
      OnConnected();
    }
  }
  // Own scans would come back.
  if (listening_ && publication_.Publishing()) {
    link_.Unsubscribe(Topic("scan"));
    listening_ = false;
  }
}

void Host::OnConnected() {
  say_("connected to the " + address_.BrokerText());
  connected_ = true;
  last_loss_.clear();
  publication_.OnConnected(steady_clock::now());
  // The scan topic last: what is retained under the others tells whether it matters.
  for (const char* leaf : {"info", "state", "scan"}) link_.Subscribe(Topic(leaf), 1);
  listening_ = true;
}

void Host::OnLost(const std::string& why) {
  SayLost(why);
  outbox_.Drop();
  publication_.OnLost();
  listening_ = false;
}

/// Once for a loss, whatever the attempts after it meet; before the first connection, once for each
/// reason.
void Host::SayLost(const std::string& why) {
  if (connected_) {
    say_("lost the " + address_.BrokerText() + ": " + why + "; trying again");
  } else if (!lost_before_ && why != last_loss_) {
    say_("the " + address_.BrokerText() + " cannot be reached: " + why + "; trying again");
  }
  lost_before_ = lost_before_ || connected_;
  connected_ = false;
  last_loss_ = why;
}

/// True when there may be more.
bool Host::PublishNew() {
  const std::size_t limit =
      std::clamp<std::size_t>(kBlockWords / device_.Channels().size(), 1, kMaxWireScans);
  const Scans scans = scans_.Next(limit, steady_clock::now());
  // What the device gave may stand under other units than before.
  publication_.SetChannels(device_.Channels());
  if (scans.scans > 0 && publication_.Publishing()) publication_.SendScans(scans);
  return scans.scans == limit;
}

HostTimes Host::Times() {
  const std::int64_t now = Microseconds();
  HostTimes times{.sent_us = now, .taken_us = {}};
  if (const auto age = device_.DataFreshness().age) times.taken_us = now - std::llround(1e6 * *age);
  return times;
}

}  // namespace vantoscope
