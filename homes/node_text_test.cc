// Names of nodes and transports, taken and refused.
#include "homes/node_text.h"

#include <gtest/gtest.h>

namespace Quarrow::Homes {
namespace {

TEST(NodeText, TakesPlainNames) {
  for (const char* const name : {"node1", "10.0.0.1", "mail-7.example.org", "A_b"})
    EXPECT_EQ("", node_name_fault(name)) << name;
  EXPECT_EQ("", node_name_fault(std::string(64, 'n')));
}

TEST(NodeText, RefusesOtherNames) {
  for (const char* const name : {"", "a b", "-x", ".x", "n\n", "n\xc3\xb6", "a:b", "a/b"})
    EXPECT_EQ("no name of a node; one is of letters, digits and .-_", node_name_fault(name))
        << name;
  EXPECT_EQ("longer than any name of a node", node_name_fault(std::string(65, 'n')));
}

TEST(NodeText, TakesTransportsWithANextHop) {
  for (const char* const transport :
       {"lmtp:inet:[127.0.0.1]:2401", "lmtp:unix:/run/quarrow/lmtp", "smtp:[mx.example.org]",
        "to_node-1:x", "lmtp:inet:[2001:db8::1]:24"})
    EXPECT_EQ("", transport_fault(transport)) << transport;
}

TEST(NodeText, RefusesOtherTransports) {
  for (const char* const transport : {"", "lmtp", "lmtp:", ":inet:x", "lmtp inet:x", "lmtp:a b",
                                      "lmtp:a\n", "-x:y", "l\xc3\xb6:x"})
    EXPECT_EQ("no transport with a next hop; one is like lmtp:inet:[10.0.0.1]:24",
              transport_fault(transport))
        << transport;
  EXPECT_EQ("longer than any transport", transport_fault("lmtp:" + std::string(508, 'x')));
}

}  // namespace
}  // namespace Quarrow::Homes
