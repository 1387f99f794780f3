// SPDX-License-Identifier: GPL-3.0-or-later
// What has become of the further meters of a group, and when the first one tells its user. Knows
// neither processes nor sockets; time is handed in, in seconds of any clock that only rises.
#pragma once

#include <map>
#include <optional>
#include <string>

namespace vantoscope {

class LaunchTally {
 public:
  /// Seconds after the first launch in which every meter can report before failures are told.
  static constexpr double kPatience = 9;

  void Launched(int index, double now);
  /// The first word about a meter stands; one about a meter that was not launched counts for
  /// nothing. `sentence` is for the user.
  void Started(int index);
  void Failed(int index, std::string sentence);

  /// Nobody has said anything about it yet.
  [[nodiscard]] bool IsSilent(int index) const;
  [[nodiscard]] bool AnySilent() const;
  [[nodiscard]] bool IsOverdue(double now) const { return now - first_launch_ >= kPatience; }

  /// When no meter is silent any more or time is up, and a failure is new: the text of a box with
  /// all failures so far. Else nothing.
  std::optional<std::string> Tell(double now);

 private:
  enum class State { Silent, Started, Failed };
  struct Entry {
    State state = State::Silent;
    std::string sentence;
  };

  [[nodiscard]] std::string Text() const;
  void Settle(int index, State state, std::string sentence);

  std::map<int, Entry> meters_;
  double first_launch_ = 0;
  bool news_ = false;
};

}  // namespace vantoscope
