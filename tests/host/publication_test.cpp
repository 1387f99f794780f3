#include "host/publication.h"

#include <gmock/gmock.h>

#include <sstream>

namespace vantoscope {
namespace {

/// Plays a script and tells what was sent: after each "/", during the time step that it stands for.
/// A number is a time step in milliseconds; `up` and `down` are the connection, `end` is the end.
/// Messages are open, closed, info and scan: with a capital of another host, with * retained.
std::string Play(const std::string& script) {
  const auto info_of = [](std::uint64_t epoch) {
    return HostInfo{.epoch = epoch, .device = "SM64", .rate = 10, .channels = {{}}};
  };
  std::string sent;
  Publication host(
      info_of(0xaaaa),
      [&](std::string_view leaf, std::span<const std::byte> payload, int) {
        const std::string text(reinterpret_cast<const char*>(payload.data()), payload.size());
        sent += ' ' + (leaf == "state" ? text.substr(0, text.find(' ')) : std::string(leaf));
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
    } else if (word == "info") {
      message(EncodeInfo(info_of(epoch)));
    } else if (word == "open" || word == "closed") {
      message(EncodeState({word == "open", epoch, {}}));
    } else if (word == "scan") {
      host.OnMessage(word, EncodeScans({0, 1, {5}}, 1, epoch, {}), retained, now);
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
      {"another is at work, by its state", "up Open 5000 end", " /"},
      {"another is at work, by its scans", "up Scan 5000", " /"},
      {"another crashed", "up Open* 300 Open* 3099 1", " / / / info open"},
      {"another seemed to have crashed", "up Open* 3000 Open 5000 down up 5000", " / / /"},
      {"another came earlier", "up 400 Info info 999 1", " / info open / / open"},
      {"another came later", "up 400 info Info 5000 end", " / info open /"},
      {"farewells over its own word", "up 400 info closed Closed open Open",
       " / info open open open"},
      {"connection lost", "up 400 info down 5000 up 400 Info 1000",
       " / info open / / info open / open"},
  };
  for (const Row& row : rows) EXPECT_EQ(Play(row.script), row.sent) << row.name;
}

}  // namespace
}  // namespace vantoscope
