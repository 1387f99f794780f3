// SPDX-License-Identifier: GPL-3.0-or-later
// The text of a profile file: finding the value of a key and changing it.
//
// A line is what stands between line feeds; a carriage return at its end belongs to the line end.
// "[name]" opens a section: its name runs to the first "]" behind which the line ends or a comment
// begins, else to the last "]". A name that holds "] ;" itself is found as well, by the last "]".
// "key=value" below it is a key, the value is taken whole. Lines that open with ";" or "#" are
// comments. Blanks and tabs around names and values count for nothing, the case of the letters A to
// Z in names neither. Where a section or a key stands twice, the first key counts. Every other line
// is foreign, and so is every byte: text that is no UTF-8 is nothing special.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vantoscope {

/// The value of a key without the blanks around it, in full length; nothing where there is no such
/// section or key. The view points into `text`.
std::optional<std::string_view> FindProfileValue(std::string_view text, std::string_view section,
                                                 std::string_view key);

/// What of the text counts for that section: every section of that name, and nothing else. Any key
/// of the section has the same value in it.
std::string SectionOf(std::string_view text, std::string_view section);

/// The text with one value replaced; or with the key added behind the last key of its section; or
/// with section and key added at the end. Nothing else changes, but that a last line without a
/// line end gets one where a line follows it. Line breaks in section or value become blanks, so
/// that they can open no line of their own, and so do zero bytes. Nothing where the key holds the
/// value already. Throws std::invalid_argument for a key that could not be found again: an empty
/// one, or one that holds "=", a line break, a zero byte, or "[", ";" or "#" at its front.
std::optional<std::string> WithProfileValue(std::string_view text, std::string_view section,
                                            std::string_view key, std::string_view value);

/// The front of a value, `limit` bytes at most, with no character of UTF-8 cut in two.
std::string_view CutToBytes(std::string_view value, std::size_t limit);

}  // namespace vantoscope
