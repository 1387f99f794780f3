// SPDX-License-Identifier: GPL-3.0-or-later
// Recordings that are read while they are played.
#include <gmock/gmock.h>

#include <bit>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstring>
#include <fstream>
#include <mutex>

#include "sources/recording/csv_index.h"
#include "sources/recording/recording.h"
#include "sources/recording/scan_reader.h"
#include "tests/support/refusal.h"
#include "tests/support/running_device.h"
#include "tests/support/scratch_folder.h"

namespace vantoscope {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr std::int64_t kMinute = 60 * kSecond;

ReadAt Reading(const std::string& bytes) {
  return [&bytes](std::uint64_t offset, std::span<char> to) {
    return bytes.copy(to.data(), to.size(), std::min<std::size_t>(offset, bytes.size()));
  };
}

/// Times and values of all rows, nan as -1.
std::vector<double> AllRows(const std::function<void(const CsvRows::Take&)>& read) {
  std::vector<double> rows;
  const auto add = [&](double number) { rows.push_back(std::isnan(number) ? -1 : number); };
  read([&](const CsvRow& row) {
    add(row.seconds.value_or(-2));
    for (const double value : row.values) add(value);
  });
  return rows;
}

std::string Repeated(const std::string& line, int times) {
  std::string text;
  for (int i = 0; i < times; ++i) text += line;
  return text;
}

TEST(CsvIndex, ReadsTheSameRowsInStretchesOfAnySize) {
  std::string utf16 = "\xFF\xFE";
  for (const char c : std::string("t,U\r\n5,1\r\n6,2\r\n\r\n7,3\r\n,4\r\n8,5\r\n"))
    utf16 += {c, '\0'};
  const std::pair<const char*, std::string> files[] = {
      {"plain", "Time [s],A,B\n" + Repeated("1,2,3\n2.5,-4e1,5\n", 9)},
      {"line ends", "t,A,B\r\n1,2,9\r\n\r\n3,4,8\n5\r6,7,7\n\n8,9,6"},
      {"quotes", "t,Text,A\n1,\"x\ny,z\",2\n2,\"\",3\n3,\"a\"\"b\",4\n4,\"stray,5\n5,c,\"6\"\n"},
      {"slower channels", "t,A,B\n1,10,20\n2,,21\n3,,\n4,,22\n5,11,\n6,,\n7,,23\n8,12,24\n9,,\n"},
      {"comments", "# by hand\nA;B\n1;2\n# later\n3;4\nA;B\n5;6\n//\n7;n/a\nOL;8\nx;y\n"},
      {"another table", "A,B\n1,2\n3,4\n\nC,D\n5,6\n7,8\n"},
      {"blanks", "  t   A\n  1   2\n 10\t20\n\n 11   -\n\n\n 12  40\n"},
      {"midnight", "Clock,A\n23:59:58,1\n23:59:59,2\n00:00:00,3\n" + Repeated("00:00:01,4\n", 5)},
      {"dates", "Date;Clock;A\n" + Repeated("01.05.2024;08:00:00;1,5\n02.05.2024;;2,5\n", 5)},
      {"torn", "t,A\n1,2\n3,4\n5"},
      {"UTF-16", utf16},
  };
  for (const auto& [name, bytes] : files) {
    TextDecoder decoder(bytes);
    const std::string text(decoder.Decode(std::string_view(bytes).substr(decoder.MarkSize())));
    const CsvLayout layout = FindCsvLayout(text);
    ASSERT_FALSE(layout.columns.empty()) << name;
    const std::vector<double> rows = AllRows([&, &file = text](const CsvRows::Take& take) {
      CsvRows whole(layout, false, take);
      whole.Feed(file);
      whole.Finish();
    });
    EXPECT_GE(rows.size(), 4U) << name;
    for (std::size_t size = 1; size <= bytes.size() + 1; ++size) {
      CsvIndex index("", {Reading(bytes), TextDecoder(bytes)}, layout, {}, size);
      while (!index.Complete()) index.ReadOn();
      const auto found = AllRows([&](const CsvRows::Take& take) {
        for (const CsvStretch& stretch : index.Stretches()) index.Read(stretch, take);
      });
      ASSERT_EQ(found, rows) << name << " in stretches of " << size;
      EXPECT_EQ(index.Length() * static_cast<std::int64_t>(1 + layout.columns.size()),
                static_cast<std::int64_t>(rows.size()));
    }
  }
}

TEST(CsvIndex, FindsRowsBehindEightGibibytes) {
  constexpr std::uint64_t kLine = 25'000;
  constexpr std::uint64_t kLines = 350'000;
  static_assert(kLine * kLines > std::uint64_t{1} << 33U);
  // Every line is a number, a comma and a text that fills it.
  const ReadAt read = [](std::uint64_t offset, std::span<char> to) {
    const std::uint64_t left = kLine * kLines - std::min(offset, kLine * kLines);
    const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(to.size(), left));
    std::memset(to.data(), 'x', size);
    for (std::uint64_t line = offset / kLine; line * kLine < offset + size; ++line) {
      const std::string number = std::to_string(line) + ',';
      for (std::uint64_t i = 0; i < kLine; i = i == number.size() - 1 ? kLine - 1 : i + 1) {
        const std::uint64_t place = line * kLine + i;
        if (place < offset || place >= offset + size) continue;
        to[place - offset] = i < number.size() ? number[i] : '\n';
      }
    }
    return size;
  };
  CsvLayout layout;
  layout.columns.push_back({.field = 0});
  CsvIndex index("", {read, TextDecoder()}, layout, {}, 4'000'000);
  while (!index.Complete()) index.ReadOn();
  EXPECT_EQ(index.Length(), kLines);
  std::vector<double> last;
  index.Read(index.Stretches().back(), [&](const CsvRow& row) { last.push_back(row.values[0]); });
  ASSERT_FALSE(last.empty());
  EXPECT_EQ(last.back(), kLines - 1);
}

TEST(RowScans, FollowTheTimesWhereTheyLeaveEvenSteps) {
  const auto scans = [](const std::vector<double>& head, const std::vector<double>& seconds) {
    RowScans rows(TimelineOf(head));
    std::vector<std::int64_t> found;
    for (const double time : seconds) found.push_back(rows.Next(time).value_or(-1));
    return found;
  };
  const std::vector<double> even{0, 0.5, 1, 1.5, 2};
  EXPECT_THAT(scans(even, {0, 0.5, NAN, 1.5, 61, 61.5, 61.4}),
              ElementsAre(0, 1, 2, 3, 122, 123, -1))
      << "a pause; backwards";
  EXPECT_THAT(scans(even, {7, 7.45, 8.1, 8.4}), ElementsAre(0, 1, 2, 3)) << "jitter";
  EXPECT_THAT(scans(even, {0, 0.1, 0.2, 0.3, 0.4, 0.5}), ElementsAre(0, 1, 1, 2, 2, 2)) << "faster";
  EXPECT_THAT(scans({0, 1, 2, 3, 9}, {0, 1, 1.2, 2.5, 9}), ElementsAre(0, 1, 2, 3, 9)) << "uneven";
}

class LongRecording : public testing::Test {
 protected:
  std::string Write(const std::string& bytes) {
    WriteBytes(folder_ / "a.csv", bytes);
    return folder_ / "a.csv";
  }
  /// Read while it is played, unless `whole`.
  std::unique_ptr<Device> Open(const std::string& options, bool whole = false) {
    DeviceText text = ParseAnyDeviceText("FI64:" + folder_ / "a.csv" + options);
    auto device = OpenRecording(
        std::move(text), [this] { return now_; }, {}, whole ? kWholeBytes : 0);
    device->Start();
    return device;
  }
  /// Waits for what is still being read.
  static std::vector<double> Newest(Device& device, std::size_t channel, std::int16_t count) {
    for (int i = 0; i < 1000; ++i) {
      if (const auto block = device.GetData(count, kEngineeringUnits)) {
        const std::span<const double> values = block->Channel(channel);
        return {values.begin(), values.end()};
      }
      if (device.HostGone()) break;
    }
    return {};
  }

  std::int64_t now_ = 0;
  ScratchFolder folder_;
};

/// Some megabytes of it.
std::string Ramp(int lines) {
  std::string text = "Time [s],N,Slow\n";
  for (int i = 0; i < lines; ++i) {
    text += std::to_string(i / 100) + (i % 100 < 10 ? ".0" : ".") + std::to_string(i % 100) + "," +
            std::to_string(i) + "," + (i % 7000 == 0 ? std::to_string(i / 7000) : "") + "\n";
  }
  return text;
}

TEST_F(LongRecording, PlaysTheSameScansAsOneThatIsReadWhole) {
  const std::string ramp = Ramp(300'000);
  const std::string uneven = "t,U\n5,1\n6,2\n7,3\n47,4\n48.5,5\n48.5,6\n50,7\n";
  const std::tuple<std::string, const char*, std::vector<double>> rows[] = {
      {ramp, "?start=0", {-5, 0, 3, 700, 2500.37, 2999.99, 3000}},
      {ramp, "?loop", {-1, 0.5, 2999.99, 3000, 6100.5}},
      {ramp, "?start=0&rate=50000", {0.00002, 5.99998}},
      {uneven, "?start=0", {0, 2, 30, 42, 43, 44, 45}},
      {uneven, "?loop", {20, 45, 46, 47, 91, 92}},
  };
  for (const auto& [bytes, options, seconds] : rows) {
    Write(bytes);
    const auto played = Open(options);
    const auto whole = Open(options, true);
    EXPECT_EQ(played->SampleRate(), whole->SampleRate()) << options;
    for (const double second : seconds) {
      now_ = std::llround(second * kSecond);
      for (std::size_t channel = 0; channel < whole->Channels().size(); ++channel) {
        EXPECT_EQ(Newest(*played, channel, 900), Newest(*whole, channel, 900))
            << options << ' ' << second;
      }
    }
    EXPECT_EQ(played->HostGone(), whole->HostGone()) << options;
  }
}

TEST_F(LongRecording, RangeGrowsAndOddValuesAreNan) {
  std::string text = "Time [s],A,Cntr,Text\n";
  for (int i = 0; i < 60'000; ++i) {
    text += std::to_string(i) + "," + (i == 59'001 ? "7000" : "1.5") + "," +
            (i == 59'002 ? "70000," : "5,") + std::string(150, 'x') + "\n";
  }
  Write(text + "9,9,9,x\n");
  testing::internal::CaptureStderr();
  const auto device = Open("?start=0");
  EXPECT_EQ(device->Channels()[0].high, 5) << "twice 1.5 is 3";
  now_ = 59'003 * kSecond;
  EXPECT_THAT(Newest(*device, 0, 3), ElementsAre(7000, 1.5, 1.5));
  EXPECT_EQ(device->Channels()[0].high, 20'000);
  EXPECT_THAT(Newest(*device, 1, 2), ElementsAre(testing::IsNan(), 5));
  now_ = 60'000 * kSecond;
  EXPECT_THAT(Newest(*device, 0, 1), ElementsAre()) << "behind the end";
  EXPECT_THAT(device->HostGone().value(), HasSubstr("has ended"));
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              testing::AllOf(HasSubstr("Cntr holds 70000, but"),
                             HasSubstr("times that run backwards in line 60002, where it ends")));
}

TEST_F(LongRecording, AThousandColumns) {
  std::string header = "Time [s]";
  std::string line;
  for (int i = 1; i < 1000; ++i) {
    header += ",C" + std::to_string(i);
    line += "," + std::to_string(i);
  }
  for (int i = 0; i < 300; ++i) header += "\n" + std::to_string(i) + line;
  Write(header);
  const auto device = Open("?start=0");
  ASSERT_EQ(device->Channels().size(), 999U);
  EXPECT_EQ(device->Channels()[998].name, "C999");
  EXPECT_EQ(device->Channels()[998].number, 1000) << "999 would have one digit more";
  now_ = 299 * kSecond;
  EXPECT_THAT(Newest(*device, 998, 2), ElementsAre(999, 999));
}

TEST_F(LongRecording, RefusesWhatAFileThatIsReadWholeIsRefusedFor) {
  const std::pair<std::string, const char*> rows[] = {
      {"Time,U\n1,1\n2,2\n0,3\n", "run backwards, the first of them in line 4; ?rate=R"},
      {"Date,U\n2024-05-01,1\n2024-05-01,2\n", "has times that do not rise; ?rate=R"},
      {"Cntr,A\n\n1,2\n70000,2\n",
       "Cntr holds 70000, but a raw word holds only 0 to 16384 (line 4)."},
      {"1,2\n\"3," + std::string(3'000'000, 'x'), "a.csv' cannot be read: a field is longer than"}};
  for (const auto& [bytes, part] : rows) {
    Write(bytes);
    EXPECT_THAT(Refusal([&] { Open(""); }), HasSubstr(part));
    EXPECT_THAT(Refusal([&] { Open("", true); }), HasSubstr(part));
  }
}

/// `bytes` bytes of each number, the lowest first.
std::string Le(std::size_t bytes, std::uint64_t number) {
  std::string text;
  for (std::size_t i = 0; i < bytes; ++i) text += static_cast<char>(number >> (8 * i));
  return text;
}

TEST_F(LongRecording, SoundOfTenGigabytes) {
  // RF64 of 32-bit floats; a hole but for the last frame, beyond full scale.
  constexpr std::uint64_t kFrames = 2'500'000'000;
  const std::string head = "RF64\xFF\xFF\xFF\xFFWAVEds64" + Le(4, 28) + Le(8, 4 * kFrames + 72) +
                           Le(8, 4 * kFrames) + Le(8, kFrames) + Le(4, 0) + "fmt " + Le(4, 16) +
                           Le(2, 3) + Le(2, 1) + Le(4, 1000) + Le(4, 4000) + Le(2, 4) + Le(2, 32) +
                           "data\xFF\xFF\xFF\xFF";
  std::ofstream file(Write(head), std::ios::in | std::ios::out | std::ios::binary);
  file.seekp(static_cast<std::streamoff>(head.size() + 4 * (kFrames - 1)));
  file << Le(4, std::bit_cast<std::uint32_t>(-3.0F));
  file.close();
  const auto device = Open("?start=0&range=0..10");
  EXPECT_EQ(device->SampleRate(), 1000);
  EXPECT_EQ(device->Channels()[0].low, 0);
  now_ = 2'500'000 * kSecond - 1'000'000;
  EXPECT_THAT(Newest(*device, 0, 2), ElementsAre(5, -10));
  EXPECT_EQ(device->Channels()[0].low, -50) << "twice 20 is 40";
  now_ += 1'000'000;
  EXPECT_THAT(device->HostGone().value(), HasSubstr("has ended"));
}

/// Scans of a file system that answers when it is told to.
class SlowSource final : public ScanSource {
 public:
  struct Gate {
    std::mutex mutex;
    std::condition_variable changed;
    bool open = false;
  };
  SlowSource(std::shared_ptr<Gate> gate, const std::string& path)
      : gate_(std::move(gate)), file_(path) {}

  void ReadOn() override {
    std::unique_lock lock(gate_->mutex);
    gate_->changed.wait(lock, [this] { return gate_->open; });
    known_ = 10;
  }
  [[nodiscard]] std::int64_t Known() const override { return known_; }
  [[nodiscard]] bool Complete() const override { return known_ > 0; }
  std::shared_ptr<const ScanPiece> Read(std::int64_t) override {
    ScanPiece piece{.first = 0, .end = 10, .stored = {}};
    piece.stored.emplace_back(std::vector<float>(10, 2.5F));
    return std::make_shared<const ScanPiece>(std::move(piece));
  }
  [[nodiscard]] const RecordedFile& File() const override { return file_; }

 private:
  std::shared_ptr<Gate> gate_;
  RecordedFile file_;
  std::int64_t known_ = 0;
};

TEST_F(LongRecording, NobodyWaitsForAFileSystemThatHangs) {
  using std::chrono::steady_clock;
  const auto gate = std::make_shared<SlowSource::Gate>();
  const std::string path = Write("1\n");
  auto reader = std::make_unique<ScanReader>(std::make_unique<SlowSource>(gate, path), 1);
  const auto begin = steady_clock::now();
  EXPECT_FALSE(reader->Get({{.first = 3, .last = 4}}));
  EXPECT_EQ(reader->Missing(), "the recording is still being read");
  while (steady_clock::now() - begin < std::chrono::milliseconds(1200)) {
    EXPECT_FALSE(reader->Get({{.first = 3, .last = 4}}));
    EXPECT_FALSE(reader->Gone());
  }
  EXPECT_EQ(reader->Missing(), "the file system does not answer");
  const auto hung = steady_clock::now();
  for (int i = 0; i < 100; ++i) {
    EXPECT_FALSE(reader->Get({{.first = 3, .last = 4}}));
    EXPECT_FALSE(reader->Gone());
    EXPECT_FALSE(reader->Length(true));
  }
  EXPECT_LT(steady_clock::now() - hung, std::chrono::milliseconds(500));
  const auto open = [&] {
    const std::scoped_lock lock(gate->mutex);
    gate->open = true;
    gate->changed.notify_all();
  };
  open();
  std::optional<ScanReader::Pieces> pieces;
  while (!(pieces = reader->Get({{.first = 3, .last = 4}}))) continue;
  EXPECT_EQ(pieces->front()->stored[0][4], 2.5);
  EXPECT_FALSE(reader->Get({{.first = 9, .last = 10}})) << "behind the end";

  gate->open = false;
  reader = std::make_unique<ScanReader>(std::make_unique<SlowSource>(gate, path), 1);
  EXPECT_FALSE(reader->Get({{.first = 0, .last = 0}}));
  reader.reset();  // while its thread hangs
  open();
}

}  // namespace
}  // namespace vantoscope
