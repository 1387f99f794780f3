// SPDX-License-Identifier: GPL-3.0-or-later
#include "host/end_watch.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>

namespace vantoscope {
namespace {

constexpr timespec kLook{.tv_sec = 0, .tv_nsec = 100'000'000};

bool IsIgnored(int signal) {
  struct sigaction action {};
  return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

/// Not through a stream, whose lock may be what everybody waits for, and not into a full pipe.
void SayWithoutWaiting(std::string_view line) {
  pollfd out{.fd = STDERR_FILENO, .events = POLLOUT, .revents = 0};
  if (poll(&out, 1, 0) != 1) return;
  [[maybe_unused]] const ssize_t ignored = write(STDERR_FILENO, line.data(), line.size());
}

}  // namespace

EndWatch::EndWatch() {
  sigemptyset(&signals_);
  for (const int signal : {SIGINT, SIGTERM}) sigaddset(&signals_, signal);
  if (!IsIgnored(SIGHUP)) sigaddset(&signals_, SIGHUP);
  pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
  thread_ = std::thread(&EndWatch::Watch, this);
}

EndWatch::~EndWatch() {
  {
    const std::scoped_lock lock(mutex_);
    done_ = true;
  }
  thread_.join();
}

void EndWatch::WaitUntil(Clock::time_point time) {
  std::unique_lock lock(mutex_);
  heard_ = true;
  changed_.wait_until(lock, time, [this] { return signal_ != 0; });
}

int EndWatch::Signal() {
  const std::scoped_lock lock(mutex_);
  return signal_;
}

void EndWatch::EndWith(int code) {
  const std::scoped_lock lock(mutex_);
  code_ = code;
  end_ = std::min(end_, Clock::now() + kGrace);
}

void EndWatch::Watch() {
  while (true) {
    const int signal = std::max(sigtimedwait(&signals_, nullptr, &kLook), 0);
    const std::scoped_lock lock(mutex_);
    if (done_) return;
    if (signal != 0 && signal_ == 0) {
      signal_ = signal;
      if (!heard_) _exit(code_);
      end_ = std::min(end_, Clock::now() + kGrace);
      changed_.notify_all();
    }
    LookAtTime();
  }
}

/// The broker publishes the last will, "closed", when the process is gone.
void EndWatch::LookAtTime() {
  if (Clock::now() < end_) return;
  SayWithoutWaiting("telvixd: something holds the host; it ends all the same\n");
  _exit(code_);
}

}  // namespace vantoscope
