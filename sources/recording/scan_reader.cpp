// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/scan_reader.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

#include "meter/data_source.h"
#include "sources/signals_blocked.h"

namespace vantoscope {
namespace {

using std::chrono::steady_clock;

constexpr std::chrono::milliseconds kPatience{200};
constexpr std::chrono::milliseconds kLittlePatience{30};  // after a wait in vain
constexpr std::chrono::seconds kNoAnswer{1};
constexpr std::size_t kKeptBytes = std::size_t{1} << 24U;

/// Pieces that were read, by their first scan.
class PieceCache {
 public:
  void Put(std::shared_ptr<const ScanPiece> piece) {
    Entry& entry = entries_[piece->first];
    if (entry.piece) bytes_ -= entry.bytes;
    entry.bytes = piece->Bytes();
    entry.used = ++uses_;
    entry.piece = std::move(piece);
    bytes_ += entry.bytes;
  }

  /// The first scan of these spans that is in no piece.
  [[nodiscard]] std::optional<std::int64_t> FirstMissing(const std::vector<ScanSpan>& spans) const {
    for (const ScanSpan& span : spans) {
      for (std::int64_t scan = span.first; scan <= span.last;) {
        const auto entry = Holding(scan);
        if (entry == entries_.end()) return scan;
        scan = entry->second.piece->end;
      }
    }
    return std::nullopt;
  }

  /// Those that hold the spans, which are all there.
  ScanReader::Pieces Take(const std::vector<ScanSpan>& spans) {
    ++uses_;
    ScanReader::Pieces pieces;
    for (const ScanSpan& span : spans) {
      for (std::int64_t scan = span.first; scan <= span.last;) {
        Entry& entry = entries_.at(Holding(scan)->first);
        entry.used = uses_;
        pieces.push_back(entry.piece);
        scan = entry.piece->end;
      }
    }
    return pieces;
  }

  /// Forgets what was not used for longest, but nothing that holds a scan of these spans.
  void Shrink(const std::vector<ScanSpan>& spans) {
    const auto is_wanted = [&](const ScanPiece& piece) {
      return std::ranges::any_of(spans, [&](const ScanSpan& span) {
        return piece.first <= span.last && piece.end > span.first;
      });
    };
    while (bytes_ > kKeptBytes) {
      auto oldest = entries_.end();
      for (auto entry = entries_.begin(); entry != entries_.end(); ++entry) {
        if (is_wanted(*entry->second.piece)) continue;
        if (oldest == entries_.end() || entry->second.used < oldest->second.used) oldest = entry;
      }
      if (oldest == entries_.end()) return;
      bytes_ -= oldest->second.bytes;
      entries_.erase(oldest);
    }
  }

 private:
  struct Entry {
    std::size_t bytes = 0;
    std::uint64_t used = 0;
    std::shared_ptr<const ScanPiece> piece;
  };
  using Entries = std::map<std::int64_t, Entry>;

  [[nodiscard]] Entries::const_iterator Holding(std::int64_t scan) const {
    auto entry = entries_.upper_bound(scan);
    if (entry == entries_.begin()) return entries_.end();
    --entry;
    return scan < entry->second.piece->end ? entry : entries_.end();
  }

  Entries entries_;
  std::uint64_t uses_ = 0;
  std::size_t bytes_ = 0;
};

}  // namespace

struct ScanReader::Shared {
  Shared(std::unique_ptr<ScanSource> read, std::int64_t scans_ahead)
      : ahead(scans_ahead), source(std::move(read)) {}

  /// Under the lock. The thread shares what it works on, so that nobody ever waits for it to end.
  static void Start(const std::shared_ptr<Shared>& shared) {
    if (std::exchange(shared->runs, true)) return;
    const SignalsBlocked blocked;
    std::thread([shared] { shared->Run(); }).detach();
  }

  /// On the thread of the reader.
  void Run() {
    std::unique_lock lock(mutex);
    while (!stop) {
      const bool looks = std::exchange(look_at_file, false);
      if (!looks && !HasWork()) {
        changed.wait(lock);
        continue;
      }
      since = steady_clock::now();
      const Step step = looks ? Step{} : NextStep();
      lock.unlock();
      Result result = looks ? Look() : Do(step);
      lock.lock();
      since.reset();
      Take(std::move(result));
      if (looks) ++looks_done;
      answered.notify_all();
    }
    runs = false;
    answered.notify_all();
  }

  const std::int64_t ahead;
  const std::unique_ptr<ScanSource> source;  // used by the thread alone once it runs

  mutable std::mutex mutex;  // guards what follows
  std::condition_variable changed;
  std::condition_variable answered;
  bool stop = false;
  bool runs = false;
  std::chrono::milliseconds patience = kPatience;
  std::optional<steady_clock::time_point> since;  // when the present step began
  PieceCache cache;
  std::vector<ScanSpan> wanted;
  bool wants_length = false;
  std::int64_t known = 0;
  bool complete = false;
  bool look_at_file = false;
  std::uint64_t looks_done = 0;
  std::optional<std::string> gone;

  /// Waits a moment for `is_there`, but not for a step that takes longer than that. Under the lock.
  template <typename Condition>
  void Await(std::unique_lock<std::mutex>& lock, Condition is_there) {
    changed.notify_all();
    if (since && steady_clock::now() - *since > kPatience) return;
    patience = answered.wait_for(lock, patience, is_there) ? kPatience : kLittlePatience;
  }

  [[nodiscard]] bool EndsAhead(const std::vector<ScanSpan>& spans) const {
    return complete &&
           std::ranges::any_of(spans, [this](const ScanSpan& span) { return span.last >= known; });
  }

 private:
  struct Step {
    std::optional<std::int64_t> read;  // the piece of that scan; else to find more of them
  };
  struct Result {
    std::shared_ptr<const ScanPiece> piece;
    std::optional<std::string> gone;
  };

  [[nodiscard]] bool HasWork() const {
    if (gone) return false;
    const auto missing = cache.FirstMissing(Reachable());
    if (missing && *missing < known) return true;
    if (complete) return false;
    return missing || wants_length || (!wanted.empty() && known <= wanted.back().last + ahead);
  }

  /// What is wanted and the scan that comes after it, as far as the recording goes.
  [[nodiscard]] std::vector<ScanSpan> Reachable() const {
    std::vector<ScanSpan> spans = wanted;
    if (!spans.empty()) ++spans.back().last;
    if (complete) {
      for (ScanSpan& span : spans) span.last = std::min(span.last, known - 1);
    }
    return spans;
  }

  [[nodiscard]] Step NextStep() const {
    const auto missing = cache.FirstMissing(Reachable());
    return {.read = missing && *missing < known ? missing : std::nullopt};
  }

  /// Without the lock.
  Result Do(const Step& step) {
    try {
      if (step.read) return {.piece = source->Read(*step.read), .gone = {}};
      source->ReadOn();
      return {};
    } catch (const SourceError& error) {
      return {.piece = nullptr, .gone = error.what()};
    }
  }
  Result Look() { return {.piece = nullptr, .gone = source->File().Fate()}; }

  void Take(Result result) {
    if (result.gone && !gone) gone = std::move(result.gone);
    if (result.piece) {
      cache.Put(std::move(result.piece));
      cache.Shrink(Reachable());
    }
    known = source->Known();
    complete = source->Complete();
  }
};

ScanReader::ScanReader(std::unique_ptr<ScanSource> source, std::int64_t ahead)
    : shared_(std::make_shared<Shared>(std::move(source), ahead)) {
  shared_->known = shared_->source->Known();
  shared_->complete = shared_->source->Complete();
  if (shared_->known > 0) shared_->cache.Put(shared_->source->Read(0));
}

ScanReader::~ScanReader() {
  std::unique_lock lock(shared_->mutex);
  shared_->stop = true;
  if (shared_->runs) shared_->Await(lock, [this] { return !shared_->runs; });
}

std::optional<ScanReader::Pieces> ScanReader::Get(const std::vector<ScanSpan>& spans) {
  std::unique_lock lock(shared_->mutex);
  shared_->wanted = spans;
  const auto is_there = [&] { return !shared_->cache.FirstMissing(spans); };
  if (!is_there()) {
    Shared::Start(shared_);
    shared_->Await(lock, [&] { return is_there() || shared_->gone || shared_->EndsAhead(spans); });
  }
  if (shared_->gone || !is_there()) return std::nullopt;
  if (shared_->runs) shared_->changed.notify_all();
  return shared_->cache.Take(spans);
}

std::optional<std::int64_t> ScanReader::Length(bool now) {
  std::unique_lock lock(shared_->mutex);
  if (!shared_->complete && now) {
    shared_->wants_length = true;
    Shared::Start(shared_);
    shared_->Await(lock, [this] { return shared_->complete || shared_->gone; });
  }
  if (!shared_->complete) return std::nullopt;
  return shared_->known;
}

std::optional<std::string> ScanReader::Gone() {
  std::unique_lock lock(shared_->mutex);
  Shared::Start(shared_);
  shared_->look_at_file = true;
  const std::uint64_t looks = shared_->looks_done;
  shared_->Await(lock, [&] { return shared_->gone || shared_->looks_done > looks; });
  return shared_->gone;
}

std::string ScanReader::Missing() const {
  const std::scoped_lock lock(shared_->mutex);
  const bool hangs = shared_->since && steady_clock::now() - *shared_->since > kNoAnswer;
  return hangs ? "the file system does not answer" : "the recording is still being read";
}

}  // namespace vantoscope
