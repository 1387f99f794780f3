// What the host needs before it has a broker: an address, the pauses until it answers, new scans.
#include <gmock/gmock.h>

#include "host/rising_scans.h"
#include "sources/mqtt/mqtt_address.h"
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

TEST(RetryPause, DoublesUpToFourSecondsLessUpToHalfOfIt) {
  RetryPause pause;
  for (const auto at_most : {250ms, 500ms, 1000ms, 2000ms, 4000ms, 4000ms, 250ms}) {
    if (at_most == 250ms) pause.Reset();
    EXPECT_THAT(pause.Next(), testing::AllOf(testing::Ge(at_most / 2), testing::Le(at_most)));
  }
}

TEST(MqttTarget, IsABrokerAndARootInAnyForm) {
  for (const char* text : {"pc01:9/a", "mqtt://pc01:9/a", "mq32:pc01:9/a"}) {
    EXPECT_EQ(ParseMqttTarget(text).Endpoint(), "pc01:9") << text;
  }
  for (const char* text : {"me:secret@h/a", "mqtt://me:secret@h", "me:sec/secret@h:1883/a"}) {
    EXPECT_THAT(test::Refusal([&] { ParseMqttTarget(text); }),
                testing::AllOf(testing::StartsWith("\"h"), testing::Not(HasSubstr("sec"))));
  }
}

TEST(SharedLibrary, NamesThePackageToInstall) {
  EXPECT_THAT(test::Refusal([] { SharedLibrary("A sound file", "libnone.so.1", "libnone1"); }),
              testing::StartsWith("A sound file needs the library libnone.so.1 (Debian package "
                                  "libnone1), which cannot be loaded: "));
}

}  // namespace
}  // namespace vantoscope
