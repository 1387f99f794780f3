// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/mqtt/mqtt_wire.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstdlib>

#include "sources/mqtt/mqtt_address.h"
#include "tests/support/scratch_folder.h"

namespace vantoscope {
namespace {

/// A channel of words and one of numbers, three scans, written out by hand: format, channels,
/// scans; epoch; first scan 1000; sent at 1.5 s and taken at 1 s; revision 7; the words 1, -2, 256
/// and the numbers 1, nan, -inf.
const std::string kBlock(
    "TVX\2\2\0\3\0\x88\x77\x66\x55\x44\x33\x22\x11\xe8\3\0\0\0\0\0\0"
    "\x60\xe3\x16\0\0\0\0\0\x40\x42\x0f\0\0\0\0\0\7\0\0\0\0\0\0\0"
    "\1\0\xfe\xff\0\1\0\0\0\0\0\0\xf0\x3f\0\0\0\0\0\0\xf8\x7f\0\0\0\0\0\0\xf0\xff",
    78);
const std::vector<ChannelInfo> kBlockChannels = {{1, "", "", 0, 0, Encoding::kInt16}, {}};

std::optional<Scans> Decode(const std::string& bytes) {
  const auto block = DecodeScans(std::as_bytes(std::span(bytes)));
  return block ? ScansOf(*block, kBlockChannels) : std::nullopt;
}

TEST(MqttWire, ReadsAndWritesAScanBlock) {
  const auto block = DecodeScans(std::as_bytes(std::span(kBlock)));
  ASSERT_TRUE(block);
  EXPECT_EQ(block->epoch, 0x1122334455667788U);
  EXPECT_EQ(block->revision, 7U);
  EXPECT_EQ(block->times, (HostTimes{1'500'000, 1'000'000}));
  const Scans scans = ScansOf(*block, kBlockChannels).value();
  EXPECT_EQ(scans.first, 1000);
  EXPECT_EQ(scans.channels[0], Samples(std::vector<std::int16_t>{1, -2, 256}));
  EXPECT_THAT(std::get<1>(scans.channels[1]), testing::ElementsAre(1, testing::IsNan(), -INFINITY));
  const auto written = EncodeScans(scans, 0x1122334455667788U, 7, block->times);
  EXPECT_TRUE(std::ranges::equal(written, std::as_bytes(std::span(kBlock))));
}

TEST(MqttWire, RefusesScanBlocksThatDoNotAddUp) {
  // Name, position of the byte that is changed, its new value, size of the payload (whole: 78).
  const std::tuple<const char*, std::size_t, char, std::size_t> rows[] = {
      {"header cut", 0, 'T', 47},
      {"one byte short", 0, 'T', 77},
      {"one byte long", 0, 'T', 79},
      {"a channel more than there is", 4, 3, 78},
      {"no scans", 6, 0, 48},
      {"no channels", 4, 0, 48},
      {"other version", 3, 1, 78},
      {"negative index", 23, '\x80', 78},
      {"near overflow", 23, 0x7f, 78},
      {"a time near overflow", 31, 0x7f, 78},
      {"a time near overflow downwards", 39, '\x80', 78},
      {"taken after it was sent", 34, 0x17, 78}};
  for (const auto& [name, at, value, size] : rows) {
    std::string bytes = kBlock;
    bytes[at] = value;
    bytes.resize(size);
    EXPECT_FALSE(Decode(bytes)) << name;
  }
}

constexpr const char* kInfo =
    R"({"format": 2, "epoch": "00000000000000ff", "device": "SM64", "revision": 3, "rate": 250.5, "channels": [
        {"number": 7, "name": "Tank", "unit": "µm/m", "low": -1.5, "high": 2, "encoding": "i16",
         "factor": 1e-4, "offset": 0.25, "added later": [[[]]]},
        {"number": -1, "name": "", "unit": "", "low": 0, "high": 0, "encoding": "f64"}]})";

TEST(MqttWire, ReadsAnInfoAndGivesItBack) {
  std::string why;
  const auto info = DecodeInfo(kInfo, why);
  ASSERT_TRUE(info) << why;
  EXPECT_EQ(info->epoch, 255U);
  EXPECT_EQ(info->rate, 250.5);
  EXPECT_EQ(info->revision, 3U);
  const std::vector<ChannelInfo> channels{
      {7, "Tank", "µm/m", -1.5, 2, Encoding::kInt16, 1e-4, 0.25},
      {-1, "", "", 0, 0, Encoding::kFloat64, 1, 0}};
  EXPECT_EQ(info->channels, channels);
  const auto again = DecodeInfo(EncodeInfo(*info), why);
  ASSERT_TRUE(again) << why;
  EXPECT_EQ(again->channels, channels);
  EXPECT_EQ(again->epoch, 255U);
  const HostInfo broken_text{
      .epoch = 1, .revision = 1, .device = "\xff", .rate = 1, .channels = channels};
  EXPECT_TRUE(DecodeInfo(EncodeInfo(broken_text), why)) << why;
}

TEST(MqttWire, RefusesInfosWithAReason) {
  // Text that is replaced, its replacement, the reason.
  const std::tuple<std::string, std::string, const char*> rows[] = {
      {R"("format": 2)", R"("format": 1)", "its format is not 2"},
      {"00000000000000ff", "ff", "its epoch is not 16 hexadecimal digits"},
      {"250.5", "0", "its rate is out of range"},
      {R"("revision": 3)", R"("revision": -1)", "the revision is out of range"},
      {R"("number": 7)", R"("number": 40000)", "the number of channel 1 is out of range"},
      {R"("unit": "")", R"("units": "")", "the unit of channel 2 is no text"},
      {"µm/m", "a\\nb", "the unit of channel 1 holds a control character"},
      {"Tank", std::string(257, 'T'), "the name of channel 1 is longer than 256 bytes"},
      {R"("high": 0)", R"("high": null)", "the high of channel 2 is no finite number"},
      {"f64", "f32", "the encoding of channel 2 is not known"},
      {R"("factor": 1e-4)", R"("factor": "")", "the factor of channel 1 is no finite number"},
      {kInfo, std::string(100'000, '['), "it is no JSON object"},
      {kInfo, std::string(1 << 20, ' ') + kInfo, "it is longer than 1 MiB"},
      {R"("channels": [)", R"("channels": [], "x": [)", "it has no list of 1 to 1024 channels"},
  };
  for (const auto& [from, to, reason] : rows) {
    std::string text = kInfo;
    text.replace(text.rfind(from), from.size(), to);
    std::string why;
    EXPECT_FALSE(DecodeInfo(text, why)) << to;
    EXPECT_EQ(why, reason);
  }
}

TEST(MqttWire, ReadsStates) {
  EXPECT_TRUE(DecodeState("open 00000000000000ff")->open);
  EXPECT_EQ(DecodeState("closed 00000000000000ff")->epoch, 255U);
  EXPECT_EQ(EncodeState({false, 255, {}}), "closed 00000000000000ff");
  EXPECT_EQ(EncodeState({true, 255, HostTimes{5, -7}}), "open 00000000000000ff 5 -7");
  for (const HostTimes& times : {HostTimes{5, -7}, HostTimes{-7, {}}}) {
    EXPECT_EQ(DecodeState(EncodeState({true, 255, times}))->times, times);
  }
  for (const std::string rest : {" ", " x", " 5 6", " 5 ", " 5 4x", " 5 4 3", " 1e3",
                                 " 9223372036854775807", " 5 -9223372036854775808"}) {
    EXPECT_FALSE(DecodeState("open 00000000000000ff" + rest)) << rest;
  }
  for (const char* text :
       {"", "open", "open ff", "shut 00000000000000ff", "closed 00000000000000ff 5"}) {
    EXPECT_FALSE(DecodeState(text)) << text;
  }
}

TEST(MqttAddress, ReadsTextsAndGivesThemInFull) {
  // Text, in full, whether it means TLS.
  const std::tuple<const char*, const char*, bool> rows[] = {
      {"MQ64:lab-pc/bench", "MQ64:lab-pc:1883/bench", false},
      {"MQ64:h:8883/a", "MQ64:h:8883/a", true},
      {"MQ64:h:9/a?tls&timeout=2.5&wait=5", "MQ64:h:9/a?tls&timeout=2.5&wait=5", true},
      {"MQ64:h/a?cafile=/etc/my%20ca.pem", "MQ64:h:8883/a?cafile=/etc/my%20ca.pem", true},
      {"MQ64:[::1]:1885/a", "MQ64:[::1]:1885/a", false},
      {"MQ64:/run/m%20b.sock!lab/b%201", "MQ64:/run/m%20b.sock!lab/b%201", false},
  };
  for (const auto& [text, full, tls] : rows) {
    const MqttAddress address = ParseMqttAddress(ParseDeviceText(text));
    EXPECT_EQ(FullText(MqttDeviceText(64, address)), full);
    EXPECT_EQ(address.tls, tls) << text;
  }
}

TEST(MqttAddress, RefusesWhatNamesNoHost) {
  for (const char* text :
       {"MQ64", "MQ64:host", "MQ64:/run/x.sock", "MQ64:h:65536/a", "MQ64:[::1/a", "MQ64:h/a/#",
        "MQ64:h/a//b", "MQ64:user:secret@h/a", "MQ64:/run/x.sock!a?tls", "MQ64:h/a?timeout=no",
        "MQ64:h/a?password=x"}) {
    EXPECT_THROW(ParseMqttAddress(ParseDeviceText(text)), SourceError) << text;
  }
}

TEST(MqttAddress, ReadsCredentialsFromTheFileThatTheEnvironmentNames) {
  const test::ScratchFolder folder;
  const std::string path = folder / "credentials";
  setenv("VANTOSCOPE_MQTT_CREDENTIALS", path.c_str(), 1);
  EXPECT_THROW(ReadMqttCredentials(), SourceError);
  test::WriteBytes(path, "meter\r\npass word \n");
  EXPECT_EQ(ReadMqttCredentials()->user, "meter");
  EXPECT_EQ(ReadMqttCredentials()->password, "pass word ");
  test::WriteBytes(path, "\n");
  EXPECT_THROW(ReadMqttCredentials(), SourceError);
  unsetenv("VANTOSCOPE_MQTT_CREDENTIALS");
  EXPECT_FALSE(ReadMqttCredentials());
}

}  // namespace
}  // namespace vantoscope
