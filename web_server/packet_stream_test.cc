// Packets that come in parts, and streams that are broken.
#include "web_server/packet_stream.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <cstdint>
#include <string>

#include "system/child_process_test_support.h"
#include "system/descriptor.h"
#include "system/file_io.h"

namespace Quarrow::WebServer {
namespace {

using State = PacketInlet::State;

class PacketStream : public testing::Test {
 protected:
  PacketStream() {
    EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends_));
    near_.emplace(ends_[0]);
    far_.emplace(ends_[1]);
  }

  int near() const { return near_->get(); }
  int far() const { return far_->get(); }

  static std::string length(std::uint64_t value) {
    return {reinterpret_cast<const char*>(&value), sizeof value};
  }

  static Server::Clock::time_point later() {
    return Server::Clock::now() + std::chrono::minutes(1);
  }

  int ends_[2] = {-1, -1};
  std::optional<Descriptor> near_;
  std::optional<Descriptor> far_;
};

TEST_F(PacketStream, TakesAPacketByteByByte) {
  PacketInlet inlet(10);
  const std::string bytes = length(5) + "hello";
  for (const char byte : bytes) {
    EXPECT_EQ(State::incomplete, inlet.take(near()));
    ASSERT_TRUE(write_all(far(), {&byte, 1}));
  }
  EXPECT_EQ(State::complete, inlet.take(near()));
  EXPECT_EQ("hello", inlet.packet());
}

TEST_F(PacketStream, LeavesTheNextPacketForLater) {
  ASSERT_TRUE(write_all(far(), length(1) + "a" + length(0) + length(2) + "bc"));
  PacketInlet inlet(10);
  for (const char* const packet : {"a", "", "bc"}) {
    EXPECT_EQ(State::complete, inlet.take(near()));
    EXPECT_EQ(packet, inlet.packet());
  }
  EXPECT_EQ(State::incomplete, inlet.take(near()));
}

TEST_F(PacketStream, IsBrokenByALengthBeyondTheLimit) {
  for (const std::uint64_t size : {std::uint64_t{11}, UINT64_MAX, UINT64_MAX - 7}) {
    PacketInlet inlet(10);
    ASSERT_TRUE(write_all(far(), length(size)));
    EXPECT_EQ(State::broken, inlet.take(near())) << size;
  }
}

TEST_F(PacketStream, IsBrokenByAnEndWithinAPacketOrBetweenPackets) {
  ASSERT_TRUE(write_all(far(), length(5) + "hell"));
  far_.reset();
  PacketInlet inlet(10);
  EXPECT_EQ(State::broken, inlet.take(near()));
  PacketInlet next(10);
  EXPECT_EQ(State::broken, next.take(near()));
}

TEST_F(PacketStream, SendsWhatTheSocketTakesAndKeepsTheRest) {
  const std::string packet(5000000, 'x');
  PacketOutlet outlet;
  EXPECT_TRUE(outlet.is_empty());
  outlet.put(packet);
  PacketInlet inlet(packet.size());
  int rounds = 0;
  while (inlet.take(near()) == State::incomplete) {
    ASSERT_TRUE(outlet.send(far()));
    ++rounds;
  }
  EXPECT_LT(1, rounds);
  EXPECT_TRUE(outlet.is_empty());
  EXPECT_EQ(packet, inlet.packet());
}

TEST_F(PacketStream, TellsThatTheOtherEndIsGone) {
  near_.reset();
  PacketOutlet outlet;
  outlet.put("hello");
  EXPECT_FALSE(outlet.send(far()));
}

TEST_F(PacketStream, WaitsForAllOfAPacket) {
  const std::string packet(5000000, 'x');
  const pid_t sender = start_child([&] { return send_packet(far(), packet, later()) ? 0 : 1; });
  EXPECT_EQ(packet, receive_packet(near(), packet.size(), later()));
  EXPECT_EQ(0, wait_for(sender).status);
}

TEST_F(PacketStream, WaitsUntilTheEndOnly) {
  EXPECT_FALSE(receive_packet(near(), 10, Server::Clock::now()));
  EXPECT_FALSE(send_packet(far(), std::string(5000000, 'x'), Server::Clock::now()));
}

}  // namespace
}  // namespace Quarrow::WebServer
