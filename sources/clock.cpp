#include "sources/clock.h"

#include <chrono>
#include <cmath>

namespace vantoscope {

std::int64_t SystemTime() {
  using std::chrono::duration_cast;
  using std::chrono::nanoseconds;
  return duration_cast<nanoseconds>(std::chrono::system_clock::now().time_since_epoch()).count();
}

std::int64_t ScanIndexAt(std::int64_t nanoseconds, double rate) {
  // A long double holds the nanoseconds of three centuries exactly, a double only those of 104
  // days.
  const long double scans = static_cast<long double>(nanoseconds) * rate / 1e9L;
  return static_cast<std::int64_t>(std::floor(scans));
}

}  // namespace vantoscope
