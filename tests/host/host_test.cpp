// SPDX-License-Identifier: GPL-3.0-or-later
// What the host needs beside its device and its broker: an address, the pauses until it answers,
// new scans, what waits, and an end.
#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>

#include "host/end_watch.h"
#include "host/outbox.h"
#include "host/rising_scans.h"
#include "sources/mqtt/mqtt_address.h"
#include "sources/mqtt/mqtt_wire.h"
#include "sources/mqtt/retry_pause.h"
#include "sources/open_device.h"
#include "sources/shared_library.h"
#include "tests/support/refusal.h"

namespace vantoscope {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

TEST(RisingScans, GoOnOneFurtherWhenTheClockIsSetBack) {
  std::int64_t seconds = 100;
  const auto device = OpenDevice("SM64:rate=10", [&] { return seconds * 1'000'000'000; });
  device->Start();
  std::string said;
  RisingScans::Time now{};
  RisingScans scans(
      *device, [&](const std::string& line) { said += line; }, now);
  const auto next = [&](std::size_t limit) {
    const Scans got = scans.Next(limit, now);
    return std::pair<std::int64_t, std::size_t>(got.scans == 0 ? 0 : got.first, got.scans);
  };
  EXPECT_EQ(next(50), std::pair(1000L, 1UL)) << "begins with the newest";
  seconds = 101;
  now += 3s;
  EXPECT_EQ(next(6), std::pair(1001L, 6UL));
  EXPECT_EQ(next(6), std::pair(1007L, 4UL));
  seconds = 50;
  for (const auto pause : {2'000ms, 1ms}) {
    EXPECT_EQ(said, "");
    now += pause;
    EXPECT_EQ(next(6).second, 0U);
  }
  EXPECT_EQ(std::exchange(said, ""), "the device begins again at scan 500");
  EXPECT_EQ(next(6), std::pair(1012L, 1UL)) << "1011 is left out";
  seconds = 51;
  EXPECT_EQ(next(50), std::pair(1013L, 10UL));
  now += 3s;
  EXPECT_EQ(next(6).second, 0U);
  EXPECT_EQ(said, "") << "it only stands still";
  seconds = 20;
  now += 3s;
  EXPECT_EQ(next(6).second, 0U);
  EXPECT_EQ(next(6), std::pair(1024L, 1UL)) << "back for the second time";
}

TEST(RetryPause, DoublesUpToFourSecondsLessUpToHalfOfItUntilAConnectionStands) {
  RetryPause pause;
  const std::pair<RetryPause::Milliseconds, RetryPause::Milliseconds> rows[] = {
      {0ms, 250ms},      {4'999ms, 500ms}, {1ms, 1000ms},    {0ms, 2000ms},
      {4'999ms, 4000ms}, {0ms, 4000ms},    {5'000ms, 250ms}, {0ms, 500ms}};
  for (const auto& [stood, at_most] : rows) {
    EXPECT_THAT(pause.After(stood), testing::AllOf(testing::Ge(at_most / 2), testing::Le(at_most)));
  }
}

TEST(MqttTarget, IsABrokerAndARootInAnyForm) {
  for (const char* text : {"pc01:9/a", "mqtt://pc01:9/a", "mq32:pc01:9/a"}) {
    EXPECT_EQ(ParseMqttTarget(text).Endpoint(), "pc01:9") << text;
  }
  const auto refusal = [](const std::string& text) {
    return test::Refusal([&] { ParseMqttTarget(text); });
  };
  for (const char* text : {"me:secret@h/a", "mqtt://me:secret@h", "me:sec/secret@h:1883/a",
                           "mqtt://me:se%63ret@h/a", "mqtt://me:secret%4@h/a", "MQ64:me@h/a#"}) {
    EXPECT_THAT(refusal(text), testing::Not(testing::AnyOf(HasSubstr("sec"), HasSubstr("me:"))))
        << text;
  }
  EXPECT_THAT(refusal("me@h/a"), HasSubstr("VANTOSCOPE_MQTT_CREDENTIALS"));
  EXPECT_THAT(refusal("h/a%0Ab"), testing::StartsWith("\"h/a\\nb\" names no network host: its root "
                                                      "has a control character;"));
  EXPECT_EQ(ParseMqttTarget("h/" + std::string(1024, 'r')).root.size(), 1024);
  EXPECT_THAT(refusal("h/" + std::string(1025, 'r')), HasSubstr("longer than 1024 bytes"));
  EXPECT_THAT(refusal('/' + std::string(107, 's') + "!r"), HasSubstr("socket is too long"));
}

/// A link that takes `room` messages, and what it got.
struct Link {
  std::size_t room = 0;
  std::vector<std::string> got;
  std::string said;
  Outbox outbox{[this] { return room > 0; },
                [this](std::string_view leaf, std::span<const std::byte> payload, int) {
                  if (room > 0) --room;
                  got.push_back(std::string(leaf) + std::to_string(payload.size() >> 20U));
                },
                [this](const std::string& line) { said += line + '\n'; }};
  void Put(std::string_view leaf, std::size_t scans) {
    const auto block = EncodeScans(
        {.first = 0, .scans = scans, .channels = {std::vector<std::int16_t>(scans)}}, 7, 1, {});
    outbox.Put(leaf, block, 0);
  }
};

TEST(Outbox, KeepsTheOrderAndDropsTheOldestScansBeyond64MiB) {
  Link link;
  link.room = 1;
  link.Put("a", 1);
  link.Put("b", 1);
  EXPECT_FALSE(link.outbox.Empty());
  link.room = 2;
  link.Put("c", 1);
  EXPECT_THAT(link.got, testing::ElementsAre("a0")) << "c waits behind b";
  link.outbox.SendOn();
  EXPECT_THAT(std::exchange(link.got, {}), testing::ElementsAre("a0", "b0", "c0"));

  constexpr std::size_t kScans = 65'535;  // 128 KiB less 2 bytes, with a header of 40
  link.Put("state", 1);
  for (int i = 0; i < 511; ++i) link.Put("scan", kScans);
  EXPECT_EQ(link.said, "");
  link.Put("scan", 30);
  link.Put("scan", kScans);
  EXPECT_EQ(std::exchange(link.said, ""),
            "takes the scans more slowly than they come; the oldest that wait are dropped\n");
  link.room = 1'000;
  link.outbox.SendOn();
  EXPECT_EQ(std::exchange(link.said, ""), "takes them all again; 65535 scans were dropped\n");
  EXPECT_EQ(link.got.size(), 513);
  EXPECT_EQ(link.got[0], "state0");

  link.room = 0;
  link.Put("scan", 5);
  link.outbox.Drop();
  EXPECT_EQ(link.said, "is left; 5 scans were dropped\n");
  EXPECT_TRUE(link.outbox.Empty());
}

TEST(EndWatchDeathTest, EndsAProcessThatIsHeld) {
  const auto begin = std::chrono::steady_clock::now();
  const auto hang = [](bool asked) {
    EndWatch end;
    end.WaitUntil({});
    asked ? static_cast<void>(kill(getpid(), SIGTERM)) : end.EndWith(3);
    while (true) pause();
  };
  EXPECT_EXIT(hang(true), testing::ExitedWithCode(0), "something holds the host");
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 2s);
  EXPECT_EXIT(hang(false), testing::ExitedWithCode(3), "something holds the host");
}

TEST(SharedLibrary, NamesThePackageToInstall) {
  EXPECT_THAT(test::Refusal([] { SharedLibrary("A sound file", "libnone.so.1", "libnone1"); }),
              testing::StartsWith("A sound file needs the library libnone.so.1 (Debian package "
                                  "libnone1), which cannot be loaded: "));
}

}  // namespace
}  // namespace vantoscope
