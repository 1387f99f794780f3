#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <tuple>

#include "sources/open_device.h"
#include "tests/support/refusal.h"
#include "tests/support/scratch_folder.h"

namespace vantoscope {
namespace {

using test::WriteBytes;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr std::int64_t kSecond = 1'000'000'000;
constexpr std::int64_t kNow = 1'732'312'345 * kSecond + 678'901'234;

/// Opens recordings of one folder and holds the time they go by.
class Recording : public testing::Test {
 protected:
  std::unique_ptr<Device> Open(const std::string& text) {
    return OpenDevice(text, [this] { return now_; });
  }

  std::unique_ptr<Device> Running(const std::string& text) {
    std::unique_ptr<Device> device = Open(text);
    device->Start();
    return device;
  }

  std::string Text(const std::string& name, const std::string& options) {
    return "FI64:" + folder_ / name + options;
  }

  void Write(const std::string& name, const std::string& bytes) {
    WriteBytes(folder_ / name, bytes);
  }
  void Append(const std::string& name, const std::string& bytes) {
    std::ofstream(folder_ / name, std::ios::binary | std::ios::app) << bytes;
  }

  test::ScratchFolder folder_;
  std::int64_t now_ = kNow;
};

std::vector<double> Values(Device& device, std::size_t channel, std::int16_t count,
                           std::int32_t mode = kEngineeringUnits) {
  const std::optional<Block> block = device.GetData(count, mode);
  if (!block) return {};
  const std::span<const double> values = block->Channel(channel);
  return {values.begin(), values.end()};
}

TEST_F(Recording, ReplaysFromTheFirstScanToTheLastAndEnds) {
  Write("a.csv", "Time [s],Level [m],Flow\n0,1.5,10\n0.5,2.5,20\n1,,30\n1.5,4.5,40\n");
  const auto device = Running(Text("a.csv", ""));
  EXPECT_EQ(device->SampleRate(), 2);
  ASSERT_EQ(device->Channels().size(), 2U);
  EXPECT_EQ(device->Channels()[0].name, "Level");
  EXPECT_EQ(device->Channels()[0].unit, "m");
  EXPECT_EQ(device->Channels()[0].low, 1.5);
  EXPECT_EQ(device->Channels()[0].high, 4.5);
  EXPECT_EQ(device->Channels()[1].number, 2);

  EXPECT_THAT(Values(*device, 0, 3), ElementsAre(1.5, 1.5, 1.5));
  now_ += kSecond;
  EXPECT_THAT(Values(*device, 0, 4), ElementsAre(1.5, 1.5, 2.5, 2.5));
  EXPECT_EQ(device->LatestValue(1), 30);
  now_ += kSecond - 2'000'000;
  EXPECT_FALSE(device->HostGone());
  EXPECT_THAT(Values(*device, 1, 2), ElementsAre(30, 40));
  now_ += 2'000'000;
  EXPECT_TRUE(device->HostGone());
  EXPECT_FALSE(device->GetData(1, kEngineeringUnits));
  EXPECT_THROW(device->LatestValue(0), SourceError);
}

TEST_F(Recording, LoopGoesByTheClockAlone) {
  Write("a.csv", "1\n2\n3\n4\n5\n");
  const auto device = Running(Text("a.csv", "?loop&rate=10"));
  EXPECT_EQ(device->Name(), Text("a.csv", "?loop&rate=10"));
  now_ = kNow / kSecond * kSecond + 3 * (kSecond / 10);  // a round begins with every half second
  EXPECT_THAT(Values(*device, 0, 12), ElementsAre(3, 4, 5, 1, 2, 3, 4, 5, 1, 2, 3, 4));
  now_ += 1000 * kSecond;
  EXPECT_FALSE(device->HostGone());
  EXPECT_EQ(device->LatestValue(0), 4);
}

TEST_F(Recording, EveryProcessThatOpensTheTextOfAnotherIsInStep) {
  std::string lines;
  for (int i = 0; i < 100000; ++i) lines += std::to_string(i) + "\n";
  Write("ramp.csv", lines);
  for (const char* options : {"?rate=359.7", "?loop&rate=48000", "?rate=1000&start=1732312300"}) {
    now_ = kNow;
    const auto first = Running(Text("ramp.csv", options));
    now_ += 1'234'567'891;  // the second meter of a group starts later
    const auto second = Running(first->Name());
    EXPECT_EQ(second->Name(), first->Name());
    for (int tick = 0; tick < 20; ++tick) {
      now_ += 200'000'003;
      ASSERT_EQ(first->LatestValue(0), second->LatestValue(0)) << options;
      ASSERT_EQ(Values(*first, 0, 500), Values(*second, 0, 500)) << options;
    }
  }
}

TEST_F(Recording, WordsSpreadOverTheRange) {
  Write("a.csv", "A,B\n-1,5\n0,5\n1,5\n");
  const auto device = Running(Text("a.csv", "?loop&start=0"));
  now_ = 2 * kSecond;
  EXPECT_THAT(Values(*device, 0, 3, kRawWords), ElementsAre(-32768, 0, 32767));
  EXPECT_EQ(device->Channels()[1].low, 0);  // a constant still has a range
  EXPECT_EQ(device->Channels()[1].high, 5);
  const RawScans scans = device->ScansSince(0, 100);
  EXPECT_EQ(scans.first, 0);
  EXPECT_THAT(scans.words, ElementsAre(-32768, 32767, 0, 32767, 32767, 32767));
  const auto wide = Open(Text("a.csv", "?range=-0.5..10"));
  EXPECT_EQ(wide->Channels()[0].low, -1);  // encloses the data
  EXPECT_EQ(wide->Channels()[0].high, 10);
}

TEST_F(Recording, SpecialColumnsAreSpecialChannels) {
  Write("a.csv", "Level,DigIn,Temp,CNTR,rcntr\n1,18,20,2,16383\n2,255,21,3,0\n");
  const auto device = Running(Text("a.csv", "?loop&start=0"));
  std::vector<std::int16_t> numbers;
  for (const ChannelInfo& channel : device->Channels()) numbers.push_back(channel.number);
  EXPECT_THAT(numbers, ElementsAre(1, -1, -2, -3, 2));
  now_ = kSecond;
  // 0x12 and 0xFF in the high byte; four words a count from -32768.
  EXPECT_THAT(Values(*device, 1, 2, kRawWords), ElementsAre(0x1200, -256));
  EXPECT_THAT(Values(*device, 2, 2, kRawWords), ElementsAre(-32760, -32756));
  EXPECT_THAT(Values(*device, 3, 2, kRawWords), ElementsAre(32764, -32768));
  EXPECT_THAT(Values(*device, 1, 2), ElementsAre(18, 255));
}

TEST_F(Recording, KeepsEveryDoubleOfATextFile) {
  const std::pair<const char*, std::vector<double>> columns[] = {
      {"0.1\n-0.145\n2.675\n", {0.1, -0.145, 2.675}},
      {"123456.789\n-0.001\n1e-3\n", {123456.789, -0.001, 0.001}},
      {"1.2345678901234567\n1e-300\n-1e300\n", {1.2345678901234567, 1e-300, -1e300}},
  };
  for (const auto& [text, values] : columns) {
    Write("a.csv", text);
    const auto device = Running(Text("a.csv", "?start=0"));
    now_ = 2 * kSecond;
    EXPECT_EQ(Values(*device, 0, 3), values) << text;
  }
}

TEST_F(Recording, TakesPathsAsPeopleWriteThem) {
  Write("run 1.csv", "1\n2\n");
  Write("100%.csv", "1\n2\n");
  Write("what?.csv", "1\n2\n");
  const auto name = [&](const std::string& text) { return Open(text)->Name(); };
  EXPECT_EQ(name(folder_ / "run 1.csv" + "?loop"), Text("run%201.csv", "?loop"));
  EXPECT_EQ(name(folder_ / "run%201.csv" + "?loop"), Text("run%201.csv", "?loop"));
  EXPECT_EQ(name(folder_ / "100%.csv" + "?loop"), Text("100%25.csv", "?loop"));
  EXPECT_THAT(name(folder_ / "what?.csv"), HasSubstr("/what%3F.csv?start="));
  const auto here = std::filesystem::relative(folder_ / "run 1.csv").string();
  EXPECT_THAT(name(here), HasSubstr("run%201.csv"));
}

TEST_F(Recording, RefusesWithPathAndReason) {
  Write("text.csv", "a,b\nc,d\n");
  Write("good.csv", "1,2\n3,4\n");
  Write("fake.wav", "RIFFxxxxWAVEjunk");
  Write("quote.csv", "1,2\n\"3," + std::string(3'000'000, 'x'));
  Write("torn.csv", "1,2");
  const std::pair<std::string, std::vector<const char*>> rows[] = {
      {Text("missing.csv", ""), {"missing.csv", "No such file"}},
      {"FI64:" + folder_ / "", {"no regular file"}},
      {"FI64", {"path"}},
      {Text("text.csv", ""), {"text.csv", "no column of numbers"}},
      {Text("torn.csv", "?follow"), {"torn.csv", "yet"}},
      {Text("fake.wav", ""), {"fake.wav", "sound"}},
      {Text("fake.wav", "?follow"), {"fake.wav", "cannot be followed"}},
      {Text("quote.csv", ""), {"quote.csv", "mebibyte"}},
      {Text("good.csv", "?loop=2"), {"loop", "'2'"}},
      {Text("good.csv", "?range=3..1"), {"range=3..1"}},
      {Text("good.csv", "?lop"), {"'lop'", "loop"}},
      {Text("good.csv", "?follow&loop"), {"followed"}},
  };
  for (const auto& [text, parts] : rows) {
    const std::string message = test::Refusal([&, path = text] { Open(path); });
    for (const char* part : parts) EXPECT_THAT(message, HasSubstr(part)) << text;
  }
}

TEST_F(Recording, FollowsWhatARecorderAppends) {
  Write("a.csv", "Time [s],Level [m]\n0,1\n0.1,2\n");
  const auto device = Running(Text("a.csv", "?follow"));
  EXPECT_EQ(device->SampleRate(), 10);
  EXPECT_THAT(Values(*device, 0, 2), ElementsAre(1, 2));
  EXPECT_FALSE(device->GetData(3, kEngineeringUnits));
  Append("a.csv", "0.2,3\n0.3,4");  // torn
  EXPECT_THAT(Values(*device, 0, 3), ElementsAre(1, 2, 3));
  Append("a.csv", "5.5");
  EXPECT_EQ(device->LatestValue(0), 3);
  Append("a.csv", "\n0.4,\n");  // an empty field repeats
  EXPECT_THAT(Values(*device, 0, 3), ElementsAre(3, 45.5, 45.5));
  EXPECT_FALSE(device->HostGone());
  const RawScans scans = device->ScansSince(3, 10);
  EXPECT_EQ(scans.first, 3);
  EXPECT_EQ(scans.scans, 2U);
  EXPECT_EQ(device->ScansSince(5, 10).scans, 0U);
}

TEST_F(Recording, FollowedRangeLeavesRoomAndWidens) {
  Write("a.csv", "A,B\n-1.2,30\n1,-0.1\n");
  const auto device = Running(Text("a.csv", "?follow"));
  EXPECT_EQ(device->Channels()[0].low, -5);  // twice 1.2 is 2.4
  EXPECT_EQ(device->Channels()[0].high, 5);
  EXPECT_EQ(device->Channels()[1].high, 100);
  const double factor = device->Channels()[0].factor;
  Append("a.csv", "7,0\n");
  EXPECT_THAT(Values(*device, 0, 1), ElementsAre(7));
  EXPECT_THAT(Values(*device, 0, 1, kRawWords), ElementsAre(32767));
  EXPECT_EQ(device->Channels()[0].high, 7);
  EXPECT_EQ(device->Channels()[0].factor, factor);
  EXPECT_EQ(Open(Text("a.csv", "?follow&range=0..8"))->Channels()[0].low, -1.2);
}

TEST_F(Recording, FollowReadsAndKeepsOnlyTheEndOfALongFile) {
  std::string lines = "N,Text\n";
  const std::string filler(30, 'x');
  for (int i = 100'000; i < 400'000; ++i) lines += std::to_string(i) + "," + filler + "\n";
  Write("a.csv", lines);
  const auto device = Running(Text("a.csv", "?follow&rate=1"));
  Append("a.csv", "400000,\n");
  std::vector<double> expected;
  for (int i = 400'000 - 32766; i <= 400'000; ++i) expected.push_back(i);
  EXPECT_EQ(Values(*device, 0, 32767), expected);
  EXPECT_LT(device->ScansSince(-1, 1).first, 200'000);  // counted from the first line that was read
  EXPECT_EQ(device->ScansSince(0, 40'000).scans, 32768U);
}

TEST_F(Recording, EndsWhenTheFileIsNoLongerTheSame) {
  const std::string start = "A\n1\n2\n3\n";
  const std::pair<const char*, std::function<void(const std::string&)>> rows[] = {
      {"deleted", [](const std::string& path) { std::filesystem::remove(path); }},
      {"truncated", [](const std::string& path) { WriteBytes(path, ""); }},
      {"replaced",
       [](const std::string& path) {
         WriteBytes(path + "x", "A\n1\n2\n3\n4\n");
         std::filesystem::rename(path + "x", path);
       }},
      {"rewritten longer", [](const std::string& path) { WriteBytes(path, "A\n9\n8\n7\n6\n"); }},
  };
  for (const std::string options : {"?follow", "?loop"}) {
    for (const auto& [name, change] : rows) {
      SCOPED_TRACE(options + ' ' + name);
      Write("a.csv", start);
      const auto device = Running(Text("a.csv", options));
      EXPECT_FALSE(device->HostGone());
      change(folder_ / "a.csv");
      // A replay has read everything; a reader that follows meets the change at once.
      EXPECT_EQ(device->GetData(1, kEngineeringUnits).has_value(), options == "?loop");
      EXPECT_TRUE(device->HostGone());
      EXPECT_FALSE(device->GetData(1, kEngineeringUnits));
      Write("a.csv", start);
      EXPECT_TRUE(device->HostGone()) << "for good";
    }
  }
}

/// Writes frames with libsndfile.
void WriteSound(const std::string& path, int format, int channels,
                const std::vector<double>& samples) {
  SF_INFO info{};
  info.samplerate = 8000;
  info.channels = channels;
  info.format = format;
  SNDFILE* const sound = sf_open(path.c_str(), SFM_WRITE, &info);
  ASSERT_NE(sound, nullptr) << sf_strerror(nullptr);
  const auto count = static_cast<sf_count_t>(samples.size());
  ASSERT_EQ(sf_write_double(sound, samples.data(), count), count);
  sf_close(sound);
}

TEST_F(Recording, ReplaysSoundFilesOfEveryDepth) {
  // Name, format, step of the stored numbers.
  const std::tuple<const char*, int, double> rows[] = {
      {"8 bit", SF_FORMAT_WAV | SF_FORMAT_PCM_U8, 0x1p-7},
      {"16 bit", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 0x1p-15},
      {"24 bit", SF_FORMAT_WAV | SF_FORMAT_PCM_24, 0x1p-23},
      {"32 bit", SF_FORMAT_WAV | SF_FORMAT_PCM_32, 0x1p-31},
      {"float", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 0},
      {"double", SF_FORMAT_WAV | SF_FORMAT_DOUBLE, 0},
      {"big endian", SF_FORMAT_AIFF | SF_FORMAT_PCM_16, 0x1p-15},
      {"lossless", SF_FORMAT_FLAC | SF_FORMAT_PCM_24, 0x1p-23},
  };
  // Three channels whose values every depth holds exactly, but for a full scale of 1.
  const std::vector<double> frames{-1, 0.5, 0, 0.25, -0.5, 0.0078125, 0, 0.75, -0.0078125};
  for (const auto& [name, format, step] : rows) {
    WriteSound(folder_ / "a.snd", format, 3, frames);
    const auto device = Running(Text("a.snd", "?start=0"));
    now_ = kSecond * 2 / 8000;
    EXPECT_EQ(device->SampleRate(), 8000) << name;
    ASSERT_EQ(device->Channels().size(), 3U) << name;
    EXPECT_EQ(device->Channels()[0].low, -1);
    for (std::size_t channel = 0; channel < 3; ++channel) {
      const std::vector<double> values = Values(*device, channel, 3);
      const std::vector<double> words = Values(*device, channel, 3, kRawWords);
      for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_NEAR(values[i], frames[i * 3 + channel], step) << name << channel << i;
        EXPECT_EQ(words[i], std::round(values[i] * 32768)) << name << channel << i;
      }
    }
  }
}

TEST_F(Recording, SoundRangeIsFullScaleAndEnclosesFloats) {
  WriteSound(folder_ / "a.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 1, {0.5, -2, NAN, 1});
  const auto device = Running(Text("a.wav", "?start=0&range=0..10"));
  now_ = kSecond * 3 / 8000;
  EXPECT_THAT(Values(*device, 0, 4), ElementsAre(7.5, -5, -5, 10));
  EXPECT_EQ(device->Channels()[0].low, -5);
  EXPECT_EQ(device->Channels()[0].high, 15);
  EXPECT_THAT(Values(*device, 0, 4, kRawWords), ElementsAre(8192, -32768, -32768, 16384));
}

TEST_F(Recording, ReadsAWaveFileWrittenByHandAndCutShort) {
  // RIFF header, 1 channel, 16 bit, 4 Hz; the header promises 8 samples, the file holds 3.
  const unsigned char bytes[] = {
      'R', 'I', 'F', 'F', 52,  0,   0,  0, 'W', 'A', 'V',  'E',  'f',  'm',  't',  ' ', 16,
      0,   0,   0,   1,   0,   1,   0,  4, 0,   0,   0,    8,    0,    0,    0,    2,   0,
      16,  0,   'd', 'a', 't', 'a', 16, 0, 0,   0,   0x34, 0x12, 0xFF, 0x7F, 0x00, 0x80};
  Write("a.wav", std::string(reinterpret_cast<const char*>(bytes), sizeof bytes));
  const auto device = Running(Text("a.wav", "?start=0"));
  EXPECT_EQ(device->SampleRate(), 4);
  now_ = kSecond / 2;
  EXPECT_THAT(Values(*device, 0, 3, kRawWords), ElementsAre(0x1234, 32767, -32768));
}

TEST_F(Recording, ReplaysASoundThatComesWithTheSystem) {
  const std::string path = "/usr/share/sounds/alsa/Front_Center.wav";
  if (!std::filesystem::exists(path)) GTEST_SKIP() << "alsa-utils is not installed";
  const auto device = Running("FI64:" + path + "?start=0");
  EXPECT_EQ(device->SampleRate(), 48000);
  // Words 25000 to 25007, 44 bytes of header before them: xxd -s 50044 -l 16.
  now_ = 25007 * kSecond / 48000 + 1;
  EXPECT_THAT(Values(*device, 0, 8, kRawWords), ElementsAre(-1, 6, 6, -1, 5, 10, 4, -1));
  now_ = (137134 - 44) / 2 * kSecond / 48000 + 1;
  EXPECT_TRUE(device->HostGone());
}

}  // namespace
}  // namespace vantoscope
