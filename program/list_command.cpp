// SPDX-License-Identifier: GPL-3.0-or-later
#include "program/list_command.h"

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>

#include "sources/listing.h"
#include "sources/open_device.h"
#include "text/shown_text.h"

namespace vantoscope {
namespace {

constexpr int kWrongWords = 2;

void Say(const std::string& sentence) { std::cerr << "vantoscope: " << sentence << std::endl; }

struct Wanted {
  std::optional<std::string> device;
  bool json = false;
};

/// As a meter has it, too: -dDEVICE.
std::string WithoutLetter(std::string_view word) {
  return std::string(word.starts_with("-d") || word.starts_with("-D") ? word.substr(2) : word);
}

std::optional<Wanted> WantedBy(std::span<char*> words) {
  Wanted wanted;
  for (const std::string_view word : words) {
    if (word == "--json") {
      wanted.json = true;
    } else if (wanted.device || word.starts_with("--")) {
      Say("'" + Escaped(WithoutCredentials(word)) +
          "' has no place behind --list, which takes one device and --json.");
      return std::nullopt;
    } else {
      wanted.device = WithoutLetter(word);
    }
  }
  return wanted;
}

/// Says once, after a moment, what is waited for; an interrupt ends the program.
class Waiting {
 public:
  bool Look(const std::string& sentence) {
    constexpr std::chrono::seconds kMoment{1};
    if (!said_ && !sentence.empty() && std::chrono::steady_clock::now() - since_ > kMoment) {
      Say("Waiting: " + sentence);
      said_ = true;
    }
    return true;
  }

 private:
  std::chrono::steady_clock::time_point since_ = std::chrono::steady_clock::now();
  bool said_ = false;
};

std::string TextOf(const Wanted& wanted) {
  if (!wanted.device) return wanted.json ? DeviceKindsJson() : DeviceKindsText();
  Waiting waiting;
  const auto device =
      OpenDevice(*wanted.device, SystemTime,
                 [&waiting](const std::string& sentence) { return waiting.Look(sentence); });
  const DeviceListing listing = ListDevice(*device, *wanted.device);
  return wanted.json ? ListingJson(listing) : ListingText(listing);
}

}  // namespace

int RunListCommand(std::span<char*> words) {
  const std::optional<Wanted> wanted = WantedBy(words);
  if (!wanted) return kWrongWords;
  try {
    std::cout << TextOf(*wanted) << std::flush;
  } catch (const std::exception& error) {
    Say(error.what());
    return EXIT_FAILURE;
  }
  return std::cout ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace vantoscope
