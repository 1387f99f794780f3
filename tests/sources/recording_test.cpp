// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/recording.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <array>
#include <bit>
#include <cmath>
#include <filesystem>
#include <numeric>

#include "sources/recording/follow.h"
#include "tests/support/refusal.h"
#include "tests/support/running_device.h"
#include "tests/support/scratch_folder.h"

namespace vantoscope {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::HasSubstr;

/// Recordings of one folder.
class Recording : public testing::Test {
 protected:
  [[nodiscard]] std::string Text(const std::string& name, const std::string& options = {}) const {
    return "FI64:" + folder_ / name + options;
  }
  void Write(const std::string& name, const std::string& bytes) const {
    WriteBytes(folder_ / name, bytes);
  }
  void Append(const std::string& bytes) const {
    Write("a.csv", FileBytes(folder_ / "a.csv") + bytes);
  }

  ScratchFolder folder_;
};

TEST_F(Recording, ReplaysFromTheFirstScanToTheLastAndEnds) {
  Write("a.csv", "Time [ms],Level [m],Flow\n0,1.5,10\n500,2.5,20\n1000,,30\n1500,4.5,40\n");
  RunningDevice device(Text("a.csv"));
  EXPECT_EQ(device->SampleRate(), 2);
  ASSERT_EQ(device->Channels().size(), 2U);
  EXPECT_EQ(device->Channels()[0].unit, "m");
  EXPECT_EQ(device->Channels()[0].low, 1.5);
  EXPECT_THAT(device.Values(0, 3), ElementsAre(1.5, 1.5, 1.5));
  device.now += kSecond;
  EXPECT_THAT(device.Values(0, 4), ElementsAre(1.5, 1.5, 2.5, 2.5));
  EXPECT_EQ(device->LatestValue(1), 30);
  EXPECT_EQ(device->ScansSince(0, 9).scans, 3U) << "none before the first";
  device.now += kSecond - 2'000'000;
  EXPECT_NEAR(device->DataFreshness().age.value(), 0.498901234, 1e-9);
  EXPECT_FALSE(device->HostGone());
  EXPECT_THAT(device.Values(1, 2), ElementsAre(30, 40));
  device.now += 2'000'000;
  EXPECT_FALSE(device->GetData(1, kEngineeringUnits));
  EXPECT_THROW(device->LatestValue(0), SourceError);
  EXPECT_EQ(device->ScansSince(1, 9).scans, 3U) << "none behind the last";
  device.now -= kSecond;
  EXPECT_EQ(device->LatestValue(1), 30) << "the clock was set back";
  device.now += kSecond;
  EXPECT_THAT(device->HostGone().value(), HasSubstr("a.csv' has ended; ?loop repeats it."));
  device.now -= kSecond;
  EXPECT_FALSE(device->GetData(1, kEngineeringUnits)) << "gone for good";
  device.now += 3 * kSecond;
  EXPECT_EQ(device->DataFreshness().reason, "the recording is over");
}

TEST_F(Recording, LoopGoesByTheClockAlone) {
  Write("a.csv", "1\n2\n3\n4\n5\n");
  RunningDevice device(Text("a.csv", "?loop&rate=10"), -3 * (kSecond / 10));
  EXPECT_EQ(device->Name(), Text("a.csv", "?loop&rate=10"));
  EXPECT_THAT(device.Values(0, 4), ElementsAre(5, 1, 2, 3)) << "before time 0";
  EXPECT_EQ(device->ScansSince(-1, 9).scans, 0U);
  device.now = 10000 * kSecond + 3 * (kSecond / 10);  // a round begins with every half second
  EXPECT_THAT(device.Values(0, 12), ElementsAre(3, 4, 5, 1, 2, 3, 4, 5, 1, 2, 3, 4));
  EXPECT_EQ(device->ScansSince(0, 9).first, 100003 - 65535);
}

TEST_F(Recording, WhoeverOpensTheTextOfAnotherIsInStep) {
  std::string lines;
  for (int i = 0; i < 100000; ++i) lines += std::to_string(i) + "\n";
  Write("ramp.csv", lines);
  for (const char* options : {"?rate=48000", "?loop&rate=48000"}) {
    RunningDevice first(Text("ramp.csv", options));
    RunningDevice second(first->Name(), kNow + kSecond / 3);
    first.now = second.now += 200'000'003;
    EXPECT_EQ(first.Values(0, 500), second.Values(0, 500)) << options;
  }
}

TEST_F(Recording, RangesEncloseTheData) {
  Write("a.csv", "A,B\n0,5\n32768,5\n65535,5\n");
  const RunningDevice device(Text("a.csv", "?loop&start=0"), 2 * kSecond);
  EXPECT_EQ(device->Channels()[1].low, 0) << "a constant still has a range";
  EXPECT_EQ(device->Channels()[1].high, 5);
  EXPECT_EQ(device->ScansSince(0, 100).channels[0], Samples(std::vector<double>{0, 32768, 65535}));
  const auto wide = OpenDevice(Text("a.csv", "?range=-0.5..10"));
  EXPECT_EQ(wide->Channels()[0].low, -0.5);
  EXPECT_EQ(wide->Channels()[0].high, 65535) << "encloses the data";
}

TEST_F(Recording, KeepsEveryDoubleOfATextFile) {
  Write("a.csv", "0.1,123456.789,1.2345678901234567\n-0.145,-0.001,1e-300\n");
  const RunningDevice device(Text("a.csv", "?start=0"), kSecond);
  EXPECT_THAT(device.Values(0, 2), ElementsAre(0.1, -0.145));
  EXPECT_THAT(device.Values(1, 2), ElementsAre(123456.789, -0.001));
  EXPECT_THAT(device.Values(2, 2), ElementsAre(1.2345678901234567, 1e-300));
}

TEST_F(Recording, WhatIsMissingIsNan) {
  using testing::IsNan;
  Write("a.csv", "Time [s],U,DigIn,Cntr\n0,1,-1,5\n1,ERR,,OL\n2,OL,300,\n");
  EXPECT_THAT(Refusal([&] { OpenDevice(Text("a.csv")); }), HasSubstr("DigIn holds 300"));
  Write("a.csv", "Time [s],U,DigIn,Cntr\n0,1,-1,5\n1,ERR,,OL\n2,OL,30,\n");
  const std::string followed = "?follow";
  for (const std::string options : {"?start=0", followed.c_str()}) {
    const RunningDevice device(Text("a.csv", options), 2 * kSecond);
    EXPECT_THAT(device.Values(0, 3), ElementsAre(1, IsNan(), INFINITY));
    EXPECT_THAT(device.Values(1, 3), ElementsAre(255, 255, 30));
    EXPECT_THAT(device.Values(2, 3, kRawWords), ElementsAre(-32748, IsNan(), IsNan()));
    EXPECT_EQ(device->Channels()[0].high, options == followed ? 2 : 1) << "finite";
  }
  const RunningDevice device(Text("a.csv", "?follow"));
  testing::internal::CaptureStderr();
  Append("3,1,2,16385\n4,1,2,16386\n");
  EXPECT_THAT(device.Values(2, 1), ElementsAre(IsNan()));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("Cntr holds 16385, but"));
}

TEST_F(Recording, UnequalStepsReplayAtTheirOwnTimes) {
  // In UTF-16 without a byte order mark; 40 s of nothing, and then another table.
  std::string utf16;
  for (const char c :
       std::string("t,U\r\n5,1\r\n6,2\r\n7,3\r\n47,4\r\n48,5\r\n\r\nA,B\r\n1,2\r\n")) {
    utf16 += {c, '\0'};
  }
  Write("a.csv", utf16);
  setenv("VANTOSCOPE_EXPLAIN", "1", 1);
  testing::internal::CaptureStderr();
  RunningDevice device(Text("a.csv", "?start=0"), 3 * kSecond);
  EXPECT_THAT(
      testing::internal::GetCapturedStderr(),
      testing::AllOf(
          HasSubstr(
              "a.csv' is taken for: separator comma; lines ahead of the "
              "numbers: 1; times: numbers of 1 s in field 1; columns: U; scans per second: 1\n"),
          HasSubstr("holds several tables; only the first one is read.\n")));
  unsetenv("VANTOSCOPE_EXPLAIN");
  EXPECT_THAT(device.Values(0, 5), ElementsAre(1, 1, 2, 3, 3));
  device.now = 43 * kSecond;
  EXPECT_EQ(device->LatestValue(0), 5);
  EXPECT_THAT(device.Values(0, 3), ElementsAre(3, 4, 5));
  device.now += kSecond;
  EXPECT_TRUE(device->HostGone());
  const RunningDevice loop(Text("a.csv", "?loop"), 44 * kSecond);
  EXPECT_THAT(loop.Values(0, 4), ElementsAre(3, 4, 5, 1));
}

TEST_F(Recording, TakesPathsAsPeopleWriteThem) {
  for (const char* name : {"run 1.csv", "100%.csv", "what?.csv"}) Write(name, "1\n2\n");
  const auto name = [&](const std::string& text) { return OpenDevice(text)->Name(); };
  EXPECT_EQ(name(folder_ / "run 1.csv" + "?loop"), Text("run%201.csv", "?loop"));
  EXPECT_EQ(name(folder_ / "run%201.csv" + "?loop"), Text("run%201.csv", "?loop"));
  EXPECT_EQ(name(folder_ / "100%.csv" + "?loop"), Text("100%25.csv", "?loop"));
  EXPECT_EQ(name(folder_ / "what?.csv" + "?loop"), Text("what%3F.csv", "?loop"));
  EXPECT_THAT(name(folder_ / "what?.csv"), HasSubstr("/what%3F.csv?start="));
  const auto here = std::filesystem::relative(folder_ / "run 1.csv").string();
  EXPECT_THAT(name(here), testing::StartsWith("FI64:/"));
}

TEST_F(Recording, RefusesWithPathAndReason) {
  Write("text.csv", "a,b\nc,d\n");
  Write("good.csv", "1,2\n3,4\n");
  Write("FORM", "RIFF,FORM\n1,2\n");
  EXPECT_EQ(OpenDevice(Text("FORM"))->Channels().size(), 2U) << "no sound";
  Write("fake.wav", "RIFFxxxxWAVEjunk");
  Write("bench.sr", "PK\x03\x04junk");
  Write("quote.csv", "1,2\n\"3," + std::string(3'000'000, 'x'));
  Write("torn.csv", "1,2");
  Write("back.csv", "Time,U\n1,1\n2,2\n0,3\n1,4\n");
  Write("still.csv", "Date,U\n2024-05-01,1\n2024-05-01,2\n");
  Write("words.csv", "Date,U\nWed 7,1\nThu 8,2\n");
  for (const char* name : {"back.csv", "still.csv", "words.csv"}) {
    EXPECT_EQ(OpenDevice(Text(name, "?rate=7"))->SampleRate(), 7) << name;
  }
  Write("count.csv", "Cntr,A\n\n1,2\n70000,2\n80000,2\n3,3\n");
  const std::pair<std::string, const char*> rows[] = {
      {Text("missing.csv"), "missing.csv' cannot be opened: No such file"},
      {Text(""), "/' cannot be read: it is no regular file"},
      {"FI64", "path of its file"},
      {Text("text.csv"), "text.csv' has no column of numbers;"},
      {Text("torn.csv", "?follow"), "torn.csv' has no column of numbers yet"},
      {Text("fake.wav"), "fake.wav' cannot be read as a sound file: "},
      {Text("fake.wav", "?follow"), "fake.wav' is a sound file, which cannot be followed"},
      {Text("bench.sr"), "bench.sr' is a session of sigrok, which is not read; 'sigrok-cli"},
      {Text("quote.csv"), "quote.csv' cannot be read: a field is longer than a mebibyte"},
      {Text("back.csv"), "times that run backwards, the first of them in line 4; ?rate="},
      {Text("still.csv"), "still.csv' has times that do not rise; ?rate=R says"},
      {Text("words.csv"), "a first column of times, but 'Wed 7' is not understood as one; ?rate=R"},
      {Text("good.csv", "?dates=ymd"), "dates=ymd is neither dmy"},
      {Text("count.csv"), "Cntr holds 70000, but a raw word holds only 0 to 16384 (line 4)."},
      {Text("count.csv", "?follow"), "cannot be followed: Cntr holds 70000"},
      {Text("good.csv", "?loop=2"), "loop takes no value, but has '2'"},
      {Text("good.csv", "?range=1..1"), "range=1..1 is not LO..HI"},
      {Text("good.csv", "?range=1"), "range=1 is not LO..HI"},
      {Text("good.csv", "?lop"), "no option 'lop'; it knows follow, loop,"},
      {Text("good.csv", "?follow&loop"), "followed has no loop"},
  };
  for (const auto& [text, part] : rows) {
    EXPECT_THAT(Refusal([&, path = text] { OpenDevice(path); }), HasSubstr(part));
  }
}

TEST_F(Recording, FollowsWhatARecorderAppends) {
  Write("a.csv", "Time [s],Level [m]\n0,1\n0.1,2\n");
  const RunningDevice device(Text("a.csv", "?follow"));
  EXPECT_EQ(device->SampleRate(), 10);
  EXPECT_THAT(device.Values(0, 2), ElementsAre(1, 2));
  EXPECT_FALSE(device->GetData(3, kEngineeringUnits));
  Append("0.2,3\n0.3,4");  // torn
  EXPECT_THAT(device.Values(0, 3), ElementsAre(1, 2, 3));
  Append("5.5");
  EXPECT_EQ(device->LatestValue(0), 3);
  Append("\n0.4,\n");  // an empty field repeats
  EXPECT_THAT(device.Values(0, 3), ElementsAre(3, 45.5, 45.5));
  EXPECT_EQ(device->ScansSince(3, 10).scans, 2U);
}

/// Nobody fetches a scan here.
TEST_F(Recording, FollowedAgeIsTheFilesAtFirstAndThenThatOfOurReads) {
  const std::string path = folder_ / "a.csv";
  std::int64_t steady = 0;
  std::int64_t wall = 10'000 * kSecond;
  const auto write = [&](const std::string& text, std::int64_t behind) {
    test::WriteBytes(path, test::FileBytes(path) + text);
    const timespec time{.tv_sec = wall / kSecond - behind, .tv_nsec = 0};
    utimensat(AT_FDCWD, path.c_str(), std::array{time, time}.data(), 0);
  };
  write("Time [s],A\n0,1\n0.1,2\n", 3600);
  const auto device =
      MakeFollow("", std::make_unique<RecordedFile>(path),
                 {.clocks = {.wall = [&] { return wall; }, .steady = [&] { return steady; }},
                  .reader = TextReader::Here});
  // Seconds that pass, what is written then, how many seconds the file's clock is behind; the age.
  const std::tuple<const char*, double, const char*, std::int64_t, double> rows[] = {
      {"stopped an hour ago", 0, "", 0, 3600},
      {"a server an hour behind", 1, "0.2,3\n", 3600, 1},
      {"a server ahead", 0.5, "0.3,4\n", -3600, 0},
      {"at the limit", 2, "", 0, 2},
      {"half a line", 0.25, "0.4,", 0, 2.25},
      {"the rest of it", 0, "5\n", 0, 0},
      {"not asked for a while", 3, "0.6,6\n", 3600, 3},
  };
  for (const auto& [what, seconds, text, behind, age] : rows) {
    steady += std::llround(seconds * kSecond);
    wall -= 500 * kSecond;  // set back every time
    if (*text != '\0') write(text, behind);
    const Freshness data = device->DataFreshness();
    EXPECT_NEAR(data.age.value(), age, 1e-9) << what;
    EXPECT_EQ(data.reason, age > 2 ? "the recorder writes nothing" : "") << what;
  }
  std::filesystem::remove(path);
  EXPECT_EQ(device->DataFreshness().reason, "the recording is gone or was replaced");
}

TEST_F(Recording, FollowedRangeLeavesRoomAndWidens) {
  Write("a.csv", "A,B\n-1.2,30\n1,-0.1\n");
  const RunningDevice device(Text("a.csv", "?follow"));
  EXPECT_EQ(device->Channels()[0].low, -5);  // twice 1.2 is 2.4
  EXPECT_EQ(device->Channels()[0].high, 5);
  EXPECT_EQ(device->Channels()[1].high, 100);
  Append("7,0\n5,0\n");
  EXPECT_THAT(device.Values(0, 2), ElementsAre(7, 5));
  EXPECT_EQ(device->Channels()[0].high, 20) << "twice 7 is 14";
  EXPECT_EQ(OpenDevice(Text("a.csv", "?follow&range=0..8"))->Channels()[0].low, -1.2);
}

TEST_F(Recording, FollowReadsAndKeepsOnlyTheEndOfALongFile) {
  std::string lines = "N\n";
  for (int i = 100'000; i < 400'000; ++i)
    lines += std::to_string(i) + "." + std::string(30, '0') + "\n";
  Write("a.csv", lines + "400000\n");
  const RunningDevice device(Text("a.csv", "?follow&range=200000..500000"));
  Append("400001\n");
  std::vector<double> expected(32767);
  std::iota(expected.begin(), expected.end(), 400'001 - 32766);
  EXPECT_EQ(device.Values(0, 32767), expected);
  EXPECT_LT(device->ScansSince(-1, 1).first, 200'000);  // counted from the first line that was read
  EXPECT_EQ(device->ScansSince(0, 40'000).scans, 32768U);
  EXPECT_EQ(device->Channels()[0].low, 200'000) << "the line that the reader fell into is torn";
}

TEST_F(Recording, EndsWhenTheFileIsNoLongerTheSame) {
  const std::string start = "A\n1\n2\n3\n";
  for (const std::string options : {"?follow", "?loop"}) {
    const std::pair<std::string, const char*> rows[] = {{"deleted", "is gone"},
                                                        {"truncated", "was truncated"},
                                                        {"replaced", "was replaced"},
                                                        {"rewritten", "was written anew"}};
    for (const auto& [change, fate] : rows) {
      SCOPED_TRACE(options + ' ' + change);
      Write("a.csv", start);
      const RunningDevice device(Text("a.csv", options));
      EXPECT_FALSE(device->HostGone());
      if (change == "deleted") std::filesystem::remove(folder_ / "a.csv");
      if (change == "truncated") Write("a.csv", "");
      if (change == "rewritten") Write("a.csv", "A\n9\n8\n7\n6\n");
      Write("b.csv", start + "4\n");
      if (change == "replaced") std::filesystem::rename(folder_ / "b.csv", folder_ / "a.csv");
      // A replay has read everything; a reader that follows meets the change at once.
      EXPECT_EQ(device->GetData(1, kEngineeringUnits).has_value(), options == "?loop");
      EXPECT_EQ(device->HostGone(), "The recording '" + folder_ / "a.csv" + "' " + fate + ".");
      EXPECT_FALSE(device->GetData(1, kEngineeringUnits));
      Write("a.csv", start);
      EXPECT_TRUE(device->HostGone()) << "for good";
    }
  }
}

/// `bytes` bytes of each number, the lowest first.
std::string Le(std::size_t bytes, const std::vector<std::uint32_t>& numbers) {
  std::string text;
  for (const std::uint32_t number : numbers) {
    for (std::size_t i = 0; i < bytes; ++i) text += static_cast<char>(number >> (8 * i));
  }
  return text;
}

/// A RIFF file of 4 frames per second, by its description; the header promises 100 bytes of samples
/// more than there are.
std::string Wave(std::uint32_t format, std::uint32_t channels, std::uint32_t bytes,
                 const std::vector<std::uint32_t>& samples) {
  const std::string data = Le(bytes, samples);
  const auto size = static_cast<std::uint32_t>(data.size() + 100);
  return "RIFF" + Le(4, {size + 36}) + "WAVEfmt " + Le(4, {16}) + Le(2, {format, channels}) +
         Le(4, {4, 4 * channels * bytes}) + Le(2, {channels * bytes, 8 * bytes}) + "data" +
         Le(4, {size}) + data;
}

TEST_F(Recording, ReplaysSoundOfEveryDepth) {
  Write("two.wav", Wave(1, 2, 2, {7, 0x1234, 7, 0x8000}));
  const RunningDevice two(Text("two.wav", "?start=0"), kSecond / 4);
  EXPECT_EQ(two->SampleRate(), 4);
  EXPECT_THAT(two.Values(1, 2), ElementsAre(0x1234 / 32768.0, -1));
  EXPECT_THAT(two.Values(1, 2, kRawWords), ElementsAre(0x1234, -32768));
  Write("two.wav", "");
  EXPECT_TRUE(two->HostGone());
  Write("wide.wav", Wave(1, 1, 3, {0x400000, 0x800000, 1}));
  const RunningDevice wide(Text("wide.wav", "?start=0"), kSecond / 2);
  EXPECT_THAT(wide.Values(0, 3), ElementsAre(0.5, -1, 0x1p-23));
  // The range is full scale; floats go beyond it.
  const auto bits = [](float number) { return std::bit_cast<std::uint32_t>(number); };
  Write("float.wav", Wave(3, 1, 4, {bits(0.5F), bits(-2), bits(NAN)}));
  const RunningDevice floats(Text("float.wav", "?start=0&range=0..10"), kSecond / 2);
  EXPECT_THAT(floats.Values(0, 3), ElementsAre(7.5, -5, testing::IsNan()));
  EXPECT_EQ(floats->Channels()[0].low, -5);
  EXPECT_EQ(floats->Channels()[0].high, 15);
}

}  // namespace
}  // namespace vantoscope
