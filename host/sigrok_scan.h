// SPDX-License-Identifier: GPL-3.0-or-later
// Which instruments libsigrok can read and which of them are there.
#pragma once

#include <string>
#include <vector>

#include "host/sigrok_handles.h"
#include "host/sigrok_settings.h"

namespace vantoscope {

/// Throws SourceError.
SigrokContext StartSigrok();

/// What the driver finds where the settings say; they belong to the driver and are not opened yet.
/// Throws SourceError with what is known of the reason when there is none.
std::vector<sr_dev_inst*> FindInstruments(sr_context* context, const SigrokSettings& settings);

struct SigrokDriver {
  std::string name;   ///< as in sigrok:NAME
  std::string reads;  ///< the instruments, in words
  bool takes_conn = false;
  bool takes_serialcomm = false;
};

/// All of them, by name. Throws SourceError.
std::vector<SigrokDriver> SigrokDrivers();

struct FoundInstrument {
  std::string from;  ///< the device text that opens it
  std::string vendor;
  std::string model;
  std::string version;
  std::string serial;
  std::vector<std::string> analog;  ///< names of the channels, in the instrument's order
  std::vector<std::string> logic;
};

/// What a scan finds: `text` begins with kSigrokPrefix. Throws SourceError, also when it is
/// nothing.
std::vector<FoundInstrument> ScanForInstruments(const std::string& text);

}  // namespace vantoscope
