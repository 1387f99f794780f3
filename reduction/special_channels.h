// SPDX-License-Identifier: GPL-3.0-or-later
// What the label of a digital input or a counter shows, from one raw sample word.
#pragma once

#include <cstdint>
#include <string>

namespace vantoscope {

/// A count from 0 to 16384 in decimal, of a word from -32768 to 32767: (word + 32768) / 4, a half
/// to the even neighbour.
std::string CounterText(std::int32_t word);

/// The high byte of the word in upper-case hexadecimal, "0" to "FF".
std::string DigitalText(std::int32_t word);

}  // namespace vantoscope
