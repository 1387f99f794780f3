// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/beside.h"

#include <chrono>
#include <thread>

#include "sources/signals_blocked.h"

namespace vantoscope::beside {
namespace {

constexpr std::chrono::milliseconds kLook{50};

}  // namespace

void Begin(std::function<void()> work) {
  const SignalsBlocked blocked;
  std::thread(std::move(work)).detach();
}

bool Wait(std::unique_lock<std::mutex>& lock, std::condition_variable& changed,
          const std::function<bool()>& done, const Meanwhile& meanwhile,
          const std::string& sentence) {
  bool go_on = true;
  while (go_on && !changed.wait_for(lock, kLook, done)) {
    lock.unlock();
    go_on = meanwhile(sentence);
    lock.lock();
  }
  const bool is_done = done();
  lock.unlock();
  meanwhile("");
  lock.lock();
  return is_done;
}

}  // namespace vantoscope::beside
