// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/mqtt/mqtt_feed.h"

#include <gmock/gmock.h>

#include <numeric>

namespace vantoscope {
namespace {

using namespace std::chrono_literals;

constexpr std::uint64_t kEpoch = 0xabc;
constexpr std::uint64_t kNextEpoch = 0xdef;

/// A feed with a host of two channels at 100 scans per second, open and live, at time 0. The host's
/// clock is an hour ahead, and its messages take 5 ms.
class MqttFeedTest : public testing::Test {
 protected:
  MqttFeedTest() { Open(); }

  void Open() {
    now_ = {};
    road_ = 5ms;
    age_ = 0s;
    next_ = 0;
    revision_ = 1;
    feed_.emplace(30s);
    feed_->OnConnected(now_);
    Info(MakeInfo(kEpoch));
    State(true, kEpoch, true);
    State(false, kNextEpoch, true);  // the farewell of another host
    EXPECT_TRUE(feed_->Ready());
    feed_->FixChannels();
  }
  static HostInfo MakeInfo(std::uint64_t epoch) {
    return {epoch, 1, "DM64", 100, {{1, "A", "m", 0, 10}, {2, "B", "V", -1, 1}}};
  }
  void Text(const char* leaf, const std::string& text, bool retained) {
    feed_->OnMessage(leaf, std::as_bytes(std::span(text)), retained, now_);
  }
  void Info(const HostInfo& info) { Text("info", EncodeInfo(info), true); }
  [[nodiscard]] HostTimes Times() const {
    const auto us = [](auto time) { return std::chrono::round<std::chrono::microseconds>(time); };
    const std::int64_t sent = us(now_.time_since_epoch() - road_ + ahead_).count();
    if (!age_) return {.sent_us = sent, .taken_us = {}};
    return {.sent_us = sent, .taken_us = sent - us(*age_).count()};
  }
  void State(bool open, std::uint64_t epoch, bool retained = false) {
    Text("state", EncodeState({open, epoch, open ? std::optional(Times()) : std::nullopt}),
         retained);
  }
  /// Every value of scan n is n.
  void Scans(std::int64_t first, int count, std::uint64_t epoch = kEpoch, bool retained = false,
             std::size_t channels = 2) {
    std::vector<double> values(static_cast<std::size_t>(count));
    std::iota(values.begin(), values.end(), first);
    const vantoscope::Scans scans{first, values.size(), {channels, values}};
    feed_->OnMessage("scan", EncodeScans(scans, epoch, revision_, Times()), retained, now_);
    next_ = first + count;
  }
  /// So many times `pause` later, a block of `count` scans and a sign of life.
  void Blocks(int times, std::chrono::milliseconds pause, int count) {
    for (; times > 0; --times) now_ += pause, Scans(next_, count), State(true, kEpoch);
  }
  /// So many seconds with nothing but signs of life, while the newest scan of the host grows older.
  void Signs(int seconds) {
    for (; seconds > 0; --seconds) now_ += 1s, *age_ += 1s, State(true, kEpoch);
  }
  void LoseAndReturn() {
    Scans(0, 1);
    feed_->OnLost();
    feed_->OnConnected(now_ + 2s);
  }
  /// Newest value of the first channel, or -1 when there is no block of `count` scans.
  double Newest(std::size_t count = 1) {
    const auto block = feed_->GetData(count, kEngineeringUnits, now_);
    return block ? (*block)(0, count - 1) : -1;
  }

  MqttFeed::Time now_{};
  std::chrono::duration<double> road_{};
  std::chrono::duration<double> ahead_ = 1h;
  std::optional<std::chrono::duration<double>> age_;  // of the host's newest scan
  std::int64_t next_ = 0;                             // the scan to come
  std::uint32_t revision_ = 1;
  std::optional<MqttFeed> feed_;
};

TEST_F(MqttFeedTest, SaysHowOldTheNewestScanIsAndWhyThereIsNoneNewer) {
  const auto live = [this] { Blocks(50, 100ms, 10); };
  const auto live_and = [live](auto act) { return [=] { live(), act(); }; };
  using Age = std::optional<double>;
  const std::tuple<const char*, std::function<void()>, Age, const char*> rows[] = {
      {"a live host", live, 0, ""},
      {"its recorder stands still", live_and([&] { Signs(5); }), 5, "the host has no new data"},
      {"it is frozen", live_and([&] { now_ += 5s; }), 5, "the host is silent"},
      {"the broker is gone", live_and([&] { feed_->OnLost(), now_ += 5s; }), 5,
       "the broker does not answer"},
      {"the broker is back", live_and([&] { feed_->OnLost(), feed_->OnConnected(now_ += 5s); }), 5,
       "the host has not been heard yet"},
      {"a link that gets slower", live_and([&] {
         for (int i = 0; i < 31; ++i, road_ += 100ms) Blocks(1, 100ms, 10);
       }),
       3, "the network is too slow"},
      {"no block arrives", live_and([&] {
         for (int i = 0; i < 5; ++i) age_ = -1s, Signs(1);
       }),
       5, "the scans of the host do not arrive"},
      {"scans that another host hands on", live_and([&] { age_ = 1.5s, Blocks(1, 100ms, 10); }),
       1.5, ""},
      {"its clock is set back", live_and([&] { ahead_ -= 2h, live(); }), 0, ""},
      {"its clock falls behind by 2 s in six hours", live_and([&] {
         for (int i = 0; i < 6 * 360; ++i, ahead_ -= 1ms) now_ += 10s, State(true, kEpoch);
         live();
       }),
       0, ""},
      {"one whose newest scan nobody here has", [&] { Signs(5); }, std::nullopt,
       "the host has no new data"},
      {"nothing but what the broker kept", [&] { Scans(0, 3, kEpoch, true), now_ += 5s; },
       std::nullopt, "the host is silent"},
  };
  for (const auto& [name, act, age, reason] : rows) {
    SCOPED_TRACE(name);
    Open();
    act();
    const Freshness data = feed_->DataFreshness(now_);
    EXPECT_NEAR(data.age.value_or(-1), age.value_or(-1), 0.01);
    EXPECT_EQ(data.reason, reason);
    EXPECT_EQ(Newest() == -1, age.value_or(3) > 2) << "what is old is no block";
    feed_->OnConnected(now_);
    road_ = 5ms;
    age_ = 0s;
    Blocks(1, 100ms, 1);
    EXPECT_LT(feed_->DataFreshness(now_).age.value(), 0.01) << "live at the first new value";
    EXPECT_EQ(Newest(), static_cast<double>(next_ - 1));
  }
}

TEST_F(MqttFeedTest, IsOldAfterTwoSecondsOrThreeBlocks) {
  const std::tuple<const char*, std::function<void()>, double> rows[] = {
      {"a stream", [&] { Blocks(9, 40ms, 4); }, 2},
      {"blocks of a second", [&] { Blocks(1, 1s, 100); }, 3},
      {"few scans now and then", [&] { Blocks(3, 1500ms, 1); }, 4.5},
      {"a stop", [&] { Blocks(9, 40ms, 4), Blocks(1, 60s, 1); }, 2},
  };
  for (const auto& [name, act, limit] : rows) {
    Open();
    act();
    EXPECT_NEAR(feed_->DataFreshness(now_).limit, limit, 1e-9) << name;
    const std::int64_t newest = next_ - 1;
    now_ += std::chrono::round<std::chrono::milliseconds>(limit * 1s);
    EXPECT_EQ(Newest(), static_cast<double>(newest)) << name;
    now_ += 1ms;
    EXPECT_EQ(Newest(), -1) << name;
    EXPECT_EQ(feed_->DataFreshness(now_).reason, "the host is silent") << "known at once";
    State(true, kEpoch);
    Scans(newest, 1);
    EXPECT_EQ(Newest(), -1) << "the same again is no news";
  }
}

TEST_F(MqttFeedTest, TakesOnlyLiveScansOfItsHost) {
  Scans(0, 3, kEpoch, true);
  EXPECT_EQ(Newest(), -1) << "retained: of unknown age";
  Scans(0, 3);
  Scans(7, 3, kNextEpoch);
  EXPECT_EQ(Newest(), 2) << "of a second host";
  Scans(3, 1, kEpoch, false, 4);
  EXPECT_EQ(Newest(), 2) << "with another channel count";
  Scans(9, 2);
  EXPECT_EQ(Newest(5), 10) << "of the newest scans that arrived";
  EXPECT_EQ(feed_->Since(-1, 1).first, 4);
  Scans(211, 1);
  EXPECT_EQ(Newest(6), 211) << "200 were missing, two seconds of them";
  Scans(413, 1);
  EXPECT_EQ(Newest(1), 211) << "201 were missing: not before the next one confirms it";
  Scans(414, 1);
  EXPECT_EQ(Newest(1), 414);
  EXPECT_EQ(Newest(2), -1) << "a window has no such gap";
  EXPECT_EQ(feed_->Counts().gaps, 3U);
  EXPECT_EQ(feed_->Counts().missing, 6U + 200U + 202U);
  EXPECT_EQ(feed_->Counts().retained, 1U);
  EXPECT_EQ(feed_->Counts().ignored, 4U);
  feed_->Clear();
  EXPECT_FALSE(feed_->DataFreshness(now_).age);
}

TEST_F(MqttFeedTest, FollowsAHostThatBeginsAnew) {
  Scans(1000, 5);
  Scans(0, 2, kNextEpoch);
  EXPECT_EQ(Newest(), 1004) << "not before its info";
  Info(MakeInfo(kNextEpoch));
  State(true, kNextEpoch);
  EXPECT_EQ(Newest(), 1004) << "not while the former host has not closed";
  State(false, kEpoch);
  ahead_ -= 900ms;  // the machine was started anew, too
  age_.reset();
  State(true, kNextEpoch, true);
  EXPECT_EQ(Newest(), 1004) << "not before a live sign";
  State(true, kNextEpoch);
  EXPECT_EQ(Newest(), -1) << "nothing of the former host";
  EXPECT_EQ(feed_->DataFreshness(now_).reason, "the host has no data yet");
  age_ = 0s;
  Scans(3, 2, kNextEpoch);
  EXPECT_EQ(Newest(2), 4);
  EXPECT_EQ(Newest(3), -1);
  EXPECT_EQ(feed_->Since(-1, 1).first, 1007) << "own indices rise, with one left out";
  EXPECT_LT(feed_->DataFreshness(now_).age.value(), 0.01);
  now_ += 10s;
  EXPECT_FALSE(feed_->HostGone(now_)) << "the farewell was the former host's";
}

TEST_F(MqttFeedTest, OtherChannelsAreAnotherHost) {
  const std::function<void(HostInfo&)> changes[] = {
      [](HostInfo& info) { info.channels.pop_back(); }, [](HostInfo& info) { info.rate = 50; },
      [](HostInfo& info) { info.channels[1].encoding = Encoding::kInt16; },
      [](HostInfo& info) { info.channels[1].number = 3; }};
  for (const auto& change : changes) {
    Open();
    Scans(0, 1);
    HostInfo other = MakeInfo(kEpoch);
    change(other);
    Info(other);
    Scans(1, 1);
    EXPECT_EQ(Newest(), 1) << "an epoch has one list";
    other.epoch = kNextEpoch;
    Info(other);
    State(true, kNextEpoch);
    EXPECT_FALSE(feed_->HostGone(now_)) << "the host is still there";
    now_ += 3s;
    State(true, kNextEpoch);
    EXPECT_EQ(feed_->HostGone(now_), "publishes other channels now");
  }
}

TEST_F(MqttFeedTest, TakesOverUnitsAndRangesWithTheNextBlock) {
  const auto unit = [this] { return feed_->Info()->channels[0].unit; };
  Scans(0, 3);
  HostInfo changed = MakeInfo(kEpoch);
  changed.revision = 2;
  changed.channels[1].high = 500;
  Info(changed);
  EXPECT_EQ(feed_->Info()->channels[1].high, 1);
  revision_ = 2;
  Scans(3, 1);
  EXPECT_EQ(feed_->Info()->channels[1].high, 500);
  EXPECT_EQ(feed_->ListChanges(), 1U);
  EXPECT_EQ(Newest(4), 3) << "a wider range costs no scan";
  revision_ = 3;
  Scans(4, 1);
  EXPECT_EQ(Newest(), 3) << "its list has not come";
  changed.revision = 3;
  changed.channels[0].unit = "V";
  Info(changed);
  Scans(5, 1);
  EXPECT_EQ(unit(), "V");
  EXPECT_EQ(Newest(), 5);
  EXPECT_EQ(Newest(2), -1) << "metres are no volts";
  revision_ = 2;
  Scans(6, 1);
  EXPECT_EQ(unit(), "m") << "a forged list lasts until the next block";
  EXPECT_FALSE(feed_->HostGone(now_));
}

TEST_F(MqttFeedTest, ALaterRevisionWithTheSameChannelsCountsWhileTheDeviceIsOpened) {
  MqttFeed opening(30s);
  HostInfo info = MakeInfo(kEpoch);
  for (const std::uint32_t revision : {1U, 3U}) {  // a unit went and came back
    info.revision = revision;
    const std::string text = EncodeInfo(info);
    opening.OnMessage("info", std::as_bytes(std::span(text)), true, now_);
  }
  opening.FixChannels();
  feed_ = std::move(opening);
  revision_ = 3;
  Scans(0, 1);
  EXPECT_EQ(Newest(), 0);
}

TEST_F(MqttFeedTest, AForgedMessageHasNoLastingEffect) {
  const auto live = [this](std::int64_t next) { next_ = next, Blocks(1, 40ms, 4); };
  const auto at = [this](auto ahead) { ahead_ += ahead, Scans(next_, 1), ahead_ -= ahead; };
  // What is forged; the newest value then, 10199 being that of the host.
  const std::tuple<const char*, std::function<void()>, double> rows[] = {
      {"a block far ahead", [&] { Scans(1'000'000'000'000, 1); }, 10199},
      {"a block far behind", [&] { Scans(0, 1); }, 10199},
      {"a block a little ahead", [&] { Scans(next_ + 100, 1); }, 10300},
      {"two that do not agree", [&] { Scans(1'000'000, 1), Scans(5'000'000, 1); }, 10199},
      {"two with the host between", [&] { Scans(100'000, 1), live(10'200), Scans(100'001, 1); },
       10203},
      {"a time to come", [&] { at(10h); }, 10199},
      {"two with the host between", [&] { at(10h), live(10'200), at(10h); }, 10203},
      {"a time gone by", [&] { at(-10h); }, 10199},
      {"an old scan", [&] { age_ = 1h, Blocks(1, 0ms, 1), age_ = 0s; }, -1},
      {"a farewell", [&] { State(false, kEpoch); }, 10199},
      {"a rival", [&] { Info(MakeInfo(kNextEpoch)), State(true, kNextEpoch); }, 10199},
      {"an emptied list", [&] { Text("info", "", true); }, 10199},
      {"a list of one channel",
       [&] {
         HostInfo info = MakeInfo(kEpoch);
         info.channels.pop_back();
         Info(info);
       },
       10199},
  };
  for (const auto& [name, forge, newest] : rows) {
    Open();
    next_ = 10'000;
    Blocks(50, 40ms, 4);
    forge();
    EXPECT_EQ(Newest(), newest) << name;
    next_ = 10'204;
    Blocks(50, 40ms, 4);
    EXPECT_EQ(Newest(), static_cast<double>(next_ - 1)) << name;
    EXPECT_LT(feed_->DataFreshness(now_).age.value_or(99), 1) << name;
    EXPECT_FALSE(feed_->HostGone(now_)) << name;
  }
}

TEST_F(MqttFeedTest, AFarewellCountsUnlessTheBrokerShutsDown) {
  Scans(0, 1);
  State(false, kEpoch);
  EXPECT_FALSE(feed_->HostGone(now_ + 699ms));
  EXPECT_TRUE(feed_->HostGone(now_ + 700ms));
  feed_->OnLost();
  EXPECT_FALSE(feed_->HostGone(now_ + 5s));
  feed_->OnConnected(now_ += 2s);
  State(false, kEpoch, true);  // the broker remembered it
  EXPECT_FALSE(feed_->HostGone(now_ += 2s));
  State(true, kEpoch);
  EXPECT_FALSE(feed_->HostGone(now_ + 1h));
}

TEST_F(MqttFeedTest, NoSignOfLifeForTheTimeoutIsTheEnd) {
  // What comes, and when the host is gone after time 0.
  const std::tuple<const char*, std::function<void()>, std::chrono::seconds> rows[] = {
      {"never a live message", [] {}, 30s},
      {"a live state", [&] { now_ += 5s, State(true, kEpoch); }, 35s},
      {"a retained state tells nothing", [&] { now_ += 5s, State(true, kEpoch, true); }, 30s},
      {"scans of another host tell nothing", [&] { now_ += 5s, Scans(0, 1, kNextEpoch); }, 30s},
      {"lost and back, but no host", [&] { LoseAndReturn(); }, 30s},
      {"lost and back with its host", [&] { LoseAndReturn(), now_ += 9s, Scans(1, 1); }, 39s},
      {"data that stand still", [&] { Signs(3600); }, 3630s},
  };
  for (const auto& [name, act, gone] : rows) {
    Open();
    act();
    const MqttFeed::Time end = MqttFeed::Time{} + gone;
    for (auto time = now_; time < end; time += 250ms) EXPECT_FALSE(feed_->HostGone(time)) << name;
    EXPECT_TRUE(feed_->HostGone(end)) << name;
  }
}

TEST_F(MqttFeedTest, AMeterThatWasFrozenItselfListensBeforeItEnds) {
  Blocks(1, 0ms, 1);
  EXPECT_FALSE(feed_->HostGone(now_ += 100ms));
  EXPECT_FALSE(feed_->HostGone(now_ += 1h));
  EXPECT_FALSE(feed_->HostGone(now_ + 1999ms));
  EXPECT_TRUE(feed_->HostGone(now_ + 2s));
  Blocks(1, 250ms, 1);
  EXPECT_FALSE(feed_->HostGone(now_ + 2s));
  EXPECT_FALSE(feed_->HostGone(now_ + 1h));
}

}  // namespace
}  // namespace vantoscope
