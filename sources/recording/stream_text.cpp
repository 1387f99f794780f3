// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/stream_text.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

#include "meter/data_source.h"

namespace vantoscope {
namespace {

constexpr std::size_t kPieceBytes = std::size_t{1} << 15U;
constexpr std::size_t kMostBytesAtOnce = std::size_t{1} << 20U;
constexpr int kPipeBytes = 1 << 20;
constexpr int kLookMilliseconds = 50;
constexpr std::int64_t kPatience = 1'000'000'000;  // nanoseconds
constexpr std::size_t kFewLines = 3;

[[noreturn]] void Fail(const std::string& subject, const char* what, int error) {
  throw SourceError(subject + " cannot be " + what + ": " + std::generic_category().message(error) +
                    ".");
}

std::string SubjectOf(const std::string& path) {
  return path == kStandardInput ? "The stream on standard input" : "The stream '" + path + "'";
}

int OpenPipe(const std::string& path) {
  return open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
}

int OpenStreamAt(const std::string& path) {
  const bool is_input = path == kStandardInput;
  const int descriptor =
      is_input ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1) : OpenPipe(path);
  if (descriptor < 0) Fail(SubjectOf(path), "opened", errno);
  struct stat now {};
  if (is_input && fstat(descriptor, &now) == 0 && S_ISREG(now.st_mode)) {
    close(descriptor);
    throw SourceError(
        "Standard input is a file and no stream; name the file as the device, as in "
        "/data/run.csv?follow.");
  }
  // A writer need not wait for us at every turn; an ordinary pipe may have less room than this.
  fcntl(descriptor, F_SETPIPE_SZ, kPipeBytes);
  return descriptor;
}

}  // namespace

bool IsStream(const std::string& path) {
  struct stat now {};
  return path == kStandardInput || (stat(path.c_str(), &now) == 0 && S_ISFIFO(now.st_mode));
}

StreamText::StreamText(std::string path, const CsvReading& reading, bool rotate, Clock steady)
    : path_(std::move(path)),
      reading_(reading),
      rotate_(rotate),
      steady_(std::move(steady)),
      descriptor_(OpenStreamAt(path_)),
      interrupt_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      text_(reading, SubjectOf(path_)),
      buffer_(kPieceBytes, '\0') {}

StreamText::~StreamText() {
  close(descriptor_);
  close(interrupt_);
}

std::string StreamText::Subject() const { return SubjectOf(path_); }

void StreamText::Interrupt() { eventfd_write(interrupt_, 1); }

/// True when a read will not wait: something has come, or the last writer has gone. A named pipe
/// that had no writer yet is silent.
bool StreamText::WaitForBytes(int milliseconds) {
  std::array<pollfd, 2> events{{{.fd = descriptor_, .events = POLLIN, .revents = 0},
                                {.fd = interrupt_, .events = POLLIN, .revents = 0}}};
  return poll(events.data(), events.size(), milliseconds) > 0 && events[0].revents != 0;
}

void StreamText::ReadAll() {
  for (std::size_t bytes = 0; bytes < kMostBytesAtOnce && WaitForBytes(0);) {
    const ssize_t count = read(descriptor_, buffer_.data(), buffer_.size());
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) continue;
    if (count < 0) Fail(Subject(), "read", errno);
    if (count == 0) {
      if (!rotate_) ended_ = true;
      return rotate_ ? GoToNextWriter() : text_.BeginAnother(true);
    }
    text_.Feed(std::string_view(buffer_).substr(0, static_cast<std::size_t>(count)));
    bytes += static_cast<std::size_t>(count);
  }
}

/// Only a pipe that is opened anew tells the next writer from the ones that have gone.
void StreamText::GoToNextWriter() {
  const int next = OpenPipe(path_);
  if (next < 0) Fail(Subject(), "opened again", errno);
  close(std::exchange(descriptor_, next));
  text_.BeginAnother(true);
}

void StreamText::WaitForTable(Opening& opening) {
  std::optional<std::int64_t> first_at;
  opening.SetMissing(Subject() + " has sent nothing yet.");
  while (true) {
    if (opening.GivenUp()) throw SourceError(opening.Missing());
    if (WaitForBytes(kLookMilliseconds)) ReadAll();
    const std::size_t lines = text_.HeadLines();
    if (lines > 0 && !first_at) {
      first_at = steady_();
      opening.SetMissing(Subject() + " has sent no more than a line or two yet.");
    }
    const bool some = lines >= kFewLines && steady_() - *first_at >= kPatience;
    if ((ended_ || some || lines >= TextPieces::kHeadLines) && Settles(opening, ended_)) return;
  }
}

/// False when more lines may help.
bool StreamText::Settles(Opening& opening, bool all) {
  if (all && text_.Empty()) {
    throw SourceError(Subject() + " has ended before a line of numbers came.");
  }
  const bool enough = all || text_.HeadLines() >= TextPieces::kHeadLines;
  try {
    text_.Settle(all, !enough);
    if (all) text_.BeginAnother(true);
    return true;
  } catch (const SourceError& error) {
    if (enough) throw;
    opening.SetMissing(error.what());
  }
  return false;
}

TextNews StreamText::Read() {
  if (WaitForBytes(-1)) ReadAll();
  return News();
}

TextNews StreamText::News() {
  TextNews news{.pieces = text_.Take(), .silence = "the writer of the stream sends nothing"};
  const std::int64_t now = steady_();
  for (TextPiece& piece : news.pieces) piece.taken_at = now;
  if (ended_) news.gone = Subject() + " has ended: its writer closed it.";
  return news;
}

}  // namespace vantoscope
