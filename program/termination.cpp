// SPDX-License-Identifier: GPL-3.0-or-later
#include "program/termination.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>

namespace vantoscope {
namespace {

constexpr std::array<int, 3> kSignals = {SIGTERM, SIGINT, SIGHUP};

// A signal handler may do little more than write to a pipe, and knows nothing but globals.
std::array<int, 2> pipe_ends = {-1, -1};

void Report(int) {
  const int error = errno;
  const char byte = 0;
  [[maybe_unused]] const ssize_t written = write(pipe_ends[1], &byte, 1);
  errno = error;
}

int OpenPipe() {
  if (pipe2(pipe_ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
    throw std::system_error(errno, std::generic_category(), "pipe");
  }
  return pipe_ends[0];
}

void Handle(void (*handler)(int)) {
  for (const int number : kSignals) {
    struct sigaction action {};
    sigaction(number, nullptr, &action);
    if (action.sa_handler == SIG_IGN) continue;
    action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigaction(number, &action, nullptr);
  }
}

}  // namespace

TerminationRequests::TerminationRequests() {
  first_event_.setSingleShot(true);
  QObject::connect(&first_event_, &QTimer::timeout, [this] { Watch(); });
  first_event_.start(0);
}

void TerminationRequests::Watch() {
  if (notifier_) return;
  notifier_.emplace(OpenPipe(), QSocketNotifier::Read);
  QObject::connect(&*notifier_, &QSocketNotifier::activated, [this] {
    std::array<char, 16> bytes{};
    while (read(pipe_ends[0], bytes.data(), bytes.size()) > 0) {
    }
    OnRequest();
  });
  Handle(Report);
}

TerminationRequests::~TerminationRequests() {
  if (!notifier_) return;
  Handle(SIG_DFL);
  notifier_.reset();
  close(pipe_ends[0]);
  close(pipe_ends[1]);
}

}  // namespace vantoscope
