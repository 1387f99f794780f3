#include "host/host.h"

#include <algorithm>
#include <cmath>
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
constexpr milliseconds kFarewell{2'000};
constexpr std::size_t kBlockWords = 1 << 16;

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

/// 0 when the time has come, else the signal that asks for the end.
int SleepUntil(steady_clock::time_point time, const sigset_t& ends) {
  const auto left = std::max(time - steady_clock::now(), steady_clock::duration::zero());
  timespec wait{};
  wait.tv_sec = static_cast<time_t>(left / std::chrono::seconds(1));
  wait.tv_nsec = static_cast<long>((left % std::chrono::seconds(1)).count());
  return std::max(sigtimedwait(&ends, nullptr, &wait), 0);
}

}  // namespace

Host::Host(Device& device, const MqttAddress& address, std::function<void(const std::string&)> say)
    : device_(device),
      address_(address),
      say_(std::move(say)),
      scans_(device, say_, steady_clock::now()),
      publication_(
          {.epoch = DrawEpoch(),
           .device = device.Name(),
           .rate = device.SampleRate(),
           .channels = device.Channels()},
          [this](std::string_view leaf, std::span<const std::byte> payload, int qos) {
            link_.Publish(Topic(leaf), payload, qos, true);
          },
          [this](const std::string& line) { say_(address_.root + ": " + line); },
          [this] { return Times(); }),
      link_(address, kKeepAlive,
            MqttWill{Topic("state"), EncodeState({false, publication_.Info().epoch, {}})},
            {.connected = [this] { events_.Put(LinkConnected{}); },
             .lost = [this](const std::string& why, bool) { events_.Put(LinkLost{why}); },
             .message = [this](const std::string& topic, std::span<const std::byte> payload,
                               bool retained) { OnMessage(topic, payload, retained); }}) {}

int Host::Run(milliseconds interval, const sigset_t& ends) {
  link_.Connect();
  device_.Start();
  auto next = steady_clock::now();
  while (true) {
    HandleEvents();
    publication_.OnTime(steady_clock::now());
    if (publication_.Over()) break;
    if (steady_clock::now() >= next) {
      // Asked before the last scans are taken.
      const std::optional<std::string> ended = device_.HostGone();
      PublishNew();
      if (ended) {
        say_(*ended);
        break;
      }
      // Late after a pause of the machine: go on from now instead of catching up tick by tick.
      next = std::max(next + interval, steady_clock::now());
    }
    // Signs of life wait for no block.
    if (const int signal = SleepUntil(std::min(next, steady_clock::now() + kSignOfLife), ends)) {
      say_(std::string("ending on ") + (signal == SIGINT ? "SIGINT" : "SIGTERM or SIGHUP"));
      break;
    }
  }
  const int code = publication_.Over() ? 1 : 0;
  publication_.Close();
  link_.Flush(kFarewell);
  device_.Stop();
  return code;
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

void Host::PublishNew() {
  const std::size_t limit =
      std::clamp<std::size_t>(kBlockWords / device_.Channels().size(), 1, kMaxWireScans);
  Scans scans;
  do {
    scans = scans_.Next(limit, steady_clock::now());
    publication_.SetChannels(device_.Channels());
    if (scans.scans > 0 && publication_.Publishing()) {
      publication_.SendScans(scans);
    }
  } while (scans.scans == limit);
}

HostTimes Host::Times() {
  const std::int64_t now = Microseconds();
  HostTimes times{.sent_us = now, .taken_us = {}};
  if (const auto age = device_.DataFreshness().age) times.taken_us = now - std::llround(1e6 * *age);
  return times;
}

}  // namespace vantoscope
