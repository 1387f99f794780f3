// SPDX-License-Identifier: GPL-3.0-or-later
// Process start on POSIX: posix_spawn of the words of a command text, detached.
#pragma once

#include <functional>

#include "groups/grid.h"
#include "groups/launches.h"
#include "meter/process_start.h"

namespace vantoscope {

/// Set in the environment of a child that must not take the focus; the child removes it again.
inline constexpr const char* kNoFocusVariable = "VANTOSCOPE_NO_FOCUS";
/// Set in the environment of a group for which nobody has named a device, although the command
/// texts of its children name the simulator.
inline constexpr const char* kNoDeviceVariable = "VANTOSCOPE_NO_DEVICE";
/// In the environment of a child: the mailbox to which it reports; the child removes it again.
inline constexpr const char* kMailboxVariable = "VANTOSCOPE_LAUNCHER";

/// In the environment of a child: its place in the grid of the group, as TextOf writes it; the
/// child removes it again.
inline constexpr const char* kPlaceVariable = "VANTOSCOPE_PLACE";

/// A program name ending in ".exe" is looked for without that ending, first beside the running
/// program, then on PATH. The child has a session of its own, no parent that must wait for it, the
/// environment of this process, and of its open files the three standard ones.
class PosixProcessStart final : public ProcessStart {
 public:
  /// `launches` is told of every start. `place_of` gives the place of the meter of an index; it is
  /// first asked when the first one is started.
  PosixProcessStart(Launches& launches, std::function<Corner(int index)> place_of)
      : launches_(launches), place_of_(std::move(place_of)) {}
  void Start(const std::string& command_text, int window_style) override;

 private:
  Launches& launches_;
  std::function<Corner(int index)> place_of_;
};

}  // namespace vantoscope
