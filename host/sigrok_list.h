// SPDX-License-Identifier: GPL-3.0-or-later
// What telvixd --list tells of libsigrok, for a terminal of 80 columns or as one JSON object.
#pragma once

#include <string>
#include <vector>

#include "host/sigrok_scan.h"

namespace vantoscope {

std::string DriversText(const std::vector<SigrokDriver>& drivers);
std::string DriversJson(const std::vector<SigrokDriver>& drivers);

std::string InstrumentsText(const std::vector<FoundInstrument>& instruments);
std::string InstrumentsJson(const std::vector<FoundInstrument>& instruments);

}  // namespace vantoscope
