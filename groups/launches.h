// SPDX-License-Identifier: GPL-3.0-or-later
// The further meters of this process: which were started, what they say of themselves, and which of
// them ended without a word.
#pragma once

#include <sys/types.h>

#include <map>
#include <optional>
#include <string>

#include "groups/launch_mailbox.h"
#include "groups/launch_tally.h"

namespace vantoscope {

class Launches {
 public:
  Launches() = default;
  ~Launches();
  Launches(const Launches&) = delete;
  Launches& operator=(const Launches&) = delete;

  /// Where the meters that are launched from now on report; empty where they cannot.
  const std::string& MailboxName();

  /// `process` is 0 where nobody knows it.
  void Launched(int index, pid_t process);
  void NotLaunched(int index, const std::string& sentence);

  /// Called several times a second. A meter that ended without a word is one line on standard
  /// error. Gives the text of a box when there is something to tell; see LaunchTally::Tell.
  std::optional<std::string> Look();

 private:
  void Hear();

  std::optional<LaunchMailbox> mailbox_;
  LaunchTally tally_;
  std::map<int, int> watched_;  ///< by index, a descriptor of each process that is still silent
};

}  // namespace vantoscope
