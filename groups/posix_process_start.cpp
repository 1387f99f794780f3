#include "groups/posix_process_start.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "text/words.h"

namespace vantoscope {
namespace {

std::string WithoutExe(std::string name) {
  constexpr std::string_view kEnding = ".exe";
  if (name.ends_with(kEnding)) name.resize(name.size() - kEnding.size());
  return name;
}

/// The program's path beside the running one, else its bare name for a search on PATH.
std::string FindProgram(const std::string& name) {
  std::error_code error;
  const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error) return name;
  const std::string beside = self.parent_path() / name;
  return access(beside.c_str(), X_OK) == 0 ? beside : name;
}

std::vector<std::string> EnvironmentFor(int window_style) {
  std::vector<std::string> environment;
  for (char** entry = environ; *entry != nullptr; ++entry) environment.emplace_back(*entry);
  if (window_style == kShowNoActivate) {
    environment.push_back(std::string(kNoFocusVariable) + "=1");
  }
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

/// Spawns through a child that ends at once: the new process then belongs to init, so it leaves no
/// zombie, whatever this process does about its children. The result is an errno value.
int SpawnDetached(const std::string& program, std::vector<std::string>& words,
                  std::vector<std::string>& environment) {
  const std::vector<char*> argv = Pointers(words);
  const std::vector<char*> envp = Pointers(environment);
  CleanSignals signals;
  const pid_t between = fork();
  if (between < 0) return errno;
  if (between == 0) {
    setsid();
    pid_t child = 0;
    _exit(posix_spawnp(&child, program.c_str(), nullptr, signals.Get(), argv.data(), envp.data()));
  }
  int status = 0;
  while (waitpid(between, &status, 0) < 0) {
    if (errno != EINTR) return errno;
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : ECHILD;
}

}  // namespace

void PosixProcessStart::Start(const std::string& command_text, int window_style) {
  const auto cut = CutAtBlanks(command_text);
  std::vector<std::string> words(cut.begin(), cut.end());
  words[0] = WithoutExe(words[0]);
  std::vector<std::string> environment = EnvironmentFor(window_style);
  const int error = SpawnDetached(FindProgram(words[0]), words, environment);
  if (error != 0) {
    std::cerr << "vantoscope: cannot start \"" << command_text
              << "\": " << std::generic_category().message(error) << "\n";
  }
}

}  // namespace vantoscope
