#include "host/publication.h"

#include <gmock/gmock.h>

namespace vantoscope {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint64_t kOwn = 0xaaaa;
constexpr std::uint64_t kOther = 0xbbbb;

class PublicationTest : public testing::Test {
 protected:
  static HostInfo MakeInfo(std::uint64_t epoch) {
    return {.epoch = epoch, .device = "SM64", .rate = 10, .channels = {{}}};
  }
  void Text(const char* leaf, const std::string& text, bool retained) {
    host_.OnMessage(leaf, std::as_bytes(std::span(text)), retained, now_);
  }
  void Info(std::uint64_t epoch, bool retained = false) {
    Text("info", EncodeInfo(MakeInfo(epoch)), retained);
  }
  void State(bool open, std::uint64_t epoch, bool retained = false) {
    Text("state", EncodeState({open, epoch}), retained);
  }
  /// What was sent since the last call: leaves, and states in words.
  std::vector<std::string> Sent() { return std::exchange(sent_, {}); }
  void After(std::chrono::milliseconds time) { host_.OnTime(now_ += time); }

  Publication::Time now_{};
  std::vector<std::string> sent_;
  Publication host_{
      MakeInfo(kOwn),
      [this](std::string_view leaf, std::span<const std::byte> payload, int) {
        const std::string text(reinterpret_cast<const char*>(payload.data()), payload.size());
        sent_.push_back(leaf == "state" ? text.substr(0, text.find(' ')) : std::string(leaf));
      },
      [](const std::string&) {}};
};

TEST_F(PublicationTest, BeginsAfterALookAndEndsClosed) {
  After(10s);
  EXPECT_FALSE(host_.Publishing()) << "not connected";
  host_.OnConnected(now_);
  Info(kOther, true);
  State(false, kOther, true);
  After(300ms);
  EXPECT_THAT(Sent(), IsEmpty());
  After(100ms);
  EXPECT_THAT(Sent(), ElementsAre("info", "open"));
  host_.SendScans({0, 1, {5}}, 0);
  EXPECT_THAT(Sent(), ElementsAre("scan"));
  After(999ms);
  EXPECT_THAT(Sent(), IsEmpty());
  After(1ms);
  EXPECT_THAT(Sent(), ElementsAre("open")) << "a sign of life";
  host_.Close();
  State(false, kOwn);  // its own word comes back
  After(5s);
  EXPECT_THAT(Sent(), ElementsAre("closed"));
}

TEST_F(PublicationTest, LeavesAHostAloneThatGivesASign) {
  host_.OnConnected(now_);
  State(true, kOther, true);
  After(2s);
  State(true, kOther);
  EXPECT_TRUE(host_.Over());
  After(5s);
  EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(PublicationTest, AnInfoBeforeItsOwnWasEarlier) {
  host_.OnConnected(now_);
  After(400ms);
  Info(kOther);
  Info(kOwn);
  EXPECT_TRUE(host_.Publishing());
}

TEST_F(PublicationTest, SaysOpenAgainOverAFarewell) {
  host_.OnConnected(now_);
  After(400ms);
  Info(kOwn);  // comes back from the broker
  Sent();
  State(false, kOwn);  // the will of a connection that the broker thought dead
  State(false, kOther);
  EXPECT_THAT(Sent(), ElementsAre("open", "open"));
}

}  // namespace
}  // namespace vantoscope
