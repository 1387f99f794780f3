// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/text_reader.h"

#include <condition_variable>
#include <exception>
#include <iterator>
#include <mutex>
#include <thread>
#include <utility>

#include "meter/data_source.h"
#include "sources/signals_blocked.h"

namespace vantoscope {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kPatience{100};
constexpr milliseconds kHangs{1000};
// A writer that sends line by line does not wake us as often.
constexpr milliseconds kPause{10};
constexpr std::size_t kBurst = std::size_t{1} << 15U;
constexpr std::size_t kMostBytesWaiting = std::size_t{1} << 25U;

std::size_t BytesOf(const TextNews& news) {
  std::size_t bytes = 0;
  for (const TextPiece& piece : news.pieces) bytes += piece.text.size();
  return bytes;
}

TextNews ReadGuarded(TextSource& source) {
  try {
    return source.Read();
  } catch (const std::exception& error) {
    return {.gone = error.what()};
  }
}

class HereReader final : public TextReader {
 public:
  explicit HereReader(std::unique_ptr<TextSource> source) : source_(std::move(source)) {}
  TextNews Take() override { return ReadGuarded(*source_); }

 private:
  std::unique_ptr<TextSource> source_;
};

/// Shared by the one who asks and the thread that reads; outlives the first.
class Exchange {
 public:
  explicit Exchange(std::unique_ptr<TextSource> source)
      : source_(std::move(source)), waits_(source_->Waits()) {}

  TextNews Take() {
    std::unique_lock lock(mutex_);
    if (!waits_ && !wanted_) {
      wanted_ = true;
      wanted_since_ = steady_clock::now();
      asked_.notify_one();
      if (prompt_) prompt_ = read_.wait_for(lock, kPatience, [this] { return !wanted_; });
    }
    TextNews news{
        .pieces = std::exchange(news_.pieces, {}), .gone = news_.gone, .silence = news_.silence};
    bytes_ = 0;
    if (waits_) asked_.notify_one();
    if (wanted_ && steady_clock::now() - wanted_since_ > kHangs) {
      news.silence = "its file system does not answer";
    }
    return news;
  }

  void Run() {
    std::unique_lock lock(mutex_);
    while (!stopped_ && !news_.gone) {
      asked_.wait(lock, [this] { return stopped_ || MayRead(); });
      if (stopped_) return;
      busy_ = true;
      lock.unlock();
      TextNews news = ReadGuarded(*source_);
      lock.lock();
      busy_ = false;
      const std::size_t bytes = BytesOf(news);
      Add(std::move(news));
      bytes_ += bytes;
      if (std::exchange(wanted_, false)) {
        prompt_ = steady_clock::now() - wanted_since_ < kPatience;
      }
      read_.notify_one();
      if (waits_ && bytes < kBurst) asked_.wait_for(lock, kPause, [this] { return stopped_; });
    }
  }

  /// Returns once the thread is idle, unless it hangs.
  void Stop() {
    source_->Interrupt();
    std::unique_lock lock(mutex_);
    stopped_ = true;
    asked_.notify_one();
    read_.wait_for(lock, kPatience, [this] { return !busy_; });
  }

 private:
  [[nodiscard]] bool MayRead() const { return waits_ ? bytes_ < kMostBytesWaiting : wanted_; }
  void Add(TextNews news) {
    news_.pieces.insert(news_.pieces.end(), std::make_move_iterator(news.pieces.begin()),
                        std::make_move_iterator(news.pieces.end()));
    news_.gone = std::move(news.gone);
    news_.silence = std::move(news.silence);
  }

  const std::unique_ptr<TextSource> source_;
  const bool waits_;
  std::mutex mutex_;  // guards what follows
  std::condition_variable asked_;
  std::condition_variable read_;
  bool stopped_ = false;
  bool busy_ = false;
  bool wanted_ = false;
  steady_clock::time_point wanted_since_;
  bool prompt_ = true;
  TextNews news_;
  std::size_t bytes_ = 0;  // of text in the news
};

class BesideReader final : public TextReader {
 public:
  explicit BesideReader(std::unique_ptr<TextSource> source)
      : exchange_(std::make_shared<Exchange>(std::move(source))) {
    const SignalsBlocked blocked;
    std::thread([exchange = exchange_] { exchange->Run(); }).detach();
  }
  ~BesideReader() override { exchange_->Stop(); }
  BesideReader(const BesideReader&) = delete;
  BesideReader& operator=(const BesideReader&) = delete;
  TextNews Take() override { return exchange_->Take(); }

 private:
  std::shared_ptr<Exchange> exchange_;
};

}  // namespace

std::unique_ptr<TextReader> TextReader::Here(std::unique_ptr<TextSource> source) {
  return std::make_unique<HereReader>(std::move(source));
}

std::unique_ptr<TextReader> TextReader::Beside(std::unique_ptr<TextSource> source) {
  return std::make_unique<BesideReader>(std::move(source));
}

}  // namespace vantoscope
