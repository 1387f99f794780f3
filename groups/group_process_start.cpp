// SPDX-License-Identifier: GPL-3.0-or-later
#include "groups/group_process_start.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iterator>

#include "groups/nursery_message.h"
#include "groups/posix_process_start.h"

namespace vantoscope {
namespace {

/// By the file itself, so that one which an upgrade has replaced is another one.
bool IsRunningProgram(const std::string& path) {
  struct stat asked {};
  struct stat running {};
  return path.find('/') != std::string::npos && stat(path.c_str(), &asked) == 0 &&
         stat("/proc/self/exe", &running) == 0 && asked.st_dev == running.st_dev &&
         asked.st_ino == running.st_ino;
}

}  // namespace

GroupProcessStart::~GroupProcessStart() {
  if (nursery_ >= 0) close(nursery_);
}

void GroupProcessStart::Start(const std::string& command_text, int window_style) {
  LaunchOrder order = OrderOf(command_text, window_style, launches_.MailboxName(), place_of_);
  if (nursery_ < 0 || !IsRunningProgram(ProgramFor(order))) {
    StartByPosix(order, launches_);
    return;
  }
  launches_.Launched(order.index, 0);
  unsent_.push_back({.number = orders_++, .order = std::move(order)});
  Send();
}

void GroupProcessStart::Finish() {
  finished_ = true;
  Look();
}

void GroupProcessStart::Look() {
  if (nursery_ < 0) return;
  Send();
  Hear();
}

void GroupProcessStart::Send() {
  while (nursery_ >= 0 && !unsent_.empty()) {
    const Waiting& next = unsent_.front();
    const std::string datagram = DatagramOf({.number = next.number,
                                             .words = next.order.words,
                                             .marks = next.order.marks,
                                             .libraries = libraries_()});
    const ssize_t sent =
        send(nursery_, datagram.data(), datagram.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (sent < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == ENOBUFS)) return;
    if (sent < 0 && errno == EINTR) continue;
    if (sent < 0) {
      Hear();  // what it has started before it died
      GiveNurseryUp();
      return;
    }
    unanswered_.push_back(std::move(unsent_.front()));
    unsent_.pop_front();
  }
  if (finished_ && nursery_ >= 0) shutdown(nursery_, SHUT_WR);
}

// The end of the stream means that neither the nursery nor a child that has not answered yet lives:
// each keeps its end open until it has. One that ended with orders unread is an error first, and
// what it said before comes after that.
void GroupProcessStart::Hear() {
  while (nursery_ >= 0) {
    NurseryAnswer answer;
    const ssize_t length = recv(nursery_, &answer, sizeof answer, MSG_DONTWAIT);
    if (length == sizeof answer) {
      Answered(answer.number, answer.process);
    } else if (length < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
      return;
    } else if (length >= 0 || (errno != EINTR && errno != ECONNRESET)) {
      GiveNurseryUp();
    }
  }
}

void GroupProcessStart::Answered(std::uint32_t number, pid_t process) {
  const auto answered = std::ranges::find(unanswered_, number, &Waiting::number);
  if (answered == unanswered_.end()) return;
  const LaunchOrder order = std::move(answered->order);
  unanswered_.erase(answered);
  if (process > 0) {
    launches_.Launched(order.index, process);
  } else {
    StartByPosix(order, launches_);
  }
}

void GroupProcessStart::GiveNurseryUp() {
  if (nursery_ >= 0) close(std::exchange(nursery_, -1));
  std::ranges::move(std::exchange(unsent_, {}), std::back_inserter(unanswered_));
  for (const Waiting& left : std::exchange(unanswered_, {})) StartByPosix(left.order, launches_);
}

}  // namespace vantoscope
