#include "sources/mqtt/mqtt_feed.h"

#include <gmock/gmock.h>

namespace vantoscope {
namespace {

using namespace std::chrono_literals;

constexpr std::uint64_t kEpoch = 0xabc;
constexpr std::uint64_t kNextEpoch = 0xdef;

/// A feed with a host of two channels at 100 scans per second, open and live, at time 0.
class MqttFeedTest : public testing::Test {
 protected:
  MqttFeedTest() { Open(); }

  void Open() {
    feed_.emplace(30s);
    feed_->OnConnected(now_);
    Info(MakeInfo(kEpoch));
    State(true, kEpoch, true);
    State(false, kNextEpoch, true);  // the farewell of another host
    EXPECT_TRUE(feed_->Ready());
    feed_->FixChannels();
  }
  static HostInfo MakeInfo(std::uint64_t epoch) {
    return {epoch, "SM64", 100, {{1, "A", "m", 0, 10, 0.5, 0}, {2, "B", "V", -1, 1, 1, 0}}};
  }
  void Text(const char* leaf, const std::string& text, bool retained) {
    feed_->OnMessage(leaf, std::as_bytes(std::span(text)), retained, now_);
  }
  void Info(const HostInfo& info) { Text("info", EncodeInfo(info), true); }
  void State(bool open, std::uint64_t epoch, bool retained = false) {
    Text("state", EncodeState({open, epoch}), retained);
  }
  /// Every word of scan n is n.
  void Scans(std::int16_t first, std::int16_t count, std::uint64_t epoch = kEpoch,
             bool retained = false, std::size_t channels = 2) {
    RawScans scans{first, static_cast<std::size_t>(count), {}};
    for (std::int16_t n = first; n < first + count; ++n) {
      scans.words.insert(scans.words.end(), channels, n);
    }
    feed_->OnMessage("scan", EncodeScans(scans, channels, epoch, 0), retained, now_);
  }
  void LoseAndReturn(std::int16_t scans_afterwards) {
    Scans(0, 1);
    feed_->OnLost(now_);
    feed_->OnConnected(now_ + 2s);
    Scans(1, scans_afterwards);
  }
  /// Newest word of the first channel, or -1 when there is no block of `count` scans.
  double Newest(std::size_t count = 1) {
    const auto block = feed_->GetData(count, kRawWords, now_);
    return block ? (*block)(0, count - 1) : -1;
  }

  MqttFeed::Time now_{};
  std::optional<MqttFeed> feed_;
};

TEST_F(MqttFeedTest, FreshIsASecondOrThreeBlocks) {
  Scans(0, 4);
  now_ += 1000ms;
  EXPECT_EQ(Newest(), 3);
  now_ += 1ms;
  EXPECT_EQ(Newest(), -1) << "a frozen host";
  Scans(0, 4);
  EXPECT_EQ(Newest(), -1) << "the same again is no news";
  Scans(4, 1);
  EXPECT_EQ(Newest(), 4) << "the host goes on";
  Scans(5, 50);  // half a second in one block
  now_ += 1500ms;
  EXPECT_EQ(Newest(), 54);
  now_ += 1ms;
  EXPECT_EQ(Newest(), -1);
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
  EXPECT_EQ(Newest(2), 10);
  EXPECT_EQ(Newest(3), -1) << "a block never reaches over a gap";
  EXPECT_EQ(feed_->Counts().gaps, 1U);
  EXPECT_EQ(feed_->Counts().retained, 1U);
  EXPECT_EQ(feed_->Counts().ignored, 3U);
}

TEST_F(MqttFeedTest, FollowsAHostThatBeginsAnew) {
  Scans(1000, 5);
  Scans(0, 2, kNextEpoch);
  EXPECT_EQ(Newest(), 1004) << "not before its info";
  Info(MakeInfo(kNextEpoch));
  EXPECT_EQ(Newest(), -1) << "nothing of the former host";
  State(false, kEpoch);
  State(true, kNextEpoch);
  Scans(3, 2, kNextEpoch);
  EXPECT_EQ(Newest(2), 4);
  EXPECT_EQ(Newest(3), -1);
  EXPECT_EQ(feed_->Since(-1, 1).first, 1007) << "own indices rise, with one left out";
  now_ += 10s;
  EXPECT_FALSE(feed_->HostGone(now_)) << "the farewell was the former host's";
}

TEST_F(MqttFeedTest, AnotherListIsAnotherHost) {
  const std::function<void(HostInfo&)> changes[] = {
      [](HostInfo& info) { info.channels.pop_back(); }, [](HostInfo& info) { info.rate = 50; },
      [](HostInfo& info) { info.channels[1].offset = 2; }};
  for (const auto& change : changes) {
    for (const std::uint64_t epoch : {kEpoch, kNextEpoch}) {
      Open();
      Scans(0, 1);
      HostInfo other = MakeInfo(epoch);
      change(other);
      Info(other);
      EXPECT_TRUE(feed_->HostGone(now_));
      Scans(50, 1, epoch);
      EXPECT_EQ(Newest(), 0);
    }
  }
}

TEST_F(MqttFeedTest, AFarewellCountsUnlessTheBrokerShutsDown) {
  Scans(0, 1);
  State(false, kEpoch);
  EXPECT_FALSE(feed_->HostGone(now_ + 699ms));
  EXPECT_TRUE(feed_->HostGone(now_ + 700ms));
  feed_->OnLost(now_ += 10ms);
  EXPECT_FALSE(feed_->HostGone(now_ + 5s));
  feed_->OnConnected(now_ += 2s);
  State(false, kEpoch, true);  // the broker remembered it
  EXPECT_FALSE(feed_->HostGone(now_ += 2s));
  State(true, kEpoch);
  EXPECT_FALSE(feed_->HostGone(now_ + 1h));
}

TEST_F(MqttFeedTest, NoContactForTheTimeoutIsTheEnd) {
  // What comes, and whether the host is gone 30 s after time 0.
  const std::tuple<const char*, std::function<void()>, bool> rows[] = {
      {"never a live message", [] {}, true},
      {"a live state", [&] { State(true, kEpoch); }, false},
      {"a retained state tells nothing", [&] { State(true, kEpoch, true); }, true},
      {"scans of another host tell nothing", [&] { Scans(0, 1, kNextEpoch); }, true},
      {"lost and back, but no host", [&] { LoseAndReturn(0); }, true},
      {"lost and back with its host", [&] { LoseAndReturn(1); }, false},
  };
  for (const auto& [name, act, gone] : rows) {
    Open();
    act();
    EXPECT_FALSE(feed_->HostGone(now_ + 29'999ms)) << name;
    EXPECT_EQ(feed_->HostGone(now_ + 30s), gone) << name;
  }
}

}  // namespace
}  // namespace vantoscope
