// SPDX-License-Identifier: GPL-3.0-or-later
#include "groups/launch_mailbox.h"

#include <sys/random.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstring>

#include "groups/abstract_address.h"
#include "text/characters.h"
#include "text/utf8.h"

namespace vantoscope {
namespace {

constexpr std::string_view kStarted = "started ";
constexpr std::string_view kFailed = "failed ";
constexpr std::size_t kLongestSentence = 1000;  // characters
constexpr std::size_t kLargestDatagram = 8192;
constexpr int kMostAtOnce = 1000;  // whoever floods the mailbox does not hold the meter up

std::string RandomName() {
  std::array<std::uint64_t, 2> bits{};
  if (getrandom(bits.data(), sizeof bits, 0) != static_cast<ssize_t>(sizeof bits)) return {};
  std::string name = "vantoscope-launch-";
  for (const std::uint64_t part : bits) {
    std::array<char, 16> digits{};
    name.append(digits.data(), std::to_chars(digits.begin(), digits.end(), part, 16).ptr);
  }
  return name;
}

std::string DatagramOf(const LaunchWord& word) {
  const std::string index = std::to_string(word.index);
  if (!word.failure) return std::string(kStarted) + index;
  return std::string(kFailed) + index + ": " +
         std::string(FirstCharacters(*word.failure, kLongestSentence));
}

std::optional<LaunchWord> WordOf(std::string_view datagram) {
  LaunchWord word;
  const bool failed = datagram.starts_with(kFailed);
  if (!failed && !datagram.starts_with(kStarted)) return std::nullopt;
  datagram.remove_prefix((failed ? kFailed : kStarted).size());
  const auto [end, error] =
      std::from_chars(datagram.data(), datagram.data() + datagram.size(), word.index);
  if (error != std::errc{}) return std::nullopt;
  datagram.remove_prefix(static_cast<std::size_t>(end - datagram.data()));
  if (!failed) return datagram.empty() ? std::optional(word) : std::nullopt;
  if (!datagram.starts_with(": ")) return std::nullopt;
  word.failure = datagram.substr(2);
  std::ranges::replace_if(*word.failure, IsControl, ' ');
  return word;
}

/// Whether the kernel says that a process of this user sent the message.
bool IsFromThisUser(msghdr& message) {
  for (cmsghdr* part = CMSG_FIRSTHDR(&message); part != nullptr;
       part = CMSG_NXTHDR(&message, part)) {
    if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_CREDENTIALS) continue;
    ucred sender{};
    std::memcpy(&sender, CMSG_DATA(part), sizeof sender);
    return sender.uid == geteuid();
  }
  return false;
}

}  // namespace

LaunchMailbox::LaunchMailbox() {
  const std::string name = RandomName();
  if (name.empty()) return;
  socket_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  const AbstractAddress address(name);
  const int on = 1;
  if (socket_ >= 0 && setsockopt(socket_, SOL_SOCKET, SO_PASSCRED, &on, sizeof on) == 0 &&
      bind(socket_, address.Get(), address.Size()) == 0) {
    name_ = name;
  }
}

LaunchMailbox::~LaunchMailbox() {
  if (socket_ >= 0) close(socket_);
}

std::vector<LaunchWord> LaunchMailbox::Take() {
  std::vector<LaunchWord> words;
  if (name_.empty()) return words;
  for (int taken = 0; taken < kMostAtOnce; ++taken) {
    std::array<char, kLargestDatagram> text{};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(ucred))> credentials{};
    iovec part{.iov_base = text.data(), .iov_len = text.size()};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = credentials.data();
    message.msg_controllen = credentials.size();
    const ssize_t length = recvmsg(socket_, &message, MSG_CMSG_CLOEXEC);
    if (length < 0) break;
    if (!IsFromThisUser(message)) continue;
    const auto word = WordOf({text.data(), static_cast<std::size_t>(length)});
    if (word) words.push_back(*word);
  }
  return words;
}

bool TellMailbox(std::string_view name, const LaunchWord& word,
                 std::chrono::milliseconds patience) {
  const int socket_to = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (socket_to < 0) return false;
  const std::string datagram = DatagramOf(word);
  const AbstractAddress address(name);
  const timeval wait{.tv_sec = patience.count() / 1000, .tv_usec = patience.count() % 1000 * 1000};
  setsockopt(socket_to, SOL_SOCKET, SO_SNDTIMEO, &wait, sizeof wait);
  const int flags = MSG_NOSIGNAL | (patience.count() == 0 ? MSG_DONTWAIT : 0);
  ssize_t sent = 0;
  do {
    sent =
        sendto(socket_to, datagram.data(), datagram.size(), flags, address.Get(), address.Size());
  } while (sent < 0 && errno == EINTR);
  const bool full = sent < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == ENOBUFS);
  close(socket_to);
  return !full;
}

}  // namespace vantoscope
