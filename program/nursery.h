// SPDX-License-Identifier: GPL-3.0-or-later
// The nursery of a group: a process forked before anything is made that two meters must not share,
// with the libraries loaded and their relocations done. It forks one child for each order, which
// becomes that meter, and ends with the last one.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vantoscope {

/// Where a process finds itself after OpenNursery.
struct NurseryPlace {
  int socket = -1;  ///< in the process that called: where orders go; -1 when there is no nursery
  std::optional<std::vector<std::string>> words;  ///< in a child: those of its meter
};

/// Returns in the calling process, and once in every child. To be called while the process has one
/// thread, and neither a connection nor a locale. The child has a session of its own, its words and
/// marks, signals as a fresh program expects them, and no descriptors but the standard ones.
NurseryPlace OpenNursery();

}  // namespace vantoscope
