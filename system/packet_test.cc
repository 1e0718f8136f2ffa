// Packets as they are written, and as nobody would write them.
#include "system/packet.h"

#include <gtest/gtest.h>

namespace Quarrow {
namespace {

std::string packet_of(std::uint64_t number, const std::string& text) {
  PacketWriter writer;
  writer.number(number);
  writer.text(text);
  return writer.packet();
}

TEST(Packet, ComesBackAsItWasWritten) {
  const std::string text("a\0\n\xFF", 4);
  const std::string packet = packet_of(UINT64_MAX, text);
  PacketReader reader(packet);
  EXPECT_EQ(UINT64_MAX, reader.number());
  EXPECT_FALSE(reader.at_end());
  EXPECT_EQ(text, reader.text());
  EXPECT_TRUE(reader.at_end());
  EXPECT_FALSE(reader.failed());
}

TEST(Packet, FailsForGoodWhenAPartIsMissing) {
  const std::string packet = packet_of(7, "text");
  for (std::size_t length = 0; length < packet.size(); ++length) {
    SCOPED_TRACE(length);
    PacketReader reader(std::string_view(packet).substr(0, length));
    (void)reader.number();
    EXPECT_EQ("", reader.text());
    EXPECT_TRUE(reader.failed());
    EXPECT_EQ(0U, reader.number());
    EXPECT_FALSE(reader.at_end());
  }
}

TEST(Packet, FailsForANumberAboveItsLimit) {
  const std::string packet = packet_of(8, "text");
  PacketReader reader(packet);
  EXPECT_EQ(0U, reader.number(7));
  EXPECT_TRUE(reader.failed());
  EXPECT_EQ("", reader.text());
}

TEST(Packet, IsNotAtItsEndWhileSomethingIsLeft) {
  const std::string packet = packet_of(7, "text") + "x";
  PacketReader reader(packet);
  EXPECT_EQ(7U, reader.number(7));
  EXPECT_EQ("text", reader.text());
  EXPECT_FALSE(reader.at_end());
  EXPECT_FALSE(reader.failed());
}

}  // namespace
}  // namespace Quarrow
