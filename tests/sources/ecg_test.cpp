// The electrocardiogram that tools/make-ecg writes, against raw words that were read from its
// source with unzip and od.
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/support/running_device.h"

namespace vantoscope {
namespace {

using test::kSecond;

TEST(Ecg, RawWordsAndMillivoltsAreThoseOfTheConverter) {
  const char* const path = std::getenv("VANTOSCOPE_ECG");
  if (path == nullptr) GTEST_SKIP() << "VANTOSCOPE_ECG does not name the recording";
  test::RunningDevice device("FI64:" + std::string(path) + "?start=0&range=-168.96..158.715", 0);
  EXPECT_EQ(device->SampleRate(), 360);
  EXPECT_EQ(device->Channels()[0].unit, "mV");
  const std::pair<std::int64_t, int> words[] = {{0, 975},    {1, 981},      {2, 987},
                                                {1000, 944}, {54321, 1069}, {107999, 947}};
  for (const auto& [index, word] : words) {
    device.now = index * kSecond / 360 + 1;
    EXPECT_EQ((*device->GetData(1, kRawWords))(0, 0), word) << index;
    EXPECT_EQ(device->LatestValue(0), (word - 1024) / 200.0) << index;
  }
  std::int64_t scans = 0;
  std::int64_t sum = 0;
  for (device.now = kSecond - 1; device.now < 300 * kSecond; device.now += kSecond) {
    for (const std::int16_t word : device->ScansSince(scans, 1000).words) {
      sum += word;
      ++scans;
    }
  }
  EXPECT_EQ(scans, 108'000);
  EXPECT_EQ(sum, 107'025'651);
}

}  // namespace
}  // namespace vantoscope
