// Where a client comes from, as far as a client can't choose it.
#ifndef QUARROW_SIGNING_IN_CLIENT_NETWORK_H_
#define QUARROW_SIGNING_IN_CLIENT_NETWORK_H_

#include <string>

namespace Quarrow::SigningIn {

// The network of the client with the address `address`, an IPv4 or IPv6 address in text: the
// address itself for IPv4, also where it is written as IPv6; the first 64 bits for IPv6, since a
// client may take any address in them. Empty for a text that is no address: such clients can't be
// told apart, and count as one.
std::string client_network(const std::string& address);

}  // namespace Quarrow::SigningIn

#endif  // QUARROW_SIGNING_IN_CLIENT_NETWORK_H_
