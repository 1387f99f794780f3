// The equation language against a model that comes to the answer in another way. The code replaces
// texts one after the other over the whole line. The model walks over a list of cells: for labels,
// history and suffixes it reads at each place what stands there, and for the tokens it asks each
// `#` which of its readings comes next in the order of precedence.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "equation/equation_tick.h"
#include "equation/normaliser.h"
#include "equation/preparation.h"
#include "tests/support/recording.h"

namespace vantoscope {
namespace {

using Numbers = std::vector<std::int16_t>;
const std::vector<std::string> kNames = {"min", "max", "ave", "rms", "acrms", "freq"};
const std::vector<std::string> kSuffixes = {"MIN", "MAX", "AVE", "RMS", "ACRMS"};

bool StandsAt(const std::string& text, std::size_t at, const std::string& part) {
  return text.compare(at, part.size(), part) == 0;
}

/// The digits that stand at a place.
std::string DigitsAt(const std::string& text, std::size_t at) {
  std::size_t end = at;
  while (end < text.size() && std::isdigit(static_cast<unsigned char>(text[end])) != 0) ++end;
  return text.substr(std::min(at, text.size()), end - std::min(at, text.size()));
}

/// The number that the first `length` of `digits` write, if they are written as numbers are.
std::optional<long> Written(const std::string& digits, std::size_t length) {
  if (length == 0 || length > digits.size() || length > 9) return {};
  if (digits[0] == '0' && length > 1) return {};
  return std::stol(digits.substr(0, length));
}

// --- Normaliser -----------------------------------------------------------------------------

/// The channel number that a label's letter and place stand for, by a table of letters.
std::map<std::string, std::vector<long>> LabelTable(const Numbers& numbers, int per_bank) {
  const std::string letters = " ABCDEFGHJKLMNPQRSTUVWXYZ[\\]^_`abcdefghijklmnopqrstuvwxyz{|}~";
  const long top = numbers.empty() ? 0 : std::max<long>(numbers.front(), numbers.back());
  std::map<std::string, std::vector<long>> table;  // label to {channel number, list index}
  for (std::size_t j = 0; j < numbers.size(); ++j) {
    const long n = numbers[j];
    if (n < 1 || n > top) continue;
    long bank = 0;
    long place = n;
    while (place > per_bank) place -= per_bank, ++bank;
    if (static_cast<std::size_t>(bank) >= letters.size()) continue;  // no key writes that letter
    const std::string letter = bank == 0 ? "" : std::string(1, letters[static_cast<size_t>(bank)]);
    table[letter + std::to_string(place)] = {n, static_cast<long>(j)};  // a later one wins
  }
  return table;
}

std::string ModelNormalise(const std::string& text, const Numbers& numbers, int per_bank) {
  const auto table = LabelTable(numbers, per_bank);
  std::string labels;  // after the labels are read; finished references still marked
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t head = StandsAt(text, at, "CH") ? 2 : text[at] == ']' ? 1 : 0;
    const std::vector<long>* best = nullptr;
    std::size_t length = 0;
    for (const auto& [label, channel] : table) {
      if (head == 0 || !StandsAt(text, at + head, label)) continue;
      if (best == nullptr || channel[0] > (*best)[0]) best = &channel, length = label.size();
    }
    if (best != nullptr) {
      labels += (head == 2 ? "ch" : "}") + std::to_string((*best)[1]);
      at += head + length;
    } else {
      labels += text[at++];
    }
  }
  std::string restored;
  for (std::size_t at = 0; at < labels.size(); ++at) {
    if (StandsAt(labels, at, "ch")) {
      restored += "CH", ++at;
    } else {
      restored += labels[at] == '}' ? ']' : labels[at];
    }
  }
  std::string history;
  for (std::size_t at = 0; at < restored.size();) {
    const std::string digits = StandsAt(restored, at, "CH[T-") ? DigitsAt(restored, at + 5) : "";
    const auto depth = Written(digits, digits.size());
    if (depth && *depth <= 26 && StandsAt(restored, at + 5 + digits.size(), "]")) {
      history += {'#', "@ABCDEFGHIJKLMNOPQRSTUVWXYZ"[*depth]};
      at += 6 + digits.size();
    } else {
      history += restored[at++];
    }
  }
  std::string words;
  for (std::size_t at = 0; at < history.size();) {
    const std::size_t length = StandsAt(history, at, "RATE") ? 4
                               : StandsAt(history, at, "CH") ? 2
                                                             : 1;
    words += length == 4 ? "#@" : length == 2 ? "#" : std::string(1, history[at]);
    at += length;
  }
  std::string result;
  for (std::size_t at = 0; at < words.size();) {
    const std::string digits = words[at] == '#' ? DigitsAt(words, at + 1) : "";
    const auto index = Written(digits, digits.size());
    std::size_t s = kSuffixes.size();
    if (index && *index < static_cast<long>(numbers.size())) {
      for (s = 0; s < kSuffixes.size(); ++s) {
        if (StandsAt(words, at + 1 + digits.size(), kSuffixes[s])) break;
      }
    }
    if (s < kSuffixes.size()) {
      result += "#" + kNames[s] + digits;
      at += 1 + digits.size() + kSuffixes[s].size();
    } else {
      result += words[at++];
    }
  }
  return result;
}

// --- Tokens ---------------------------------------------------------------------------------

struct Reading {
  char kind;   ///< p plain, h history, s statistic, r rate
  long index;  ///< list index
  long which;  ///< depth or statistic
  std::size_t length;
};

/// Everything that the text at a `#` can be read as.
std::vector<Reading> ReadingsAt(const std::string& text, std::size_t at) {
  std::vector<Reading> readings;
  const auto read = [&](char kind, long which, std::size_t prefix) {
    const std::string digits = DigitsAt(text, at + prefix);
    for (std::size_t n = 1; n <= digits.size(); ++n) {
      if (const auto index = Written(digits, n))
        readings.push_back({kind, *index, which, prefix + n});
    }
  };
  read('p', 0, 1);
  if (at + 1 < text.size() && text[at + 1] >= '@' && text[at + 1] <= 'Z') {
    read('h', text[at + 1] - '@', 2);
  }
  for (std::size_t s = 0; s < kNames.size(); ++s) {
    if (StandsAt(text, at + 1, kNames[s])) read('s', static_cast<long>(s), 1 + kNames[s].size());
  }
  if (StandsAt(text, at, "#@")) readings.push_back({'r', 0, 0, 2});
  return readings;
}

/// Replaces readings in the order of `rank` (the lowest first; none: never), all places of one
/// rank at once.
template <class Rank, class Text>
std::string InOrder(std::string text, Rank rank, Text replacement) {
  for (long done = -1;;) {
    std::optional<long> next;
    for (std::size_t at = text.find('#'); at != std::string::npos; at = text.find('#', at + 1)) {
      for (const Reading& r : ReadingsAt(text, at)) {
        const std::optional<long> place = rank(r);
        if (place && *place > done && (!next || *place < *next)) next = place;
      }
    }
    if (!next) return text;
    std::string result;
    for (std::size_t at = 0; at < text.size();) {
      const std::vector<Reading> readings =
          text[at] == '#' ? ReadingsAt(text, at) : std::vector<Reading>{};
      const auto found = std::find_if(readings.begin(), readings.end(),
                                      [&](const Reading& r) { return rank(r) == next; });
      if (found == readings.end()) {
        result += text[at++];
      } else {
        result += replacement(*found);
        at += found->length;
      }
    }
    text = result;
    done = *next;
  }
}

struct ModelNeeds {
  long depth = 0;
  bool statistics = false;
};

ModelNeeds NeedsOf(const std::string& text) {
  ModelNeeds needs;
  for (std::size_t at = 0; at + 1 < text.size(); ++at) {
    if (text[at] != '#') continue;
    if (text[at + 1] >= 'A' && text[at + 1] <= 'Z') {
      needs.depth = std::max<long>(needs.depth, text[at + 1] - '@');
    }
    for (const std::string& name : kNames) needs.statistics |= StandsAt(text, at + 1, name);
  }
  return needs;
}

constexpr long kFar = 1000000;

bool ModelPasses(const std::string& text, long channels) {
  const ModelNeeds needs = NeedsOf(text);
  const auto rank = [&](const Reading& r) -> std::optional<long> {
    const long from_top = channels - 1 - r.index;
    switch (r.kind) {
      case 'p':
        if (from_top >= 0) return kFar + from_top;
        return r.index <= 256 ? std::optional(256 - r.index) : std::nullopt;
      case 'h':
        if (from_top < 0 || r.which > needs.depth) return {};
        return 2 * kFar + from_top * 27 + (26 - r.which);
      case 's':
        if (from_top < 0) return {};
        return 4 * kFar + from_top * 6 + r.which;
      default:
        return 3 * kFar;
    }
  };
  const std::string rest = InOrder(text, rank, [channels](const Reading& r) {
    return std::string(r.kind == 'p' && r.index >= channels ? "####" : "");
  });
  return rest.find('#') == std::string::npos;
}

/// `before`: what comes right behind the plain token of an index, 's' in the tick, 'h' at first.
template <class Value>
std::string ModelSubstitute(const std::string& text, long channels, char before, int places,
                            Value value) {
  const ModelNeeds needs = NeedsOf(text);
  const auto rank = [&](const Reading& r) -> std::optional<long> {
    if (r.kind == 'r') return kFar;
    if (r.index >= channels || (r.kind == 'h' && r.which > needs.depth)) return {};
    const long within = r.kind == 'h' ? 26 - r.which : r.which;
    return (channels - 1 - r.index) * 100 +
           (r.kind == 'p'      ? 0
            : r.kind == before ? 1
                               : 50) +
           within;
  };
  return InOrder(text, rank, [&](const Reading& r) {
    char digits[512];
    std::snprintf(digits, sizeof digits, "%.*f", places, value(r));
    std::string number = digits;
    while (number.back() == '0') number.pop_back();
    const std::size_t integer = number[0] == '-' ? 1 : 0;
    if (number[integer] == '0') number.erase(integer, 1);
    return number;
  });
}

// --- The meter under test -------------------------------------------------------------------

constexpr double kValues[] = {1.5, -3,  0,     2,         12.25, 0.1,     55,  -0.125, 101, 2.5,
                              7,   -20, 33.75, 123456.75, 1e-5,  1.0 / 3, 3.0, 25,     10,  1e20};

/// The value of channel j, k scans before the newest, in one fetch.
double ValueOf(long fetch, long j, long k) {
  return kValues[static_cast<std::size_t>(fetch * 7 + j * 3 + k * 11) % std::size(kValues)];
}

class ListTelvix : public test::RecordingTelvix {
 public:
  using RecordingTelvix::RecordingTelvix;
  long fetches = 0;
  std::optional<Block> GetData(std::int16_t count, std::int32_t) override {
    ++fetches;
    Block block(channels.size(), static_cast<std::size_t>(count));
    for (std::size_t j = 0; j < channels.size(); ++j) {
      for (std::int16_t i = 0; i < count; ++i) {
        block(j, static_cast<std::size_t>(i)) =
            ValueOf(fetches, static_cast<long>(j), count - 1 - i);
      }
    }
    return block;
  }
};

class Generator {
 public:
  int Pick(int from, int to) { return std::uniform_int_distribution<int>(from, to)(random_); }
  template <class List>
  auto OneOf(const List& list) {
    return list[static_cast<std::size_t>(Pick(0, static_cast<int>(std::size(list)) - 1))];
  }

  Numbers ChannelList() {
    Numbers numbers;
    const int count = Pick(0, 19) == 0 ? Pick(100, 300) : Pick(1, 40);
    const int gap = Pick(0, 2) == 0 ? Pick(1, 9) : 1;
    for (int n = Pick(1, 20), j = 0; j < count; ++j) {
      numbers.push_back(static_cast<std::int16_t>(n));
      if (Pick(0, 15) != 0) n += Pick(1, gap);  // else a duplicate
    }
    if (Pick(0, 4) == 0) std::shuffle(numbers.begin(), numbers.end(), random_);
    for (const int special : {-1, -2, -3, 999}) {
      if (Pick(0, 7) == 0) numbers.push_back(static_cast<std::int16_t>(special));
    }
    return numbers;
  }

  std::string Equation(const Numbers& numbers) {
    std::string text;
    for (int n = Pick(0, 9); n >= 0; --n) {
      text += Part(numbers);
      if (Pick(0, 1) == 0)
        text += OneOf(std::vector<std::string>{"+", "-", "*", "/", ")", "", "^"});
    }
    return text;
  }

 private:
  std::string Label() {
    const std::string letter =
        Pick(0, 1) == 0 ? "" : std::string(1, OneOf(std::string("ABCDEFGHIJKLMNOPQRSTUVWXYZa]")));
    return letter + std::to_string(Pick(0, 3) == 0 ? Pick(0, 40) : Pick(1, 12));
  }
  std::string Index(const Numbers& numbers) {
    const int top = static_cast<int>(numbers.size());
    return std::to_string(Pick(0, 9) == 0 ? Pick(0, 320) : Pick(0, top - 1));
  }
  std::string Part(const Numbers& numbers) {
    const auto depth = [this] {
      return std::to_string(Pick(0, 9) == 0 ? Pick(20, 28) : Pick(0, 5));
    };
    switch (Pick(1, 11)) {
      case 1:
        return "CH" + Label();
      case 2:
        return "CH[T-" + depth() + "]" + Label();
      case 3:
        return "CH" + Label() + OneOf(kSuffixes);
      case 4:
        return OneOf(std::vector<std::string>{"RATE", "#@", "CH", "ch", "]", "}", "CH[T-",
                                              "ch[T-1}", "FREQ", "ATE", "#", "CH[T-18]ATE", "MIN",
                                              "sin(", "c"});
      case 5:
        return "#" + Index(numbers);
      case 6:
        return std::string{'#', OneOf(std::string("@@ABCDZ"))} + Index(numbers);
      case 7:
        return "#" + OneOf(kNames) + Index(numbers);
      case 8:
        return "ch" + Index(numbers);
      case 9:
        return std::to_string(Pick(0, 30));
      case 10: {
        std::string soup;
        for (int n = Pick(1, 6); n > 0; --n) {
          soup += OneOf(std::string("CHch[]}T-0123456789#@ABZRMINaverm."));
        }
        return soup;
      }
      default:
        return "#" + std::to_string(Pick(1, 3)) + "#" + Index(numbers);
    }
  }

  std::mt19937 random_{20261122};
};

constexpr double kRate = 1024;
constexpr double kScaleHigh = 30;
constexpr double kScaleLow = -2;

double ModelStatistic(long statistic, double x) {  // of a window of one sample
  const double values[] = {
      std::min(x, kScaleHigh), std::max(x, kScaleLow), x, std::sqrt(x * x), 0, 0};
  return values[statistic];
}

TEST(EquationDifferentialTest, AgreesWithTheModelToTheLetter) {
  Generator generate;
  test::RecordingMeter rig;
  ListTelvix telvix(rig.log);
  telvix.rate = kRate;
  Meter meter{telvix, rig.form, rig.platform};  // one for all, so that nothing kept can be stale
  meter.runtime.DecimalSep = ",";
  meter.runtime.StatisticNames = rig.meter.runtime.StatisticNames;
  meter.runtime.EquationEngine = rig.platform.CreateEvaluator();
  meter.config.WindowSize = 1;

  int passed = 0;
  int touching = 0;
  for (int round = 0; round < 400; ++round) {
    const Numbers numbers = generate.ChannelList();
    const auto channels = static_cast<long>(numbers.size());
    telvix.channels.clear();
    for (const auto n : numbers) {
      telvix.channels.push_back({.number = n, .low = kScaleLow, .high = kScaleHigh});
    }
    meter.runtime.ChannelsPerBank = generate.Pick(0, 1) == 0 ? 16 : 32;
    const int equations = channels > 60 ? 8 : 40;
    for (int i = 0; i < equations; ++i) {
      const std::string text = generate.Equation(numbers);
      SCOPED_TRACE(text + " over " + std::to_string(channels) + " channels");
      const std::string normalised = NormaliseEquation(meter, text);
      ASSERT_EQ(normalised, ModelNormalise(text, numbers, meter.runtime.ChannelsPerBank));

      rig.log.clear();
      const ModelNeeds needs = NeedsOf(normalised);
      const bool passes = ModelPasses(normalised, channels);
      ASSERT_EQ(PrepareEquation(meter, normalised), passes) << normalised;
      ASSERT_EQ(meter.runtime.HistoryDepth, needs.depth);
      ASSERT_EQ(meter.runtime.NeedsStatistics, needs.statistics ? 1 : 0);
      if (!passes) continue;
      ++passed;
      const long first = telvix.fetches;
      const std::string at_first =
          ModelSubstitute(normalised, channels, 'h', 17, [&](const Reading& r) {
            if (r.kind == 'r') return kRate;
            return ValueOf(first, r.index, r.kind == 'h' ? r.which : needs.depth);
          });
      ASSERT_EQ(rig.log[rig.log.size() - 2], "Evaluate " + at_first) << normalised;

      meter.runtime.PreparedEquation = normalised;
      for (int tick = 0; tick < 2; ++tick) {
        ASSERT_TRUE(EquationTick(meter));
        const long newest = telvix.fetches;
        const std::string in_tick =
            ModelSubstitute(normalised, channels, 's', 16, [&](const Reading& r) {
              if (r.kind == 'r') return kRate;
              if (r.kind == 's') return ModelStatistic(r.which, ValueOf(newest - 1, r.index, 0));
              return ValueOf(newest, r.index, r.which);
            });
        ASSERT_EQ(rig.log.back(), "Evaluate " + in_tick) << normalised;
      }
      if (normalised.find("#1#") != std::string::npos) ++touching;
    }
  }
  // The random texts reach what they are meant to reach.
  EXPECT_GT(passed, 2000);
  EXPECT_GT(touching, 100);
}

}  // namespace
}  // namespace vantoscope
