// SPDX-License-Identifier: GPL-3.0-or-later
// Work that may have to wait for a file system, on a thread of its own.
#pragma once

#include <condition_variable>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "sources/device.h"

namespace vantoscope {

namespace beside {

/// Begins a thread without signals that nobody waits for.
void Begin(std::function<void()> work);

/// Waits until `done`, under `lock`, calling `meanwhile` without it. False when that gives up.
bool Wait(std::unique_lock<std::mutex>& lock, std::condition_variable& changed,
          const std::function<bool()>& done, const Meanwhile& meanwhile,
          const std::string& sentence);

}  // namespace beside

/// What `work` gives or throws. While it lasts `meanwhile` is called with `sentence`; when that
/// gives up, the sentence is thrown as a SourceError, and `work`, which must own all that it uses,
/// goes on for nobody. Without `meanwhile` it is done right here.
template <typename Result>
Result DoBeside(std::function<Result()> work, const Meanwhile& meanwhile,
                const std::string& sentence) {
  if (!meanwhile) return work();
  struct Shared {
    std::mutex mutex;
    std::condition_variable changed;
    bool done = false;
    std::optional<Result> result;
    std::exception_ptr error;
  };
  const auto shared = std::make_shared<Shared>();
  beside::Begin([shared, work = std::move(work)] {
    std::optional<Result> result;
    std::exception_ptr error;
    try {
      result.emplace(work());
    } catch (...) {
      error = std::current_exception();
    }
    const std::scoped_lock lock(shared->mutex);
    shared->result = std::move(result);
    shared->error = std::move(error);
    shared->done = true;
    shared->changed.notify_all();
  });
  std::unique_lock lock(shared->mutex);
  const bool done = beside::Wait(
      lock, shared->changed, [&] { return shared->done; }, meanwhile, sentence);
  if (!done) throw SourceError(sentence);
  if (shared->error) std::rethrow_exception(std::exchange(shared->error, nullptr));
  return std::move(*shared->result);
}

}  // namespace vantoscope
