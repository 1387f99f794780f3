// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/opening.h"

#include <chrono>
#include <condition_variable>
#include <exception>
#include <thread>

#include "meter/data_source.h"
#include "sources/signals_blocked.h"

namespace vantoscope {
namespace {

constexpr std::chrono::milliseconds kLook{50};

/// Outlives whoever gives up.
struct Attempt {
  Attempt(Open how, const std::string& missing) : open(std::move(how)), opening(missing) {}

  void Run() {
    std::unique_ptr<Device> opened;
    std::exception_ptr thrown;
    try {
      opened = open(opening);
    } catch (...) {
      thrown = std::current_exception();
    }
    const std::scoped_lock lock(mutex);
    device = std::move(opened);
    error = std::move(thrown);
    done = true;
    changed.notify_all();
  }

  const Open open;
  Opening opening;
  std::mutex mutex;  // guards what follows
  std::condition_variable changed;
  bool done = false;
  std::unique_ptr<Device> device;
  std::exception_ptr error;
};

}  // namespace

std::unique_ptr<Device> OpenBeside(Open open, const std::string& missing,
                                   const Meanwhile& meanwhile) {
  const auto attempt = std::make_shared<Attempt>(std::move(open), missing);
  if (!meanwhile) return attempt->open(attempt->opening);
  {
    const SignalsBlocked blocked;
    std::thread([attempt] { attempt->Run(); }).detach();
  }
  std::unique_lock lock(attempt->mutex);
  while (!attempt->changed.wait_for(lock, kLook, [&] { return attempt->done; })) {
    lock.unlock();
    const std::string sentence = attempt->opening.Missing();
    if (!meanwhile(sentence)) {
      attempt->opening.GiveUp();
      meanwhile("");
      throw SourceError(sentence);
    }
    lock.lock();
  }
  lock.unlock();
  meanwhile("");
  if (attempt->error) std::rethrow_exception(attempt->error);
  return std::move(attempt->device);
}

}  // namespace vantoscope
