// SPDX-License-Identifier: GPL-3.0-or-later
// Feeds foreign files and values to the profile text and the text helpers of the settings.
//
// The input is a file's bytes, and in front of them, each ended by a byte 0x1E, the section, the
// key and the value to write. After a write the read must give what was written, a second write
// must find nothing to do, and the file must still hold every byte outside of that one value.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>

#include "meter/profile.h"
#include "settings/profile_text.h"
#include "text/booleans.h"
#include "text/numbers.h"

namespace {

using namespace vantoscope;

void Require(bool holds) {
  if (!holds) std::abort();
}

std::string_view TakeField(std::string_view& input) {
  const std::size_t end = std::min(input.find('\x1E'), input.size());
  const std::string_view field = input.substr(0, end);
  input.remove_prefix(std::min(end + 1, input.size()));
  return field;
}

/// What a reader may expect of a written value: breaks and zero bytes became blanks, blanks around
/// it count for nothing.
std::string AsRead(std::string_view value) {
  std::string text(value);
  for (char& c : text) {
    if (c == '\n' || c == '\r' || c == '\0') c = ' ';
  }
  const std::size_t first = text.find_first_not_of(" \t");
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

/// Takes off what both texts share at the front and at the end.
void DropShared(std::string_view& before, std::string_view& after) {
  const auto [b, a] = std::mismatch(before.begin(), before.end(), after.begin(), after.end());
  const auto front = static_cast<std::size_t>(b - before.begin());
  before.remove_prefix(front);
  after.remove_prefix(front);
  const auto [rb, ra] = std::mismatch(before.rbegin(), before.rend(), after.rbegin(), after.rend());
  const auto back = static_cast<std::size_t>(rb - before.rbegin());
  before.remove_suffix(back);
  after.remove_suffix(back);
}

void CheckProfile(std::string_view file, std::string_view section, std::string_view key,
                  std::string_view value) {
  const auto old_value = FindProfileValue(file, section, key);
  Require(FindProfileValue(SectionOf(file, section), section, key) == old_value);
  std::optional<std::string> written;
  try {
    written = WithProfileValue(file, section, key, value);
  } catch (const std::invalid_argument&) {
    return;
  }
  if (!written) {
    Require(old_value && *old_value == AsRead(value));
    return;
  }
  Require(FindProfileValue(*written, section, key) == AsRead(value));
  Require(!WithProfileValue(*written, section, key, value));
  Require(std::count(written->begin(), written->end(), '\0') <=
          std::count(file.begin(), file.end(), '\0'));

  if (old_value) {  // the file with the one value replaced, where that value stands
    const auto at = static_cast<std::size_t>(old_value->data() - file.data());
    Require(*written == std::string(file.substr(0, at)) + AsRead(value) +
                            std::string(file.substr(at + old_value->size())));
  } else {  // the file with whole lines added in one place
    std::string_view removed = file;
    std::string_view added = *written;
    DropShared(removed, added);
    Require(removed.empty());
    const auto lines = std::count(written->begin(), written->end(), '\n') -
                       std::count(file.begin(), file.end(), '\n');
    Require(lines >= 1 && lines <= 3);
    Require(added.size() <= section.size() + key.size() + value.size() + 10);
  }
}

void CheckTextValues(std::string_view text) {
  const double number = NumberFromText(text);
  Require(std::isfinite(number));
  if (BoolFromText(text) == kFalse) Require(number == 0);
  if (std::abs(number) < 32768) {
    Require(std::abs(static_cast<double>(RoundToInt16(number)) - number) <= 0.5 || number > 32767);
  }

  const float narrow = NarrowToFloat(number);
  Require(std::isfinite(narrow));
  const std::string written = FloatText(narrow, ".");
  Require(written.size() <= 13);  // -1.234567E-38
  const float again = NarrowToFloat(NumberFromText(written));
  Require(std::abs(again - narrow) <= std::abs(narrow) * 1e-6F + 1e-44F);
  Require(FloatText(NarrowToFloat(NumberFromText(FloatText(again, "."))), ".") ==
          FloatText(again, "."));

  const std::string_view cut = CutToBytes(text, kProfileValueLimit);
  Require(text.starts_with(cut) && cut.size() <= kProfileValueLimit);
  Require(cut.size() + 4 > std::min(text.size(), kProfileValueLimit));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view input(reinterpret_cast<const char*>(data), size);
  const std::string_view section = TakeField(input);
  const std::string_view key = TakeField(input);
  const std::string_view value = TakeField(input);
  CheckProfile(input, section, key, value);
  CheckTextValues(value);
  return 0;
}
