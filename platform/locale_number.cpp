#include "platform/locale_number.h"

#include <langinfo.h>
#include <locale.h>  // NOLINT(modernize-deprecated-headers): newlocale is POSIX

#include "presentation/display_format.h"

namespace vantoscope {

std::string LocaleNumberText(double value) {
  std::string separator = ".";
  if (locale_t users = newlocale(LC_NUMERIC_MASK, "", nullptr)) {
    separator = nl_langinfo_l(RADIXCHAR, users);
    freelocale(users);
  }
  if (separator.empty()) separator = '.';
  return FormatPicture(value, "", separator);
}

}  // namespace vantoscope
