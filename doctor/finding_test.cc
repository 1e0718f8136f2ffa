// Findings as packets.
#include "doctor/finding.h"

#include <gtest/gtest.h>

namespace Quarrow::Doctor {
namespace {

const Findings two = {{Severity::error, Code::busy, "a", "b", "c"},
                      {Severity::mended, Code::leftover, "", "d\ne", ""}};

TEST(Finding, TravelsAsAPacket) {
  const auto read = findings_in(packet_of(two));
  ASSERT_TRUE(read);
  ASSERT_EQ(2U, read->size());
  EXPECT_EQ(Severity::error, read->front().severity);
  EXPECT_EQ("busy", read->front().code);
  EXPECT_EQ("a", read->front().object);
  EXPECT_EQ("b", read->front().reason);
  EXPECT_EQ("c", read->front().advice);
  EXPECT_EQ(Severity::mended, read->back().severity);
  EXPECT_EQ("d\ne", read->back().reason);
}

TEST(Finding, IsNotReadFromAPartOfAPacket) {
  const std::string packet = packet_of(two);
  for (std::size_t size = 0; size < packet.size(); ++size)
    EXPECT_FALSE(findings_in(packet.substr(0, size))) << size;
  EXPECT_FALSE(findings_in(packet + 'x'));
}

TEST(Finding, MattersWhenSomebodyHasToDoSomething) {
  const auto with = [](Severity severity) { return Finding{severity, "", "", "", ""}; };
  EXPECT_FALSE(matters(with(Severity::info)));
  EXPECT_TRUE(matters(with(Severity::warning)));
  EXPECT_TRUE(matters(with(Severity::error)));
  EXPECT_FALSE(matters(with(Severity::mended)));
}

}  // namespace
}  // namespace Quarrow::Doctor
