// SPDX-License-Identifier: GPL-3.0-or-later
#include "program/process_words.h"

#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

namespace vantoscope {
namespace {

/// The numbers of /proc/self/stat by the index that its manual page gives them; empty where it
/// cannot be read.
std::vector<std::uint64_t> StatNumbers() {
  std::ifstream file("/proc/self/stat");
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  const std::size_t name_end = text.rfind(") ");
  if (name_end == std::string::npos) return {};
  std::istringstream rest(text.substr(name_end + 4));  // behind the letter of the state
  std::vector<std::uint64_t> numbers(4);               // indices begin with 1, and three are texts
  for (std::string number; rest >> number;) {
    numbers.push_back(std::strtoull(number.c_str(), nullptr, 10));
  }
  return numbers;
}

}  // namespace

std::optional<ProcessWords> ProcessWords::Find() {
  constexpr std::size_t kNumbers = 52;
  const std::vector<std::uint64_t> numbers = StatNumbers();
  if (numbers.size() < kNumbers) return std::nullopt;
  ProcessWords words;
  words.layout_.start_code = numbers[26];
  words.layout_.end_code = numbers[27];
  words.layout_.start_stack = numbers[28];
  words.layout_.start_data = numbers[45];
  words.layout_.end_data = numbers[46];
  words.layout_.start_brk = numbers[47];
  words.layout_.arg_start = numbers[48];
  words.layout_.arg_end = numbers[49];
  words.layout_.env_start = numbers[50];
  words.layout_.env_end = numbers[51];
  words.layout_.exe_fd = static_cast<std::uint32_t>(-1);
  if (!words.Show({program_invocation_short_name})) return std::nullopt;
  return words;
}

bool ProcessWords::Show(const std::vector<std::string>& words) const {
  // The system reads it there, up to the very end of the process.
  static auto& shown = *new std::vector<char>();
  std::vector<char> text;
  for (const std::string& word : words) {
    text.insert(text.end(), word.c_str(), word.c_str() + word.size() + 1);
  }
  prctl_mm_map layout = layout_;
  layout.brk = reinterpret_cast<std::uintptr_t>(sbrk(0));
  layout.arg_start = reinterpret_cast<std::uintptr_t>(text.data());
  layout.arg_end = layout.arg_start + text.size();
  if (prctl(PR_SET_MM, PR_SET_MM_MAP, &layout, sizeof layout, 0) != 0) return false;
  shown.swap(text);
  prctl(PR_SET_NAME, words[0].c_str());
  return true;
}

}  // namespace vantoscope
