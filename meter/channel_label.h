// SPDX-License-Identifier: GPL-3.0-or-later
// What a user writes behind CH for an analog channel.
#pragma once

#include <cstdint>
#include <string>

namespace vantoscope {

/// The label of a channel number above 0: the letter of its bank, none for the first, and the place
/// in it. The letters skip I and O and have no end.
std::string ChannelLabel(int number, int channels_per_bank);

/// Channels to a bank by a device text: 16 for the models 32, 35, 36 and 37, else 32.
std::int16_t ChannelsPerBankOf(const std::string& device_name);

}  // namespace vantoscope
