// The electrocardiogram that tools/make-ecg writes, against raw words that were read from its
// source with unzip and od.
#include <gtest/gtest.h>

#include <cstdlib>
#include <numeric>

#include "sources/open_device.h"

namespace vantoscope {
namespace {

constexpr std::int64_t kSecond = 1'000'000'000;
constexpr std::pair<std::size_t, int> kRawWordsAt[] = {{0, 975},    {1, 981},      {2, 987},
                                                       {1000, 944}, {54321, 1069}, {107999, 947}};

class Ecg : public testing::Test {
 protected:
  void SetUp() override {
    const char* const path = std::getenv("VANTOSCOPE_ECG");
    if (path == nullptr) GTEST_SKIP() << "VANTOSCOPE_ECG does not name the recording";
    device_ = OpenDevice("FI64:" + std::string(path) + "?start=0&range=-168.96..158.715",
                         [this] { return now_; });
    device_->Start();
  }
  std::int64_t now_ = 0;
  std::unique_ptr<Device> device_;
};

TEST_F(Ecg, RawWordsAndMillivoltsAreThoseOfTheConverter) {
  EXPECT_EQ(device_->SampleRate(), 360);
  EXPECT_EQ(device_->Channels()[0].unit, "mV");
  for (const auto& [index, word] : kRawWordsAt) {
    now_ = static_cast<std::int64_t>(index) * kSecond / 360 + 1;
    EXPECT_EQ((*device_->GetData(1, kRawWords))(0, 0), word) << index;
    EXPECT_EQ(device_->LatestValue(0), (word - 1024) / 200.0) << index;
  }
}

TEST_F(Ecg, EveryWordIsThere) {
  std::int64_t sum = 0;
  std::int16_t least = 32767;
  std::int16_t greatest = -32768;
  now_ = 299'999'000'000;  // the last scan
  // Only the newest 65536 scans can be had at once, so the first half is read at its own time.
  std::size_t scans = 0;
  for (const std::int64_t until : {150 * kSecond - kSecond / 1000, now_}) {
    now_ = until;
    const RawScans half = device_->ScansSince(static_cast<std::int64_t>(scans), 100'000);
    ASSERT_EQ(half.first, static_cast<std::int64_t>(scans));
    scans += half.scans;
    for (const std::int16_t word : half.words) {
      sum += word;
      least = std::min(least, word);
      greatest = std::max(greatest, word);
    }
  }
  EXPECT_EQ(scans, 108'000U);
  EXPECT_EQ(sum, 107'025'651);
  EXPECT_EQ(least, 327);
  EXPECT_EQ(greatest, 1754);
}

}  // namespace
}  // namespace vantoscope
