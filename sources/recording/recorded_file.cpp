// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/recorded_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

#include "meter/data_source.h"
#include "text/shown_text.h"

namespace vantoscope {
namespace {

constexpr std::size_t kRemembered = 64;

[[noreturn]] void Fail(const std::string& path, const char* what, int error) {
  throw SourceError("The recording '" + WithoutCredentials(path) + "' cannot be " + what + ": " +
                    std::generic_category().message(error) + ".");
}

}  // namespace

RecordedFile::RecordedFile(std::string path) : path_(std::move(path)) {
  // A named pipe without a writer must not block a meter.
  descriptor_ = open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (descriptor_ < 0) Fail(path_, "opened", errno);
  const bool known = fstat(descriptor_, &opened_) == 0;
  if (!known || !S_ISREG(opened_.st_mode)) {
    close(descriptor_);
    throw SourceError("The recording '" + path_ + "' cannot be read: it is no regular file.");
  }
}

RecordedFile::~RecordedFile() { close(descriptor_); }

std::uint64_t RecordedFile::Size() const {
  struct stat now {};
  return fstat(descriptor_, &now) == 0 ? static_cast<std::uint64_t>(now.st_size) : 0;
}

std::int64_t RecordedFile::WrittenAt() const {
  constexpr std::int64_t kSecond = 1'000'000'000;
  struct stat now {};
  if (fstat(descriptor_, &now) != 0) return 0;
  return now.st_mtim.tv_sec * kSecond + now.st_mtim.tv_nsec;
}

std::string_view RecordedFile::ReadOn(std::span<char> buffer) {
  ssize_t count = 0;
  do {
    count = pread(descriptor_, buffer.data(), buffer.size(), static_cast<off_t>(position_));
  } while (count < 0 && errno == EINTR);
  if (count < 0) Fail(path_, "read", errno);
  const std::string_view bytes(buffer.data(), static_cast<std::size_t>(count));
  position_ += bytes.size();
  last_bytes_ += bytes.substr(bytes.size() - std::min(bytes.size(), kRemembered));
  if (last_bytes_.size() > kRemembered) last_bytes_.erase(0, last_bytes_.size() - kRemembered);
  return bytes;
}

void RecordedFile::Seek(std::uint64_t position) {
  position_ = position;
  last_bytes_.clear();
}

RecordedFile::Change RecordedFile::LookForChange() const {
  struct stat now {};
  if (stat(path_.c_str(), &now) != 0) return Change::kGone;
  if (now.st_dev != opened_.st_dev || now.st_ino != opened_.st_ino) return Change::kReplaced;
  if (now.st_size < opened_.st_size || static_cast<std::uint64_t>(now.st_size) < position_) {
    return Change::kTruncated;
  }
  const bool untouched = now.st_mtim.tv_sec == opened_.st_mtim.tv_sec &&
                         now.st_mtim.tv_nsec == opened_.st_mtim.tv_nsec;
  return !untouched && LastBytesChanged() ? Change::kRewritten : Change::kNone;
}

std::optional<std::string> RecordedFile::Fate() const {
  const auto fate = [this](const std::string& what) {
    return "The recording '" + path_ + "' " + what + ".";
  };
  switch (LookForChange()) {
    case Change::kGone:
      return fate("is gone");
    case Change::kReplaced:
      return fate("was replaced");
    case Change::kTruncated:
      return fate("was truncated");
    case Change::kRewritten:
      return fate("was written anew");
    case Change::kNone:
      break;
  }
  return std::nullopt;
}

bool RecordedFile::LastBytesChanged() const {
  std::array<char, kRemembered> bytes{};
  const std::size_t size = last_bytes_.size();
  const auto from = static_cast<off_t>(position_ - size);
  const ssize_t count = pread(descriptor_, bytes.data(), size, from);
  return count < 0 ||
         std::string_view(bytes.data(), static_cast<std::size_t>(count)) != last_bytes_;
}

}  // namespace vantoscope
