// SPDX-License-Identifier: GPL-3.0-or-later
#include "groups/launch_order.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "groups/command_line.h"
#include "meter/process_start.h"
#include "text/words.h"

namespace vantoscope {
namespace {

std::string WithoutExe(std::string name) {
  constexpr std::string_view kEnding = ".exe";
  if (name.ends_with(kEnding)) name.resize(name.size() - kEnding.size());
  return name;
}

/// The index behind the name of the program.
int IndexIn(const std::string& command_text) {
  const std::size_t arguments = std::min(command_text.find(' '), command_text.size() - 1) + 1;
  return IndexOf(std::string_view(command_text).substr(arguments));
}

std::string Mark(const char* variable, const std::string& value) {
  return std::string(variable) + "=" + value;
}

}  // namespace

LaunchOrder OrderOf(const std::string& command_text, int window_style, const std::string& mailbox,
                    const std::function<Corner(int index)>& place_of) {
  const auto words = CutAtBlanks(command_text);
  const int index = IndexIn(command_text);
  LaunchOrder order{.command_text = command_text,
                    .index = index,
                    .words = {words.begin(), words.end()},
                    .marks = {Mark(kPlaceVariable, TextOf(place_of(index)))}};
  order.words[0] = WithoutExe(order.words[0]);
  if (window_style == kShowNoActivate) order.marks.push_back(Mark(kNoFocusVariable, "1"));
  if (!mailbox.empty()) order.marks.push_back(Mark(kMailboxVariable, mailbox));
  for (const char* of_group : {kNoDeviceVariable, kFrameVariable}) {
    if (const char* value = std::getenv(of_group)) order.marks.push_back(Mark(of_group, value));
  }
  return order;
}

std::string ProgramFor(const LaunchOrder& order) {
  const std::string& name = order.words[0];
  std::error_code error;
  const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error) return name;
  const std::string beside = self.parent_path() / name;
  return access(beside.c_str(), X_OK) == 0 ? beside : name;
}

}  // namespace vantoscope
