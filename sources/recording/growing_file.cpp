// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/growing_file.h"

#include <algorithm>
#include <utility>

#include "meter/data_source.h"
#include "sources/recording/live_table.h"

namespace vantoscope {
namespace {

constexpr std::size_t kPieceBytes = std::size_t{1} << 15U;
constexpr std::size_t kMostBytesAtOnce = std::size_t{1} << 24U;
constexpr std::uint64_t kLeastTail = std::uint64_t{1} << 20U;
constexpr std::int64_t kLongAgo = std::int64_t{1} << 60U;  // nanoseconds

}  // namespace

GrowingFile::GrowingFile(std::unique_ptr<RecordedFile> file, const CsvReading& reading, bool rotate,
                         FollowClocks clocks)
    : rotate_(rotate),
      clocks_(std::move(clocks)),
      file_(std::move(file)),
      text_(reading, TheRecording(file_->Path())),
      buffer_(kPieceBytes, '\0') {
  while (file_->Position() < TextPieces::kHeadBytes && ReadPiece()) {
  }
  bytes_per_line_ = file_->Position() / (text_.HeadLines() + 1) + 1;
  text_.Settle(false);
}

std::string GrowingFile::Subject() const { return TheRecording(file_->Path()); }

bool GrowingFile::ReadPiece() {
  const std::string_view bytes = file_->ReadOn(buffer_);
  if (!bytes.empty()) text_.Feed(bytes);
  return !bytes.empty();
}

/// Of a long file four times as many lines are left as are held, by what the first ones suggest.
void GrowingFile::SkipToEnd() {
  const std::uint64_t bytes = std::max(kLeastTail, 4 * LiveTable::kHeldScans * bytes_per_line_);
  const std::uint64_t size = file_->Size();
  if (size <= file_->Position() + bytes) return;
  const std::uint64_t start = size - bytes;
  const TextDecoder& decoder = text_.Decoder();
  file_->Seek(start - (start - decoder.MarkSize()) % decoder.UnitSize());
  text_.SkipAhead();
}

TextNews GrowingFile::Begin() {
  SkipToEnd();
  while (ReadPiece()) {
  }
  return Dated();
}

TextNews GrowingFile::Read() {
  std::string silence = "the recorder writes nothing";
  if (rotate_) {
    if (const auto reason = GoToNext()) silence = *reason;
  } else if (auto fate = file_->Fate()) {
    return {.gone = std::move(fate)};
  }
  for (std::size_t bytes = 0; bytes < kMostBytesAtOnce && ReadPiece(); bytes += kPieceBytes) {
  }
  TextNews news = Dated();
  news.silence = std::move(silence);
  return news;
}

/// Opens what is at the path now, if that is something else; why there is nothing.
std::optional<std::string> GrowingFile::GoToNext() {
  const RecordedFile::Change change = file_->LookForChange();
  if (change == RecordedFile::Change::kNone) return std::nullopt;
  if (change == RecordedFile::Change::kGone) return "its path leads to no file";
  std::unique_ptr<RecordedFile> next;
  try {
    next = std::make_unique<RecordedFile>(file_->Path());
  } catch (const SourceError&) {
    return "the next file at its path cannot be opened";
  }
  const bool replaced = change == RecordedFile::Change::kReplaced;
  if (replaced) {
    // Until then the recorder may still write into the old one.
    if (next->Size() == 0) return std::nullopt;
    while (ReadPiece()) {
    }
  }
  text_.BeginAnother(replaced);
  file_ = std::move(next);
  return std::nullopt;
}

/// What has become whole. New rows are as old as the file says, but were not there when it was read
/// before: so a file server's clock can be wrong by no more than the time between two reads.
TextNews GrowingFile::Dated() {
  TextNews news{.pieces = text_.Take()};
  const std::int64_t now = clocks_.steady();
  if (!news.pieces.empty()) {
    const std::int64_t age = clocks_.wall() - file_->WrittenAt();
    const std::int64_t most = read_at_ ? now - *read_at_ : kLongAgo;
    for (TextPiece& piece : news.pieces) {
      piece.taken_at = now - std::clamp<std::int64_t>(age, 0, most);
    }
  }
  read_at_ = now;
  return news;
}

}  // namespace vantoscope
