// SPDX-License-Identifier: GPL-3.0-or-later
#include "host/publication.h"

#include <gmock/gmock.h>

#include <sstream>

namespace vantoscope {
namespace {

/// Plays a script and tells what was sent: after each "/", during the time step that it stands for.
/// A number is a time step in milliseconds; `up` and `down` are the connection, `end` is the end.
/// Messages are open, closed, info and scan, empty and narrow, which are an info without
/// anything and one with another unit: with a capital of another host, with * retained. `wider` is
/// a channel with another range, and `send@N` one scan.
std::string Play(const std::string& script) {
  const auto info_of = [](std::uint64_t epoch) {
    return HostInfo{.epoch = epoch, .revision = 1, .device = "SM64", .rate = 10, .channels = {{}}};
  };
  std::string sent;
  Publication host(
      info_of(0xaaaa),
      [&](std::string_view leaf, std::span<const std::byte> payload, int) {
        const std::string text(reinterpret_cast<const char*>(payload.data()), payload.size());
        sent += ' ' + (leaf == "state" ? text.substr(0, text.find(' ')) : std::string(leaf));
        std::string why;
        const auto list = leaf == "info" ? DecodeInfo(text, why) : std::nullopt;
        const auto block = leaf == "scan" ? DecodeScans(payload) : std::nullopt;
        const auto revision = list ? list->revision : block ? block->revision : 1;
        if (revision > 1) sent += std::to_string(revision);
      },
      [](const std::string&) {}, [] { return HostTimes{}; });
  Publication::Time now{};
  std::istringstream words(script);
  for (std::string word; words >> word;) {
    const bool retained = word.ends_with('*');
    if (retained) word.pop_back();
    const std::uint64_t epoch = std::isupper(word[0]) ? 0xbbbb : 0xaaaa;
    word[0] = static_cast<char>(std::tolower(word[0]));
    const auto message = [&](const std::string& payload) {
      host.OnMessage(word == "info" ? word : "state", std::as_bytes(std::span(payload)), retained,
                     now);
    };
    if (word == "up") {
      host.OnConnected(now);
    } else if (word == "down") {
      host.OnLost();
    } else if (word == "end") {
      host.Close();
    } else if (word.starts_with("send@")) {
      host.SendScans({std::stoi(word.substr(5)), 1, {std::vector<double>{5}}});
    } else if (word == "wider") {
      host.SetChannels({{0, "", "", 0, 5}});
    } else if (word == "narrow") {
      HostInfo narrow = info_of(0xaaaa);
      narrow.channels[0].unit = "forged";
      word = "info";
      message(EncodeInfo(narrow));
    } else if (word == "empty") {
      host.OnMessage("info", {}, retained, now);
    } else if (word == "info") {
      message(EncodeInfo(info_of(epoch)));
    } else if (word == "open" || word == "closed") {
      message(EncodeState({word == "open", epoch, {}}));
    } else if (word == "scan") {
      host.OnMessage(word, EncodeScans({0, 1, {std::vector<double>{5}}}, epoch, 1, {}), retained,
                     now);
    } else {
      sent += " /";
      host.OnTime(now += std::chrono::milliseconds(std::stoi(word)));
    }
  }
  return sent;
}

TEST(Publication, HasItsRootToItself) {
  struct Row {
    const char* name;
    const char* script;
    const char* sent;
  };
  const Row rows[] = {
      {"not connected", "5000 end", " /"},
      {"a look, signs of life, closed", "up 399 1 999 1 end 5000",
       " / / info open / / open closed /"},
      {"what a former host left", "up Info* Closed* Scan* Closed 400", " / info open"},
      {"what it left itself", "up open scan 400", " / info open"},
      {"another is at work, by its state", "up Open 1000 Open 5000 end", " / /"},
      {"another is at work, by its scans", "up Scan 400 Scan 499 Scan 1 Scan 5000", " / / / /"},
      {"one message is no host", "up Open 3399 1", " / / info open"},
      {"nor are many at once", "up Open Open Scan 3400", " / info open"},
      {"another crashed", "up Open* 300 Open* 3099 1", " / / / info open"},
      {"another seemed to have crashed", "up Open* 2000 Open 1000 Open 5000 down up 5000",
       " / / / /"},
      {"another came earlier", "up 400 Info info 999 1", " / info open / / open"},
      {"another came later", "up 400 info Info Open 900 Open 5000 end", " / info open / /"},
      {"one info is no host", "up 400 info Info 3399 info 1", " / info open / open / info"},
      {"nor is one sign", "up 400 info Info Open 3400 info 1 Open", " / info open / info open /"},
      {"farewells over its own word", "up 400 info closed Closed open Open 1",
       " / info open / open"},
      {"the list again", "up 400 info 9999 1", " / info open / open / info"},
      {"a list of its own epoch is mended", "up 400 info narrow 1", " / info open / info"},
      {"an emptied list is mended", "up 400 info empty 1", " / info open / info"},
      {"a jump is said twice", "up 400 send@0 send@1 send@9 send@10",
       " / info open scan scan scan scan scan"},
      {"a list that changes", "up 400 wider wider send@0 1", " / info open info2 scan2 /"},
      {"connection lost", "up 400 info down 5000 up 400 Info 1000",
       " / info open / / info open / open"},
  };
  for (const Row& row : rows) EXPECT_EQ(Play(row.script), row.sent) << row.name;
}

}  // namespace
}  // namespace vantoscope
