// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>

#include "groups/group_process_start.h"
#include "groups/nursery_message.h"

namespace vantoscope::test {
namespace {

TEST(NurseryMessage, CarriesWordsAndMarksAndRefusesWhatIsCutShort) {
  const NurseryOrder order{.number = 7,
                           .words = {"vantoscope", "-dMQ64:h", "-n", "-i1"},
                           .marks = {"A=", "B=x=y z"},
                           .libraries = {"libm.so.6"}};
  const std::string datagram = DatagramOf(order);
  EXPECT_EQ(OrderFrom(datagram), order);
  for (std::size_t length = 0; length < datagram.size(); ++length) {
    EXPECT_EQ(OrderFrom(datagram.substr(0, length)), std::nullopt) << length;
  }
  EXPECT_EQ(OrderFrom(datagram + "x"), std::nullopt);
  EXPECT_EQ(OrderFrom(DatagramOf({})), std::nullopt) << "no program";
}

TEST(GroupProcessStart, WaitsForNobodyAndKeepsTheOrder) {
  std::array<int, 2> ends{};
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()), 0);
  Launches launches;
  GroupProcessStart processes(
      ends[0], launches, [](int index) { return Corner{.left = index, .top = 2}; },
      [] { return std::vector<std::string>{"libm.so.6"}; });
  constexpr int kCount = 1000;  // more than the socket takes while nobody reads
  for (int index = 1; index <= kCount; ++index) {
    processes.Start("groups_test.exe -dSM64 -nT_1 -i" + std::to_string(index), kShowNoActivate);
  }
  processes.Finish();
  std::array<char, 4096> bytes{};
  int taken = 0;
  for (ssize_t length = 1; length > 0; processes.Look()) {
    length = recv(ends[1], bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (length <= 0) continue;
    const auto order = OrderFrom({bytes.data(), static_cast<std::size_t>(length)});
    ASSERT_TRUE(order);
    const std::string index = std::to_string(++taken);
    EXPECT_THAT(order->words,
                ::testing::ElementsAre("groups_test", "-dSM64", "-nT_1", "-i" + index));
    EXPECT_THAT(order->marks, ::testing::IsSupersetOf({"VANTOSCOPE_PLACE=" + index + ",2",
                                                       std::string("VANTOSCOPE_NO_FOCUS=1")}));
    const NurseryAnswer answer{.number = order->number, .process = getpid()};
    ASSERT_EQ(send(ends[1], &answer, sizeof answer, 0), ssize_t{sizeof answer});
  }
  EXPECT_EQ(taken, kCount);
  EXPECT_EQ(recv(ends[1], bytes.data(), bytes.size(), MSG_DONTWAIT), 0) << "no more will come";
  close(ends[1]);
}

}  // namespace
}  // namespace vantoscope::test
