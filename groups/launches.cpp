// SPDX-License-Identifier: GPL-3.0-or-later
#include "groups/launches.h"

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <iostream>
#include <utility>
#include <vector>

namespace vantoscope {
namespace {

constexpr std::size_t kMostWatched = 256;  // each takes a descriptor
constexpr int kEnded = -1;                 // instead of a descriptor

double Seconds() {
  using std::chrono::duration;
  return duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

bool HasEnded(int process) {
  pollfd look{.fd = process, .events = POLLIN, .revents = 0};
  return process == kEnded || poll(&look, 1, 0) == 1;
}

}  // namespace

Launches::~Launches() {
  for (const auto& [index, process] : watched_) close(process);
}

const std::string& Launches::MailboxName() {
  if (!mailbox_) mailbox_.emplace();
  return mailbox_->Name();
}

void Launches::Launched(int index, pid_t process) {
  tally_.Launched(index, Seconds());
  if (process <= 0 || MailboxName().empty() || watched_.size() >= kMostWatched) return;
  const int descriptor = static_cast<int>(syscall(SYS_pidfd_open, process, 0));
  if (descriptor >= 0 || errno == ESRCH) watched_[index] = descriptor;
}

void Launches::NotLaunched(int index, const std::string& sentence) {
  tally_.Launched(index, Seconds());
  tally_.Failed(index, sentence);
}

std::optional<std::string> Launches::Look() {
  if (tally_.AnySilent()) Hear();
  return tally_.Tell(Seconds());
}

// Who has ended is found out before the mailbox is emptied: a last word lies in it by then.
void Launches::Hear() {
  std::vector<int> ended;
  for (const auto& [index, process] : watched_) {
    if (HasEnded(process)) ended.push_back(index);
  }
  if (mailbox_) {
    for (LaunchWord& word : mailbox_->Take()) {
      if (word.failure) {
        tally_.Failed(word.index, std::move(*word.failure));
      } else {
        tally_.Started(word.index);
      }
    }
  }
  for (const int index : ended) {
    if (!tally_.IsSilent(index)) continue;
    std::cerr << "vantoscope: The meter of the channel index " << index
              << " ended before its window opened." << std::endl;
    tally_.Failed(index, "It ended before its window opened.");
  }
  const bool overdue = tally_.IsOverdue(Seconds());
  std::erase_if(watched_, [&](const auto& meter) {
    const bool settled = overdue || !tally_.IsSilent(meter.first);
    if (settled) close(meter.second);
    return settled;
  });
}

}  // namespace vantoscope
