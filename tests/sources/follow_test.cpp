// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/follow.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <filesystem>
#include <future>
#include <thread>

#include "sources/recording/live_table.h"
#include "tests/support/refusal.h"
#include "tests/support/scratch_folder.h"

namespace vantoscope {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::HasSubstr;

std::vector<double> Newest(Device& device, std::int16_t count) {
  const std::optional<Block> block = device.GetData(count, kEngineeringUnits);
  if (!block) return {};
  return {block->Channel(0).begin(), block->Channel(0).end()};
}

/// 20000 lines of two columns: the number of the line, and ten times as much or what `second` makes
/// of it.
std::string Lines(
    std::string (*second)(int) = [](int i) { return std::to_string(10 * i); },
    const std::string& end = "\n") {
  std::string text = "A,B" + end;
  for (int i = 0; i < 20'000; ++i) text += std::to_string(i) + "," + second(i) + end;
  return text;
}

std::string InUtf16(const std::string& text) {
  std::string wide;
  for (const char c : text) wide += {c, '\0'};
  return wide;
}

/// However its text comes, and however many scans somebody wants at a time.
TEST(LiveTable, ReadsTheSameFromPiecesOfAnySize) {
  const auto seldom = [](int i) { return i % 5000 == 0 ? std::to_string(10 * i) : ""; };
  const auto quoted = [](int i) {
    return i % 9 == 0 ? "\"\n" + std::to_string(10 * i) + "\"" : "0";
  };
  const auto remarked = [](int i) { return std::to_string(10 * i) + (i % 3 == 0 ? "\n#,1" : ""); };
  // The values of the second column in the last lines, 19998 and 19999.
  const std::tuple<const char*, std::string, double, double> rows[] = {
      {"plain", Lines(), 199980, 199990},
      {"CR LF", Lines([](int i) { return std::to_string(10 * i); }, "\r\n"), 199980, 199990},
      {"CR alone", Lines([](int i) { return std::to_string(10 * i); }, "\r"), 199980, 199990},
      {"UTF-16", InUtf16(Lines()), 199980, 199990},
      {"a slower channel", Lines(seldom), 150000, 150000},
      {"line ends in quotes", Lines(quoted), 199980, 0},
      {"comments", Lines(remarked), 199980, 199990},
  };
  for (const auto& [name, text, last_but_one, last] : rows) {
    for (const std::size_t size : {std::size_t{333}, std::size_t{50'000}, text.size()}) {
      for (const std::size_t wanted : {2U, 15'000U}) {
        SCOPED_TRACE(testing::Message() << name << ", " << wanted << " by " << size);
        TextPieces pieces({.followed = true}, "It");
        pieces.Feed(std::string_view(text).substr(0, 5000));
        pieces.Settle(false);
        LiveTable table(pieces.Layout(), 2, [](const CsvRow& row, std::span<double> scan) {
          std::ranges::copy(row.values, scan.begin());
        });
        for (std::size_t at = 5000; at < text.size(); at += size) {
          pieces.Feed(std::string_view(text).substr(at, size));
          for (TextPiece& piece : pieces.Take()) table.Add(std::move(piece));
          table.Read(2);
        }
        ASSERT_GE(table.Read(wanted), wanted);
        std::vector<double> first(wanted);
        std::vector<double> second(2);
        table.Copy(0, table.Total() - static_cast<std::int64_t>(wanted), first);
        table.Copy(1, table.Total() - 2, second);
        for (std::size_t i = 0; i < wanted; ++i) {
          ASSERT_EQ(first[i], 20'000.0 - static_cast<double>(wanted - i));
        }
        EXPECT_THAT(second, ElementsAre(last_but_one, last));
      }
    }
  }
}

TEST(LiveTable, EveryScanIsThereForWhomItIsReadInFull) {
  const std::string text = Lines();
  TextPieces pieces({.followed = true}, "It");
  pieces.Feed(text.substr(0, 5000));
  pieces.Settle(false);
  double sum = 0;
  LiveTable table(pieces.Layout(), 2,
                  [&](const CsvRow& row, std::span<double>) { sum += row.values[0]; });
  table.ReadEvery();
  pieces.Feed(text.substr(5000));
  for (TextPiece& piece : pieces.Take()) table.Add(std::move(piece));
  table.Read(1);
  EXPECT_EQ(table.Total(), 20'000);
  EXPECT_EQ(sum, 20'000.0 * 19'999 / 2);
}

/// Answers once it is let go.
class HangingText final : public TextSource {
 public:
  HangingText(std::shared_future<void> go, bool waits) : go_(std::move(go)), waits_(waits) {}
  [[nodiscard]] std::string Subject() const override { return "It"; }
  [[nodiscard]] const CsvLayout& Layout() const override { return layout_; }
  TextNews Begin() override { return {}; }
  TextNews Read() override {
    go_.wait();
    return {.gone = "It is over."};
  }
  [[nodiscard]] bool Waits() const override { return waits_; }

 private:
  std::shared_future<void> go_;
  bool waits_;
  CsvLayout layout_;
};

TEST(TextReader, HoldsNobodyWhileItsTextHangs) {
  for (const bool waits : {true, false}) {
    std::promise<void> go;
    const std::shared_future<void> gone = go.get_future().share();
    TextReader::Beside(std::make_unique<HangingText>(gone, waits))->Take();
    const auto reader = TextReader::Beside(std::make_unique<HangingText>(gone, waits));
    EXPECT_FALSE(reader->Take().gone);
    EXPECT_FALSE(reader->Take().gone);
    go.set_value();
    std::optional<std::string> end;
    while (!(end = reader->Take().gone)) std::this_thread::yield();
    EXPECT_EQ(end, "It is over.");
  }
}

class Rotation : public testing::Test {
 protected:
  std::unique_ptr<Device> Open(bool rotate = true) {
    std::unique_ptr<Device> device = MakeFollow("", std::make_unique<RecordedFile>(path_),
                                                {.rotate = rotate, .reader = TextReader::Here});
    device->Start();
    return device;
  }
  void Append(const std::string& bytes) const { WriteBytes(path_, FileBytes(path_) + bytes); }
  void Rename() const { std::filesystem::rename(path_, path_ + ".1"); }

  ScratchFolder folder_;
  std::string path_ = folder_ / "a.csv";
};

TEST_F(Rotation, GoesOnWithWhatComesInThePlaceOfTheFile) {
  WriteBytes(path_, "Time [s],U [V]\n0,1\n0.1,2\n");
  const auto device = Open();
  Rename();
  WriteBytes(path_ + ".1", FileBytes(path_ + ".1") + "0.2,3\n");
  EXPECT_THAT(Newest(*device, 3), ElementsAre(1, 2, 3)) << "the old one, while there is none";
  EXPECT_FALSE(device->HostGone());
  WriteBytes(path_, "");
  WriteBytes(path_ + ".1", FileBytes(path_ + ".1") + "0.3,4\n0.4,5");
  EXPECT_THAT(Newest(*device, 3), ElementsAre(2, 3, 4)) << "while the new one is empty";
  Append("Time [s],U [V]\n");
  EXPECT_THAT(Newest(*device, 2), ElementsAre(4, 5)) << "the rest of the old one";
  Append("0,6\n0.1,");
  EXPECT_THAT(Newest(*device, 3), ElementsAre(4, 5, 6));
  Append("7\n");
  Rename();
  WriteBytes(path_, "0,8\n");
  EXPECT_THAT(Newest(*device, 3), ElementsAre(6, 7, 8)) << "without a header";
  WriteBytes(path_, "");
  EXPECT_THAT(Newest(*device, 2), ElementsAre(7, 8)) << "truncated";
  WriteBytes(path_, "0.1,9\n");
  EXPECT_THAT(Newest(*device, 2), ElementsAre(8, 9));
  WriteBytes(path_, std::string(70'000, '\0') + "0.2,10\n");
  EXPECT_THAT(Newest(*device, 2), ElementsAre(9, 10)) << "truncated below a writer that stays";
  EXPECT_EQ(device->SampleRate(), 10);
  std::filesystem::remove(path_);
  EXPECT_FALSE(device->HostGone());
  EXPECT_NE(Newest(*device, 1), std::vector<double>()) << "old, but there";
}

TEST_F(Rotation, EndsWhereTheColumnsAreOthers) {
  for (const char* other : {"Time [s],I [A]\n0,1\n", "Time [s],U [V],I [A]\n0,1,2\n", "0,1,2\n",
                            "7\n", "Time [s];U [V]\n0;1\n"}) {
    WriteBytes(path_, "Time [s],U [V]\n0,1\n0.1,2\n");
    const auto device = Open();
    Rename();
    WriteBytes(path_, other);
    EXPECT_EQ(device->HostGone(), "The recording '" + path_ + "' goes on with other columns.")
        << other;
  }
  WriteBytes(path_, "U\n1\n2\n");
  const auto device = Open(false);
  Rename();
  EXPECT_THAT(device->HostGone().value(), HasSubstr("is gone"));
}

/// A named pipe, and a writer that does not wait.
class Stream : public testing::Test {
 protected:
  Stream() { mkfifo(path_.c_str(), 0600); }
  std::unique_ptr<Device> Open(const std::string& text, bool rotate = false) {
    Write(text);
    std::int64_t seconds = 0;
    Opening opening("");
    const Clock clock = [seconds]() mutable { return 1'000'000'000 * seconds++; };
    std::unique_ptr<Device> device = FollowStream(
        "", path_, {.rotate = rotate, .clocks = {.steady = clock}, .reader = TextReader::Here},
        opening);
    device->Start();
    return device;
  }
  void Write(const std::string& text) {
    if (writer_ < 0) writer_ = open(path_.c_str(), O_RDWR | O_CLOEXEC);
    EXPECT_EQ(write(writer_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  void Close() { close(std::exchange(writer_, -1)); }
  ~Stream() override { close(writer_); }

  ScratchFolder folder_;
  std::string path_ = folder_ / "pipe";
  int writer_ = -1;
};

TEST_F(Stream, OpensWithItsFirstLinesAndEndsWithItsWriter) {
  const auto device = Open("t [s],U\n0,1\n0.5,2\n1,");
  EXPECT_EQ(device->SampleRate(), 2);
  Write("3\n1.5,4");
  EXPECT_THAT(Newest(*device, 3), ElementsAre(1, 2, 3));
  Write("5\n2,6");
  Close();
  EXPECT_EQ(device->HostGone(), "The stream '" + path_ + "' has ended: its writer closed it.");
  EXPECT_EQ(device->ScansSince(0, 99).scans, 5U) << "all of them, for those who hand them on";
}

TEST_F(Stream, GoesOnWithTheNextWriter) {
  const auto device = Open("t [s],U\n0,1\n0.5,2\n", true);
  Write("1,3");
  Close();
  EXPECT_THAT(Newest(*device, 2), ElementsAre(2, 3));
  Write("t [s],U\n0,4\n");
  Close();
  EXPECT_THAT(Newest(*device, 2), ElementsAre(3, 4));
  Write("U\n4\n");
  EXPECT_THAT(device->HostGone().value(), HasSubstr("goes on with other columns."));
}

/// What is there is all there is.
TEST(StandardInput, OpensWithWhatWasSentBeforeItsEnd) {
  const std::pair<const char*, const char*> rows[] = {
      {"", "The stream on standard input has ended before a line of numbers came."},
      {"U\n", "has no column of numbers"},
      {"t [s],U\n0,7\n", ""},
      {"U\n7", ""},
      {"7", ""},
  };
  for (const auto& [text, why] : rows) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    dup2(ends[0], STDIN_FILENO);
    close(ends[0]);
    EXPECT_GE(write(ends[1], text, std::strlen(text)), 0);
    close(ends[1]);
    Opening opening("");
    const auto open_it = [&] {
      return FollowStream("", "-", {.reader = TextReader::Here}, opening);
    };
    if (*why != '\0') {
      EXPECT_THAT(Refusal(open_it), HasSubstr(why)) << text;
      continue;
    }
    const auto device = open_it();
    device->Start();
    EXPECT_EQ(device->LatestValue(0), 7) << text;
    EXPECT_THAT(device->HostGone().value(), HasSubstr("on standard input has ended: its writer"));
  }
}

}  // namespace
}  // namespace vantoscope
