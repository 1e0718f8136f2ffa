// Addresses to networks.
#include "signing_in/client_network.h"

#include <gtest/gtest.h>

namespace Quarrow::SigningIn {
namespace {

TEST(ClientNetwork, OfAnAddress) {
  const struct {
    std::string address;
    std::string network;
  } cases[] = {
      {"192.0.2.7", "192.0.2.7"},
      {"::ffff:192.0.2.7", "192.0.2.7"},
      {"2001:db8:1:2:3:4:5:6", "2001:db8:1:2::"},
      {"2001:DB8:1:2:ffff:ffff:ffff:ffff", "2001:db8:1:2::"},
      {"2001:db8:1:3::1", "2001:db8:1:3::"},
      {"::1", "::"},
      {"", ""},
      {"localhost", ""},
      {"192.0.2", ""},
      {"192.0.2.7, 198.51.100.1", ""},
      {"fe80::1%eth0", ""},
      {std::string(1 << 20, '1'), ""},
  };
  for (const auto& c : cases)
    EXPECT_EQ(c.network, client_network(c.address)) << c.address.substr(0, 50);
}

}  // namespace
}  // namespace Quarrow::SigningIn
