// SPDX-License-Identifier: GPL-3.0-or-later
#include "program/decimal_separator.h"

#include <langinfo.h>
#include <locale.h>  // NOLINT(modernize-deprecated-headers): newlocale is POSIX

namespace vantoscope {

std::string DecimalSeparator() {
  std::string separator;
  if (locale_t users = newlocale(LC_NUMERIC_MASK, "", nullptr)) {
    separator = nl_langinfo_l(RADIXCHAR, users);
    freelocale(users);
  }
  return separator.empty() ? "." : separator;
}

}  // namespace vantoscope
