// SPDX-License-Identifier: GPL-3.0-or-later
// How the further meters of a group tell the first one what became of them: datagrams to a socket
// whose random name they find in their environment. It is gone with the process that holds it.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantoscope {

/// What one meter says: its index, and why it failed to start if it did.
struct LaunchWord {
  int index = 0;
  std::optional<std::string> failure;

  bool operator==(const LaunchWord&) const = default;
};

/// The first meter's side.
class LaunchMailbox {
 public:
  LaunchMailbox();
  ~LaunchMailbox();
  LaunchMailbox(const LaunchMailbox&) = delete;
  LaunchMailbox& operator=(const LaunchMailbox&) = delete;

  /// Empty where no mailbox could be made; the group is then launched without one.
  [[nodiscard]] const std::string& Name() const { return name_; }
  /// What has arrived from processes of this user, oldest first. Never waits.
  std::vector<LaunchWord> Take();

 private:
  int socket_ = -1;
  std::string name_;
};

/// Says a word to the mailbox of that name. False when the mailbox is full for as long as
/// `patience`, so that it should be said again; a mailbox that is gone needs no word any more.
bool TellMailbox(std::string_view name, const LaunchWord& word, std::chrono::milliseconds patience);

}  // namespace vantoscope
