// SPDX-License-Identifier: GPL-3.0-or-later
#include "text/version.h"

namespace vantoscope {

std::string VersionText(std::string_view program) {
  return std::string(program) +
         " " VANTOSCOPE_VERSION
         "\nCopyright (C) 2026 The Vantoscope developers\n"
         "License GPL-3.0-or-later: GNU GPL version 3 or later "
         "<https://gnu.org/licenses/gpl.html>\n"
         "This is free software; there is NO WARRANTY, to the extent permitted by law.";
}

}  // namespace vantoscope
