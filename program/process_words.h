// SPDX-License-Identifier: GPL-3.0-or-later
// The command line and the name that the system shows of this process.
#pragma once

#include <sys/prctl.h>

#include <optional>
#include <string>
#include <vector>

namespace vantoscope {

class ProcessWords {
 public:
  /// Nothing where the system lets no process change what it shows.
  static std::optional<ProcessWords> Find();

  /// Shows these, as if the process had been started with them.
  bool Show(const std::vector<std::string>& words) const;

 private:
  prctl_mm_map layout_{};
};

}  // namespace vantoscope
