// SPDX-License-Identifier: GPL-3.0-or-later
#include "groups/posix_process_start.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <iostream>
#include <string>
#include <system_error>
#include <vector>

namespace vantoscope {
namespace {

std::vector<std::string> EnvironmentWith(const std::vector<std::string>& marks) {
  std::vector<std::string> environment;
  for (char** entry = environ; *entry != nullptr; ++entry) environment.emplace_back(*entry);
  environment.insert(environment.end(), marks.begin(), marks.end());
  return environment;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

/// Signals as a fresh program expects them, whatever this process blocks.
class CleanSignals {
 public:
  CleanSignals() {
    posix_spawnattr_init(&attributes_);
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setsigdefault(&attributes_, &all);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }
  CleanSignals(const CleanSignals&) = delete;
  CleanSignals& operator=(const CleanSignals&) = delete;
  ~CleanSignals() { posix_spawnattr_destroy(&attributes_); }
  const posix_spawnattr_t* Get() { return &attributes_; }

 private:
  posix_spawnattr_t attributes_{};
};

/// The three standard descriptors and no more; what comes on standard input is not for the child.
class StandardDescriptors {
 public:
  StandardDescriptors() {
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1);
  }
  StandardDescriptors(const StandardDescriptors&) = delete;
  StandardDescriptors& operator=(const StandardDescriptors&) = delete;
  ~StandardDescriptors() { posix_spawn_file_actions_destroy(&actions_); }
  const posix_spawn_file_actions_t* Get() { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_{};
};

/// A process number that a forked child can write for its parent, without a descriptor that a
/// process with many open files may not get. Null where there is no memory for it.
class SharedProcessNumber {
 public:
  SharedProcessNumber() {
    void* memory =
        mmap(nullptr, sizeof(pid_t), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory != MAP_FAILED) number_ = static_cast<pid_t*>(memory);
  }
  SharedProcessNumber(const SharedProcessNumber&) = delete;
  SharedProcessNumber& operator=(const SharedProcessNumber&) = delete;
  ~SharedProcessNumber() {
    if (number_ != nullptr) munmap(number_, sizeof(pid_t));
  }
  [[nodiscard]] pid_t* Get() const { return number_; }

 private:
  pid_t* number_ = nullptr;
};

struct Spawned {
  int error = 0;      ///< an errno value
  pid_t process = 0;  ///< 0 where it is not known
};

/// Spawns through a child that ends at once: the new process then belongs to init, so it leaves no
/// zombie, whatever this process does about its children.
Spawned SpawnDetached(const std::string& program, std::vector<std::string>& words,
                      std::vector<std::string>& environment) {
  const std::vector<char*> argv = Pointers(words);
  const std::vector<char*> envp = Pointers(environment);
  CleanSignals signals;
  StandardDescriptors descriptors;
  const SharedProcessNumber number;
  const pid_t between = fork();
  if (between < 0) return {.error = errno};
  if (between == 0) {
    setsid();
    pid_t child = 0;
    const int error = posix_spawnp(&child, program.c_str(), descriptors.Get(), signals.Get(),
                                   argv.data(), envp.data());
    if (error == 0 && number.Get() != nullptr) *number.Get() = child;
    _exit(error);
  }
  int status = 0;
  while (waitpid(between, &status, 0) < 0) {
    if (errno != EINTR) return {.error = errno};
  }
  return {.error = WIFEXITED(status) ? WEXITSTATUS(status) : ECHILD,
          .process = number.Get() != nullptr ? *number.Get() : 0};
}

}  // namespace

void StartByPosix(const LaunchOrder& order, Launches& launches) {
  std::vector<std::string> words = order.words;
  std::vector<std::string> environment = EnvironmentWith(order.marks);
  const Spawned spawned = SpawnDetached(ProgramFor(order), words, environment);
  if (spawned.error == 0) {
    launches.Launched(order.index, spawned.process);
    return;
  }
  const std::string reason = std::generic_category().message(spawned.error);
  std::cerr << "vantoscope: cannot start \"" << order.command_text << "\": " << reason << "\n";
  launches.NotLaunched(order.index,
                       "The program " + words[0] + " cannot be started: " + reason + ".");
}

}  // namespace vantoscope
