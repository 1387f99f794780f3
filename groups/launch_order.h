// SPDX-License-Identifier: GPL-3.0-or-later
// What is told to a process that is launched: its words, and the marks in its environment.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "groups/grid.h"

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
/// In the environment of a group, once its first meter knows it: the frame of its windows, as two
/// corners parted by a blank, the upper left one first.
inline constexpr const char* kFrameVariable = "VANTOSCOPE_FRAME";

struct LaunchOrder {
  std::string command_text;        ///< as it was asked for
  int index = 0;                   ///< of the channel
  std::vector<std::string> words;  ///< of the command text; the program without ".exe"
  std::vector<std::string>
      marks;  ///< variables as NAME=VALUE, beside the environment of its parent
};

/// `mailbox` is empty where there is none. `place_of` gives the place of the meter of an index.
LaunchOrder OrderOf(const std::string& command_text, int window_style, const std::string& mailbox,
                    const std::function<Corner(int index)>& place_of);

/// The path of the ordered program beside the running one, else its bare name for a search on PATH.
std::string ProgramFor(const LaunchOrder& order);

}  // namespace vantoscope
