#include "tests/host/broker.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <stdexcept>
#include <thread>

namespace vantoscope {
namespace {

using std::chrono::steady_clock;

sockaddr_in Loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

int FreePort() {
  const int s = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address = Loopback(0);
  socklen_t length = sizeof address;
  bind(s, reinterpret_cast<sockaddr*>(&address), length);
  getsockname(s, reinterpret_cast<sockaddr*>(&address), &length);
  close(s);
  return ntohs(address.sin_port);
}

bool Accepts(int port) {
  const int s = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address = Loopback(port);
  const bool ok = connect(s, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
  close(s);
  return ok;
}

}  // namespace

bool Eventually(const std::function<bool()>& so, std::chrono::milliseconds deadline) {
  const auto end = steady_clock::now() + deadline;
  while (!so()) {
    if (steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

ChildProcess::ChildProcess(const std::vector<std::string>& arguments, const std::string& log,
                           const std::vector<std::string>& environment)
    : log_(log) {
  std::vector<char*> argv;
  for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  std::vector<char*> envp;
  for (const auto& entry : environment) envp.push_back(const_cast<char*>(entry.c_str()));
  for (char** entry = environ; *entry != nullptr; ++entry) envp.push_back(*entry);
  envp.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
  posix_spawn_file_actions_adddup2(&actions, 1, 2);
  const int rc = posix_spawn(&id_, argv[0], &actions, nullptr, argv.data(), envp.data());
  posix_spawn_file_actions_destroy(&actions);
  if (rc != 0) throw std::runtime_error("cannot start " + arguments[0]);
}

ChildProcess::~ChildProcess() {
  if (Ended()) return;
  kill(id_, SIGKILL);
  WaitForEnd();
}

void ChildProcess::Signal(int signal) const { kill(id_, signal); }

std::optional<int> ChildProcess::Ended() {
  int status = 0;
  if (!code_ && waitpid(id_, &status, WNOHANG) == id_) {
    code_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
  return code_;
}

int ChildProcess::WaitForEnd() {
  Eventually([this] { return Ended().has_value(); });
  return code_.value_or(-1);
}

std::string ChildProcess::Log() const { return test::FileBytes(log_); }

Broker::Broker(const std::string& extra, bool persistent) {
  port_ = FreePort();
  std::ofstream config(folder_ / "mosquitto.conf");
  config << "per_listener_settings true\n";
  // Started by root it would change its user and lose sight of the folder.
  if (geteuid() == 0) config << "user root\n";
  config << "log_type error\nlog_type warning\nlog_type notice\nlog_type subscribe\n";
  config << "persistence " << (persistent ? "true" : "false") << '\n'
         << "persistence_location " << folder_.Path() << "/\n"
         << "listener " << port_ << " 127.0.0.1\n"
         << extra << "listener 0 " << folder_ / "socket"
         << "\nallow_anonymous true\n";
  config.close();
  Start();
}

void Broker::Start() {
  process_.emplace(std::vector<std::string>{VANTOSCOPE_MOSQUITTO, "-c", folder_ / "mosquitto.conf"},
                   folder_ / "broker.log");
  if (!Eventually([this] { return Accepts(port_); })) {
    throw std::runtime_error("the broker did not start: " + process_->Log());
  }
}

void Broker::Stop() {
  process_->Signal(SIGTERM);
  process_->WaitForEnd();
}

void BrokerTest::SetUp() {
  if (std::string_view(VANTOSCOPE_MOSQUITTO).ends_with("NOTFOUND")) {
    GTEST_SKIP() << "the broker mosquitto is not installed";
  }
  broker_.emplace();
}

std::unique_ptr<ChildProcess> BrokerTest::StartHost(const std::string& from,
                                                    const std::string& to) {
  const auto log = broker_->Folder() / ("host" + std::to_string(++hosts_) + ".log");
  return std::make_unique<ChildProcess>(
      std::vector<std::string>{VANTOSCOPE_TELVIXD, "--from", from, "--to", to}, log.string());
}

std::unique_ptr<ChildProcess> BrokerTest::StartHost(const std::string& from) {
  auto host = StartHost(from, broker_->Tcp(kRoot));
  EXPECT_TRUE(Eventually([&] { return host->Log().find("publishing") != std::string::npos; }))
      << host->Log();
  return host;
}

}  // namespace vantoscope
