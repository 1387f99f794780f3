// SPDX-License-Identifier: GPL-3.0-or-later
// What passes between a meter and its nursery, one datagram each: what a process to start is
// told, and which process it became. Both ends are one program, so numbers are as in memory.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantoscope {

struct NurseryOrder {
  std::uint32_t number = 0;  ///< comes back in the answer
  std::vector<std::string> words;
  std::vector<std::string> marks;
  std::vector<std::string> libraries;  ///< that it will load, by name

  bool operator==(const NurseryOrder&) const = default;
};

struct NurseryAnswer {
  std::uint32_t number = 0;
  pid_t process = 0;  ///< 0 where none could be started
};

std::string DatagramOf(const NurseryOrder& order);
/// Nothing where the datagram is cut short, or names no program.
std::optional<NurseryOrder> OrderFrom(std::string_view datagram);

}  // namespace vantoscope
