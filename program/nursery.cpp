// SPDX-License-Identifier: GPL-3.0-or-later
#include "program/nursery.h"

#include <dlfcn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QHashSeed>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string_view>

#include "groups/launch_order.h"
#include "groups/nursery_message.h"
#include "program/process_words.h"

namespace vantoscope {
namespace {

constexpr int kSocket = STDERR_FILENO + 1;
constexpr std::size_t kLargestOrder = 65536;

/// Those of the nursery itself are what its children begin with.
void CleanSignals() {
  struct sigaction standard {};
  standard.sa_handler = SIG_DFL;
  for (int number = 1; number <= SIGRTMAX; ++number) sigaction(number, &standard, nullptr);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// Whether ended children leave something that somebody must wait for.
void KeepEndedChildren(bool keep) {
  struct sigaction action {};
  action.sa_handler = SIG_DFL;
  action.sa_flags = keep ? 0 : SA_NOCLDWAIT;
  sigaction(SIGCHLD, &action, nullptr);
}

/// The standard descriptors, and the socket as the next one.
bool KeepDescriptors(int socket) {
  if (socket != kSocket && dup2(socket, kSocket) != kSocket) return false;
  closefrom(kSocket + 1);
  return true;
}

void SetMarks(const std::vector<std::string>& marks) {
  for (const char* variable :
       {kNoFocusVariable, kNoDeviceVariable, kMailboxVariable, kPlaceVariable, kFrameVariable}) {
    unsetenv(variable);
  }
  for (const std::string& mark : marks) {
    const std::size_t equals = mark.find('=');
    if (equals == std::string::npos) continue;
    setenv(mark.substr(0, equals).c_str(), mark.substr(equals + 1).c_str(), 1);
  }
}

void Answer(std::uint32_t number, pid_t process) {
  const NurseryAnswer answer{.number = number, .process = process};
  while (send(kSocket, &answer, sizeof answer, MSG_NOSIGNAL) < 0 && errno == EINTR) {
  }
}

/// The rest of a child's life as a meter of its own. The kernel's random bytes that a program is
/// started with are those of the nursery.
void BecomeMeter(const NurseryOrder& order, const ProcessWords& shown) {
  setsid();
  KeepEndedChildren(true);
  SetMarks(order.marks);
  shown.Show(order.words);
  QHashSeed::resetRandomGlobalSeed();
  Answer(order.number, getpid());
  close(kSocket);
}

std::optional<NurseryOrder> NextOrder() {
  std::array<char, kLargestOrder> bytes;  // NOLINT(cppcoreguidelines-pro-type-member-init): filled
  ssize_t length = 0;
  do {
    length = recv(kSocket, bytes.data(), bytes.size(), 0);
  } while (length < 0 && errno == EINTR);
  if (length <= 0) return std::nullopt;
  return OrderFrom({bytes.data(), static_cast<std::size_t>(length)});
}

/// Returns in the children only.
std::vector<std::string> RunNursery(const ProcessWords& shown) {
  while (auto order = NextOrder()) {
    for (const std::string& library : order->libraries) dlopen(library.c_str(), RTLD_NOW);
    const pid_t child = fork();
    if (child == 0) {
      BecomeMeter(*order, shown);
      return std::move(order->words);
    }
    if (child < 0) Answer(order->number, 0);
  }
  _exit(EXIT_SUCCESS);
}

}  // namespace

NurseryPlace OpenNursery() {
  std::array<int, 2> ends{};
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) return {};
  const pid_t between = fork();
  if (between != 0) {
    close(ends[1]);
    if (between > 0) {
      while (waitpid(between, nullptr, 0) < 0 && errno == EINTR) {
      }
      return {.socket = ends[0], .words = {}};
    }
    close(ends[0]);
    return {};
  }
  // The process between ends at once, so that nobody has to wait for the nursery.
  if (fork() != 0) _exit(EXIT_SUCCESS);
  setsid();
  CleanSignals();
  KeepEndedChildren(false);
  const auto shown = ProcessWords::Find();
  if (!shown || !KeepDescriptors(ends[1])) _exit(EXIT_FAILURE);
  return {.socket = -1, .words = RunNursery(*shown)};
}

}  // namespace vantoscope
