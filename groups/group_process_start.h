// SPDX-License-Identifier: GPL-3.0-or-later
// Process start for the meters of a group: each becomes a child of the nursery, where there is one
// and the program asked for is the running one; else, and for all that the nursery could not start,
// posix_spawn does it.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "groups/grid.h"
#include "groups/launch_order.h"
#include "groups/launches.h"
#include "meter/process_start.h"

namespace vantoscope {

class GroupProcessStart final : public ProcessStart {
 public:
  /// `nursery` is the socket to it, -1 where there is none; it is closed with this object.
  /// `launches` is told of every start. `place_of` gives the place of the meter of an index; it is
  /// first asked when the first one is started. `libraries` names those that this process has
  /// loaded by then, as its further meters will.
  GroupProcessStart(int nursery, Launches& launches, std::function<Corner(int index)> place_of,
                    std::function<std::vector<std::string>()> libraries)
      : nursery_(nursery),
        launches_(launches),
        place_of_(std::move(place_of)),
        libraries_(std::move(libraries)) {}
  ~GroupProcessStart() override;

  /// Waits for nobody: what the nursery does not take at once is kept for Look.
  void Start(const std::string& command_text, int window_style) override;
  /// After the last start: the nursery ends when it has started them all.
  void Finish();
  /// Called several times a second: hears what has become of the orders, and starts in the other
  /// way those of a nursery that could not or has died.
  void Look();

 private:
  struct Waiting {
    std::uint32_t number = 0;
    LaunchOrder order;
  };

  void Send();
  void Hear();
  void Answered(std::uint32_t number, pid_t process);
  void GiveNurseryUp();

  int nursery_;
  Launches& launches_;
  std::function<Corner(int index)> place_of_;
  std::function<std::vector<std::string>()> libraries_;
  std::deque<Waiting> unsent_;
  std::deque<Waiting> unanswered_;
  std::uint32_t orders_ = 0;
  bool finished_ = false;
};

}  // namespace vantoscope
