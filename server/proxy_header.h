// The header by which a proxy tells who its client is, in front of the client's own bytes: the
// PROXY protocol, versions 1 and 2.
#ifndef QUARROW_SERVER_PROXY_HEADER_H_
#define QUARROW_SERVER_PROXY_HEADER_H_

#include <cstddef>
#include <string>
#include <string_view>

namespace Quarrow::Server {

// Bytes of the longest header: version 1 has a line of 107 at most; version 2 could tell of more
// than its addresses take, which proxies use some hundred bytes of.
constexpr std::size_t longest_proxy_line = 107;
constexpr std::size_t longest_proxy_header = 16 + 4096;

struct ProxyHeader {
  enum class State { incomplete, wrong, complete };

  State state = State::incomplete;
  std::size_t size = 0;     // in bytes, of a complete one
  std::string client = {};  // address of the client, such as 192.0.2.1; empty: that of the proxy
};

// Reads the header at the start of `bytes`, all of what came so far. What it is does not change
// with the bytes that come later, once it is not incomplete. With any version, a client without an
// address, such as one of a socket in the file system or the proxy itself, has none in the result.
ProxyHeader read_proxy_header(std::string_view bytes);

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_PROXY_HEADER_H_
