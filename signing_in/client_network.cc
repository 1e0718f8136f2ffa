// inet_pton(3), and the first half of an IPv6 address.
#include "signing_in/client_network.h"

#include <arpa/inet.h>

#include <algorithm>

namespace Quarrow::SigningIn {
namespace {

std::string as_text(int family, const void* address) {
  char text[INET6_ADDRSTRLEN];
  return inet_ntop(family, address, text, sizeof text) != nullptr ? text : "";
}

}  // namespace

std::string client_network(const std::string& address) {
  in_addr narrow{};
  if (inet_pton(AF_INET, address.c_str(), &narrow) == 1) return as_text(AF_INET, &narrow);
  in6_addr wide{};
  if (inet_pton(AF_INET6, address.c_str(), &wide) != 1) return "";
  if (IN6_IS_ADDR_V4MAPPED(&wide)) return as_text(AF_INET, &wide.s6_addr[12]);
  std::fill(wide.s6_addr + 8, std::end(wide.s6_addr), 0);
  return as_text(AF_INET6, &wide);
}

}  // namespace Quarrow::SigningIn
