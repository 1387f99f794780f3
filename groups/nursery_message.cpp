// SPDX-License-Identifier: GPL-3.0-or-later
#include "groups/nursery_message.h"

#include <cstring>

namespace vantoscope {
namespace {

constexpr std::string_view kNul("\0", 1);

struct Header {
  std::uint32_t number = 0;
  std::uint32_t words = 0;
  std::uint32_t marks = 0;
  std::uint32_t libraries = 0;
};

/// Takes `count` texts, each with its NUL, from the front of `bytes`; false where there are fewer.
bool TakeTexts(std::string_view& bytes, std::uint32_t count, std::vector<std::string>& texts) {
  for (std::uint32_t taken = 0; taken < count; ++taken) {
    const std::size_t end = bytes.find('\0');
    if (end == std::string_view::npos) return false;
    texts.emplace_back(bytes.substr(0, end));
    bytes.remove_prefix(end + 1);
  }
  return true;
}

}  // namespace

std::string DatagramOf(const NurseryOrder& order) {
  const Header header{.number = order.number,
                      .words = static_cast<std::uint32_t>(order.words.size()),
                      .marks = static_cast<std::uint32_t>(order.marks.size()),
                      .libraries = static_cast<std::uint32_t>(order.libraries.size())};
  std::string datagram(sizeof header, '\0');
  std::memcpy(datagram.data(), &header, sizeof header);
  for (const auto* texts : {&order.words, &order.marks, &order.libraries}) {
    for (const std::string& text : *texts) datagram.append(text).append(kNul);
  }
  return datagram;
}

std::optional<NurseryOrder> OrderFrom(std::string_view datagram) {
  Header header;
  if (datagram.size() < sizeof header) return std::nullopt;
  std::memcpy(&header, datagram.data(), sizeof header);
  datagram.remove_prefix(sizeof header);
  NurseryOrder order{.number = header.number, .words = {}, .marks = {}, .libraries = {}};
  const bool whole = TakeTexts(datagram, header.words, order.words) &&
                     TakeTexts(datagram, header.marks, order.marks) &&
                     TakeTexts(datagram, header.libraries, order.libraries) && datagram.empty();
  if (!whole || order.words.empty()) return std::nullopt;
  return order;
}

}  // namespace vantoscope
