// SPDX-License-Identifier: GPL-3.0-or-later
// What waits for a broker that takes less than the device gives: at most kMost bytes. Then the
// oldest blocks of scans go, and the user is told, once when it begins and once with the number of
// scans when it is over. Lists and states are kept. No network, no thread and no clock.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vantoscope {

class Outbox {
 public:
  static constexpr std::size_t kMost = std::size_t{64} << 20U;

  /// Whether the link can have one more message, and the way to it.
  using Takes = std::function<bool()>;
  using Send = std::function<void(std::string_view leaf, std::span<const std::byte>, int qos)>;
  /// The rest of a sentence that begins with the broker.
  using Say = std::function<void(const std::string&)>;

  Outbox(Takes takes, Send send, Say say)
      : takes_(std::move(takes)), send_(std::move(send)), say_(std::move(say)) {}

  /// In the order of the calls; at once when the link takes it.
  void Put(std::string_view leaf, std::span<const std::byte> payload, int qos);
  /// Sends what the link takes by now. To be called a hundred times a second unless Empty.
  void SendOn();
  [[nodiscard]] bool Empty() const { return waiting_.empty(); }
  /// The connection is lost: what waits will not be sent.
  void Drop();
  /// The end has come: the same, and what is put from now on goes at once.
  void Open();

 private:
  struct Message {
    std::string leaf;
    std::vector<std::byte> payload;
    int qos = 0;
  };
  void DropOldestScans();
  void Count(const Message& message);
  void SayOver(const std::string& now);

  Takes takes_;
  Send send_;
  Say say_;
  std::deque<Message> waiting_;
  std::size_t bytes_ = 0;
  bool open_ = false;
  bool dropping_ = false;
  std::uint64_t dropped_ = 0;  // scans
};

}  // namespace vantoscope
