// A child process, and a private broker on a free loopback port and a Unix socket.
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/scratch_folder.h"

namespace vantoscope {

/// Asks every few milliseconds until it is so; false when it is not so in time.
bool Eventually(const std::function<bool()>& so,
                std::chrono::milliseconds deadline = std::chrono::seconds(8));

/// Killed, by its id, when it goes out of scope.
class ChildProcess {
 public:
  /// Output and errors go to the file `log`. `environment` is added to that of the test.
  ChildProcess(const std::vector<std::string>& arguments, const std::string& log,
               const std::vector<std::string>& environment = {});
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  [[nodiscard]] pid_t Id() const { return id_; }
  void Signal(int signal) const;
  /// Exit code, or 128 and the signal, once it has ended.
  std::optional<int> Ended();
  int WaitForEnd();
  [[nodiscard]] std::string Log() const;

 private:
  pid_t id_ = 0;
  std::string log_;
  std::optional<int> code_;
};

class Broker {
 public:
  /// `extra` is added to the configuration of the TCP listener, after the general part.
  explicit Broker(const std::string& extra = "allow_anonymous true\n", bool persistent = false);

  void Start();
  /// SIGTERM, as a service manager does; returns when it is gone.
  void Stop();
  [[nodiscard]] std::string Tcp(const std::string& root) const {
    return "127.0.0.1:" + std::to_string(port_) + '/' + root;
  }
  [[nodiscard]] std::string Socket(const std::string& root) const {
    return (folder_ / "socket") + '!' + root;
  }
  [[nodiscard]] std::filesystem::path Folder() const { return folder_.Path(); }

 private:
  test::ScratchFolder folder_;
  int port_ = 0;
  std::optional<ChildProcess> process_;
};

constexpr const char* kRoot = "lab/bench1";
constexpr const char* kSimulator = "SM64:rate=1000,channels=12,seed=7";

/// A test with a broker, skipped where none is installed.
class BrokerTest : public testing::Test {
 protected:
  void SetUp() override;
  std::unique_ptr<ChildProcess> StartHost(const std::string& from, const std::string& to);
  /// Waits until it publishes under kRoot.
  std::unique_ptr<ChildProcess> StartHost(const std::string& from = kSimulator);

  std::optional<Broker> broker_;
  int hosts_ = 0;
};

}  // namespace vantoscope
