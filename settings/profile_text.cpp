// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/profile_text.h"

#include <algorithm>
#include <stdexcept>

#include "text/characters.h"
#include "text/utf8.h"

namespace vantoscope {
namespace {

constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// A view into `text` also where nothing but blanks stands there.
std::string_view Trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return text.substr(0, 0);
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string OneLine(std::string_view text) {
  std::string line(text);
  std::replace_if(
      line.begin(), line.end(), [](char c) { return c == '\n' || c == '\r' || c == '\0'; }, ' ');
  return std::string(Trimmed(line));
}

/// The line that begins at `at`: its text without line end, and where the next line begins.
struct Line {
  Line(std::string_view text, std::size_t at) {
    const std::size_t feed = text.find('\n', at);
    ended = feed != std::string_view::npos;
    next = ended ? feed + 1 : text.size();
    content = text.substr(at, (ended ? feed : next) - at);
    crlf = ended && content.ends_with('\r');
    if (content.ends_with('\r')) content.remove_suffix(1);
  }

  std::string_view content;
  std::size_t next = 0;
  bool ended = false;
  bool crlf = false;
};

bool IsComment(std::string_view trimmed) {
  return trimmed.starts_with(';') || trimmed.starts_with('#');
}

bool IsSectionLine(std::string_view trimmed) {
  return trimmed.starts_with('[') && trimmed.find(']') != std::string_view::npos;
}

bool OpensSection(std::string_view section_line, std::string_view section) {
  const auto is_name_before = [&](std::size_t close) {
    return SameIgnoringCase(Trimmed(section_line.substr(1, close - 1)), section);
  };
  const std::size_t last = section_line.rfind(']');
  std::size_t end = section_line.find(']');
  while (end != last && !IsComment(Trimmed(section_line.substr(end + 1)))) {
    end = section_line.find(']', end + 1);
  }
  return is_name_before(end) || is_name_before(last);
}

bool IsKeyLine(std::string_view trimmed) {
  return !trimmed.empty() && trimmed.find_first_of("[;#") != 0 &&
         trimmed.find('=') != std::string_view::npos;
}

/// Where a key stands, or where it would have to go.
struct Place {
  std::optional<std::string_view> value;  ///< blanks around it left out
  bool section_found = false;
  std::size_t insert_at = 0;  ///< behind the section's last key, or behind its name
  bool line_ended = true;     ///< the line before `insert_at` has a line end
  bool crlf = false;          ///< form of the line ends there
};

Place Locate(std::string_view text, std::string_view section, std::string_view key) {
  Place place;
  bool inside = false;  // in a section of that name
  bool first = false;   // in the first one
  std::size_t at = text.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0;
  place.crlf = Line(text, at).crlf;
  while (at < text.size()) {
    const Line line(text, at);
    const std::string_view trimmed = Trimmed(line.content);
    bool anchor = false;  // a new key would go behind this line
    if (IsSectionLine(trimmed)) {
      inside = OpensSection(trimmed, section);
      first = inside && !place.section_found;
      anchor = first;
      place.section_found |= inside;
    } else if (inside && IsKeyLine(trimmed)) {
      const std::size_t equals = trimmed.find('=');
      if (SameIgnoringCase(Trimmed(trimmed.substr(0, equals)), key)) {
        place.value = Trimmed(trimmed.substr(equals + 1));
        return place;
      }
      anchor = first;
    }
    if (anchor) {
      place.insert_at = line.next;
      place.line_ended = line.ended;
      if (line.ended) place.crlf = line.crlf;
    }
    at = line.next;
  }
  if (!place.section_found) {
    place.insert_at = text.size();
    place.line_ended = text.empty() || text == kByteOrderMark || text.ends_with('\n');
  }
  return place;
}

}  // namespace

std::optional<std::string_view> FindProfileValue(std::string_view text, std::string_view section,
                                                 std::string_view key) {
  return Locate(text, OneLine(section), Trimmed(key)).value;
}

std::string SectionOf(std::string_view text, std::string_view section) {
  const std::string name = OneLine(section);
  std::string found;
  bool inside = false;
  std::size_t at = text.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0;
  while (at < text.size()) {
    const Line line(text, at);
    const std::string_view trimmed = Trimmed(line.content);
    if (IsSectionLine(trimmed)) inside = OpensSection(trimmed, name);
    if (inside) found += text.substr(at, line.next - at);
    at = line.next;
  }
  return found;
}

std::optional<std::string> WithProfileValue(std::string_view text, std::string_view section,
                                            std::string_view key, std::string_view value) {
  const std::string section_name = OneLine(section);
  const std::string new_value = OneLine(value);
  key = Trimmed(key);
  constexpr std::string_view kNotInKeys("=\r\n\0", 4);
  if (key.empty() || key.find_first_of(kNotInKeys) != std::string_view::npos ||
      key.find_first_of("[;#") == 0) {
    throw std::invalid_argument("no name for a key: \"" + std::string(key) + "\"");
  }

  const Place place = Locate(text, section_name, key);
  std::string changed;
  changed.reserve(text.size() + section_name.size() + key.size() + new_value.size() + 16);
  if (place.value) {
    if (*place.value == new_value) return std::nullopt;
    const auto begin = static_cast<std::size_t>(place.value->data() - text.data());
    changed.append(text.substr(0, begin));
    changed.append(new_value);
    changed.append(text.substr(begin + place.value->size()));
    return changed;
  }

  const std::string_view line_end = place.crlf ? "\r\n" : "\n";
  changed.append(text.substr(0, place.insert_at));
  if (!place.line_ended) changed.append(line_end);
  if (!place.section_found) changed.append("[").append(section_name).append("]").append(line_end);
  changed.append(key).append("=").append(new_value).append(line_end);
  changed.append(text.substr(place.insert_at));
  return changed;
}

std::string_view CutToBytes(std::string_view value, std::size_t limit) {
  if (value.size() <= limit) return value;
  constexpr std::size_t kMostContinuations = 3;
  std::size_t cut = limit;
  while (cut > 0 && limit - cut < kMostContinuations && ContinuesCharacter(value[cut])) --cut;
  // No first byte near: no UTF-8 at all.
  return value.substr(0, ContinuesCharacter(value[cut]) ? limit : cut);
}

}  // namespace vantoscope
