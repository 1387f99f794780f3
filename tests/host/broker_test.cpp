// The network host as it is used: a broker, telvixd, and meters' devices, each a process or a
// connection of its own.
#include <gmock/gmock.h>

#include <csignal>
#include <fstream>
#include <memory>
#include <tuple>

#include "sources/mqtt/mqtt_device.h"
#include "sources/mqtt/mqtt_link.h"
#include "sources/open_device.h"
#include "tests/host/broker.h"
#include "tests/support/refusal.h"

namespace vantoscope {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;
using testing::HasSubstr;

class NetworkTest : public BrokerTest {
 protected:
  std::unique_ptr<MqttDevice> Open(const std::string& options = "") {
    auto device = std::make_unique<MqttDevice>(
        64, ParseMqttAddress(ParseDeviceText("MQ64:" + broker_->Tcp(kRoot) + options)));
    device->Start();
    return device;
  }
  static bool Fresh(Device& device) { return device.GetData(1, kRawWords).has_value(); }
};

TEST_F(NetworkTest, AMeterHasTheScansAndChannelsOfTheDevice) {
  const auto host = StartHost();
  const auto source = OpenDevice(kSimulator);
  source->Start();
  const auto meter = OpenDevice("MQ32:" + broker_->Socket(kRoot));
  meter->Start();
  ASSERT_TRUE(Eventually([&] { return meter->GetData(50, kRawWords).has_value(); }));
  const RawScans got = meter->ScansSince(meter->ScansSince(-1, 1).first - 49, 50);
  ASSERT_EQ(got.scans, 50U);
  EXPECT_EQ(got.words, source->ScansSince(got.first, 50).words);
  EXPECT_EQ(meter->SampleRate(), 1000);
  ASSERT_EQ(meter->Channels().size(), 12U);
  for (std::size_t c = 0; c < 12; ++c) {
    const ChannelInfo& mine = meter->Channels()[c];
    const ChannelInfo& theirs = source->Channels()[c];
    EXPECT_EQ(std::tie(mine.number, mine.name, mine.unit, mine.low, mine.high),
              std::tie(theirs.number, theirs.name, theirs.unit, theirs.low, theirs.high));
  }
  meter->Stop();
  EXPECT_FALSE(Fresh(*meter));
  meter->Start();
  EXPECT_TRUE(Eventually([&] { return Fresh(*meter); }));
}

TEST_F(NetworkTest, AFrozenHostIsNotTakenForFresh) {
  const auto host = StartHost();
  const auto meter = Open();
  ASSERT_TRUE(Eventually([&] { return Fresh(*meter); }));
  host->Signal(SIGSTOP);
  ASSERT_TRUE(Eventually([&] { return !Fresh(*meter); }, 2s));
  const std::int64_t last = meter->ScansSince(-1, 1).first;
  const auto late = Open();
  EXPECT_FALSE(Fresh(*late)) << "the retained block is old";
  EXPECT_THROW(late->LatestValue(0), SourceError);
  EXPECT_TRUE(Eventually([&] { return late->Counts().retained > 0; }));
  EXPECT_FALSE(meter->HostGone());
  host->Signal(SIGCONT);
  EXPECT_TRUE(Eventually([&] { return Fresh(*meter) && Fresh(*late); }));
  EXPECT_GT(meter->ScansSince(-1, 1).first, last + 500);
}

TEST_F(NetworkTest, MetersGoOnWhenTheBrokerIsRestarted) {
  for (const bool persistent : {false, true}) {
    SCOPED_TRACE(persistent ? "a broker that remembers" : "a broker that forgets");
    broker_.emplace("allow_anonymous true\n", persistent);
    const auto host = StartHost();
    const auto meter = Open();
    ASSERT_TRUE(Eventually([&] { return Fresh(*meter); }));
    broker_->Stop();
    EXPECT_TRUE(Eventually([&] { return !Fresh(*meter); }, 2s));
    EXPECT_FALSE(meter->HostGone());
    broker_->Start();
    EXPECT_TRUE(Eventually([&] { return Fresh(*meter); })) << host->Log();
    EXPECT_FALSE(meter->HostGone());
    EXPECT_FALSE(host->Ended());
  }
}

TEST_F(NetworkTest, ABrokerThatStaysAwayIsTheEnd) {
  const auto host = StartHost();
  const auto meter = Open("?timeout=1.5");
  ASSERT_TRUE(Eventually([&] { return Fresh(*meter); }));
  broker_->Stop();
  const auto stopped = steady_clock::now();
  EXPECT_TRUE(Eventually([&] { return meter->HostGone(); }));
  const auto after = steady_clock::now() - stopped;
  EXPECT_GT(after, 1300ms);
  EXPECT_LT(after, 3s);
  EXPECT_THAT(host->Log(), HasSubstr("trying again"));
}

TEST_F(NetworkTest, ARootHasOneHost) {
  const auto host = StartHost();
  const auto meter = Open();
  const auto second = StartHost("SM64:channels=3", broker_->Tcp(kRoot));
  EXPECT_EQ(second->WaitForEnd(), 1);
  EXPECT_THAT(second->Log(), HasSubstr("another host publishes there already"));
  EXPECT_TRUE(Fresh(*meter));
  EXPECT_FALSE(meter->HostGone());

  // Frozen and replaced: meters follow the new one, and the old one leaves when it wakes.
  host->Signal(SIGSTOP);
  const auto heir = StartHost();
  EXPECT_TRUE(Eventually([&] { return Fresh(*meter); }));
  host->Signal(SIGCONT);
  EXPECT_EQ(host->WaitForEnd(), 1);
  EXPECT_THAT(host->Log(), HasSubstr("another host has taken over"));
  EXPECT_TRUE(Eventually([&] { return Fresh(*meter); }));
  EXPECT_FALSE(meter->HostGone());

  // Replaced by one with other channels: never a wrong value under a right label.
  heir->Signal(SIGSTOP);
  const auto other = StartHost("SM64:channels=3");
  EXPECT_TRUE(Eventually([&] { return meter->HostGone(); }));
  EXPECT_EQ(meter->Channels().size(), 12U);
}

TEST_F(NetworkTest, ForeignPayloadsAreCountedAndIgnored) {
  const auto host = StartHost();
  const auto meter = Open();
  ASSERT_TRUE(Eventually([&] { return Fresh(*meter); }));
  MqttLink stranger(ParseMqttAddress(ParseDeviceText("MQ64:" + broker_->Tcp(kRoot))), 10s,
                    std::nullopt, {});
  stranger.Connect();
  const std::string root = kRoot;
  for (const std::string text : {"", "x", "{\"format\":1}", "closed 0000000000000001"}) {
    for (const char* leaf : {"/info", "/state", "/scan"}) {
      EXPECT_TRUE(Eventually(
          [&] { return stranger.Publish(root + leaf, std::as_bytes(std::span(text)), 1, false); }));
    }
  }
  EXPECT_TRUE(stranger.Flush(5s));
  EXPECT_TRUE(Eventually([&] { return meter->Counts().ignored >= 12; }));
  EXPECT_TRUE(Fresh(*meter));
  EXPECT_FALSE(meter->HostGone());
  EXPECT_EQ(meter->Counts().gaps, 0U);
  EXPECT_FALSE(host->Ended());
}

TEST_F(NetworkTest, AHostThatEndsIsGoneWithinTwoSeconds) {
  auto host = StartHost("SM64:close=2");
  auto meter = Open();
  EXPECT_EQ(host->WaitForEnd(), 0) << host->Log();
  EXPECT_THAT(host->Log(), HasSubstr("has ended"));
  EXPECT_TRUE(Eventually([&] { return meter->HostGone(); }));

  for (const int signal : {SIGTERM, SIGKILL}) {
    host = StartHost();
    meter = Open();
    ASSERT_TRUE(Eventually([&] { return Fresh(*meter); }));
    host->Signal(signal);
    EXPECT_EQ(host->WaitForEnd(), signal == SIGTERM ? 0 : 128 + SIGKILL) << host->Log();
    EXPECT_TRUE(Eventually([&] { return meter->HostGone(); }, 1800ms)) << signal;
  }
}

TEST_F(NetworkTest, WhatCannotBeOpenedSaysWhy) {
  const auto why = [](const std::string& text) { return test::Refusal([&] { OpenDevice(text); }); };
  const std::string here = "mqtt://" + broker_->Tcp(kRoot) + "?wait=0.3";
  EXPECT_THAT(why(here), HasSubstr("No host publishes under \"lab/bench1\""));
  EXPECT_THAT(why("MQ64:/nowhere/socket!a"), HasSubstr("broker /nowhere/socket cannot be reached"));
  auto host = StartHost();
  host->Signal(SIGTERM);
  host->WaitForEnd();
  EXPECT_THAT(why(here), HasSubstr("has closed"));
  EXPECT_THAT(why(here + "&tls"), HasSubstr("cannot be reached"));
  broker_->Stop();
  EXPECT_THAT(why(here), HasSubstr("cannot be reached"));
  broker_.emplace("allow_anonymous false\n");
  EXPECT_THAT(why("mqtt://" + broker_->Tcp(kRoot)), HasSubstr("refuses the connection"));
}

TEST_F(NetworkTest, UserNamePasswordAndTls) {
  const std::filesystem::path folder = broker_->Folder();
  const auto path = [&folder](const char* name) { return (folder / name).string(); };
  const auto run = [&](const std::vector<std::string>& arguments) {
    ChildProcess process(arguments, path("tools.log"));
    return process.WaitForEnd();
  };
  if (run({"/usr/bin/openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2",
           "-subj", "/CN=127.0.0.1", "-addext", "subjectAltName=IP:127.0.0.1", "-keyout",
           path("key.pem"), "-out", path("cert.pem")}) != 0 ||
      run({"/usr/bin/mosquitto_passwd", "-b", "-c", path("users"), "meter", "secret"}) != 0) {
    GTEST_SKIP() << "openssl or mosquitto_passwd is not installed";
  }
  std::ofstream(folder / "credentials") << "meter\nsecret\n";
  Broker secure("allow_anonymous false\npassword_file " + path("users") + "\ncertfile " +
                path("cert.pem") + "\nkeyfile " + path("key.pem") + "\n");
  const std::string to = secure.Tcp(kRoot) + "?cafile=" + path("cert.pem");
  setenv("VANTOSCOPE_MQTT_CREDENTIALS", path("credentials").c_str(), 1);
  const auto host = StartHost(kSimulator, to);
  const auto meter = OpenDevice("MQ64:" + to);
  meter->Start();
  EXPECT_TRUE(Eventually([&] { return Fresh(*meter); })) << host->Log();
  EXPECT_THAT(meter->Name(), testing::Not(HasSubstr("secret")));
  EXPECT_THROW(OpenDevice("MQ64:" + secure.Tcp(kRoot) + "?tls&wait=1"), SourceError)
      << "a certificate that nobody trusts";
  std::ofstream(folder / "credentials") << "meter\nwrong\n";
  EXPECT_THROW(OpenDevice("MQ64:" + to), SourceError);
  unsetenv("VANTOSCOPE_MQTT_CREDENTIALS");
}

TEST_F(NetworkTest, AnInstrumentOfTheLibraryIsPublished) {
  const auto host = StartHost("sigrok:demo:rate=2000");
  const auto meter = Open();
  EXPECT_EQ(meter->SampleRate(), 2000);
  ASSERT_TRUE(Eventually([&] { return meter->GetData(400, kEngineeringUnits).has_value(); }));
  const auto& channels = meter->Channels();
  EXPECT_EQ(channels.front().number, 1);
  EXPECT_EQ(channels.front().unit.substr(0, 1), "V");
  EXPECT_EQ(channels.back().number, static_cast<std::int16_t>(channels.size()) - 1)
      << "the highest analog number last";
  EXPECT_EQ(channels[channels.size() - 2].number, -1);
  // The demo's first channel is a square wave of its amplitude, +-10 V.
  const auto block = meter->GetData(400, kEngineeringUnits);
  for (const double value : block->Channel(0)) EXPECT_NEAR(std::abs(value), 10, 0.001);
  host->Signal(SIGINT);
  EXPECT_EQ(host->WaitForEnd(), 0) << host->Log();

  const auto unknown = StartHost("sigrok:no-such-driver", broker_->Tcp("lab/x"));
  EXPECT_EQ(unknown->WaitForEnd(), 1);
  EXPECT_THAT(unknown->Log(), HasSubstr("no driver 'no-such-driver'"));
}

}  // namespace
}  // namespace vantoscope
