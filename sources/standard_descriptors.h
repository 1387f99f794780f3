// SPDX-License-Identifier: GPL-3.0-or-later
// The standard descriptors of a process that was started without some of them.
#pragma once

#include <fcntl.h>
#include <unistd.h>

namespace vantoscope {

/// Opens /dev/null in the place of each standard descriptor that this process was started without,
/// before anything else can get its number and be taken for it, by this process or a child.
inline void FillStandardDescriptors() {
  int descriptor = 0;
  do {
    descriptor = open("/dev/null", O_RDWR);
  } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
  if (descriptor >= 0) close(descriptor);
}

}  // namespace vantoscope
