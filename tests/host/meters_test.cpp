// A host, a broker and many meters: the electrocardiogram through the whole chain, and finished
// meter programs whose host is killed.
#include <gmock/gmock.h>

#include <csignal>
#include <cstdlib>
#include <memory>
#include <sstream>

#include "sources/open_device.h"
#include "tests/host/broker.h"

namespace vantoscope {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr int kMeters = 16;

using MetersTest = BrokerTest;

TEST_F(MetersTest, ShowWhatTheElectrocardiogramHasAtThatMoment) {
  const char* const path = std::getenv("VANTOSCOPE_ECG");
  if (path == nullptr) GTEST_SKIP() << "VANTOSCOPE_ECG does not name the recording";
  // A raw word read from the source of the recording with od. It comes four seconds from now.
  constexpr std::int64_t kIndex = 54321;
  constexpr int kWord = 1069;
  constexpr double kRate = 360;
  const double now = std::chrono::duration<double>(std::chrono::system_clock::now() -
                                                   std::chrono::system_clock::time_point{})
                         .count();
  std::ostringstream from;
  from.precision(17);
  from << "FI64:" << path << "?start=" << now + 4 - kIndex / kRate << "&range=-168.96..158.715";
  const auto host = StartHost(from.str());
  const auto recording = OpenDevice(from.str());
  recording->Start();
  std::vector<std::unique_ptr<Device>> meters;
  for (int i = 0; i < kMeters; ++i) {
    meters.push_back(OpenDevice("mqtt://" + broker_->Tcp(kRoot)));
    meters.back()->Start();
  }
  for (const auto& meter : meters) {
    ASSERT_TRUE(Eventually([&] {
      const RawScans scan = meter->ScansSince(kIndex, 1);
      return scan.scans == 1 && scan.first == kIndex;
    }));
    EXPECT_EQ(meter->ScansSince(kIndex, 1).words[0], kWord);
    EXPECT_EQ(meter->Channels()[0].unit, "mV");
    const std::int64_t newest = meter->ScansSince(-1, 1).first;
    EXPECT_EQ(meter->ScansSince(newest, 1).words, recording->ScansSince(newest, 1).words);
    // Not behind the clock by more than a few blocks.
    EXPECT_LT(recording->ScansSince(-1, 1).first - newest, 360);
  }
}

#ifdef VANTOSCOPE_METER
int Count(const std::string& text, const std::string& part) {
  int count = 0;
  for (std::size_t at = text.find(part); at != text.npos; at = text.find(part, at + 1)) ++count;
  return count;
}

TEST_F(MetersTest, SaveAndEndWithinTwoSecondsWhenTheirHostIsKilled) {
  const auto host = StartHost("SM64");
  const std::filesystem::path config = broker_->Folder() / "config";
  std::filesystem::create_directories(config);
  std::vector<std::unique_ptr<ChildProcess>> meters;
  for (int i = 0; i < kMeters; ++i) {
    meters.push_back(std::make_unique<ChildProcess>(
        std::vector<std::string>{VANTOSCOPE_METER, "-dMQ64:" + broker_->Tcp(kRoot), "-nBench",
                                 "-i" + std::to_string(i % 8)},
        (broker_->Folder() / ("meter" + std::to_string(i))).string(),
        std::vector<std::string>{"QT_QPA_PLATFORM=offscreen",
                                 "XDG_CONFIG_HOME=" + config.string()}));
  }
  // The broker's log has a line for each client: the host and the meters.
  ASSERT_TRUE(Eventually(
      [&] {
        return Count(test::FileBytes(broker_->Folder() / "broker.log"), "/scan") >= 1 + kMeters;
      },
      30s))
      << test::FileBytes(broker_->Folder() / "broker.log");
  for (const auto& meter : meters) ASSERT_FALSE(meter->Ended()) << meter->Log();
  host->Signal(SIGKILL);
  const auto killed = steady_clock::now();
  for (const auto& meter : meters) EXPECT_EQ(meter->WaitForEnd(), 0) << meter->Log();
  EXPECT_LT(steady_clock::now() - killed, 2s);
  std::string settings;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(config)) {
    if (entry.path().extension() == ".ini") settings += test::FileBytes(entry.path());
  }
  EXPECT_EQ(Count(settings, "[Bench"), 8) << settings;
}
#endif

}  // namespace
}  // namespace vantoscope
