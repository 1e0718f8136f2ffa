// The header of a proxy: the first line tells how the bytes behind it are cut into blocks.
#include "server/proxy_header.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>

#include "fuzz/expectation.h"
#include "fuzz/input.h"
#include "fuzz/target.h"

namespace Quarrow::Fuzz {
namespace {

using Server::ProxyHeader;
using Server::read_proxy_header;
using State = ProxyHeader::State;

// The header, as the blocks come in.
ProxyHeader read_in(const std::vector<std::string>& blocks) {
  std::string bytes;
  ProxyHeader header;
  for (const std::string& block : blocks) {
    bytes += block;
    header = read_proxy_header(bytes);
    if (header.state != State::incomplete) break;
  }
  return header;
}

bool is_address(const std::string& text) {
  for (const int family : {AF_INET, AF_INET6}) {
    std::array<unsigned char, sizeof(in6_addr)> address{};
    std::array<char, INET6_ADDRSTRLEN> again{};
    if (inet_pton(family, text.c_str(), address.data()) == 1)
      return text == inet_ntop(family, address.data(), again.data(), again.size());
  }
  return false;
}

void expect_header(const std::string& bytes, const ProxyHeader& header) {
  const bool is_line = bytes.substr(0, 6) == "PROXY ";
  const std::size_t longest = is_line ? Server::longest_proxy_line : Server::longest_proxy_header;
  if (header.state == State::incomplete)
    expect(bytes.size() < longest, "what is longest is decided");
  if (header.state != State::complete) return;
  expect(header.size <= std::min(longest, bytes.size()), "a header has a bound");
  expect(!is_line || bytes.substr(header.size - 2, 2) == "\r\n", "a line has an end");
  expect(header.client.empty() || is_address(header.client), "a client has an address");
  const ProxyHeader alone = read_proxy_header(bytes.substr(0, header.size));
  expect(alone.state == State::complete && alone.size == header.size, "it ends at its end");
  expect_equal(alone.client, header.client, "whatever stands behind it");
  const ProxyHeader shorter = read_proxy_header(bytes.substr(0, header.size - 1));
  expect(shorter.state == State::incomplete, "and not before");
}

void read(const std::string& input) {
  const std::size_t end = std::min(input.find('\n'), input.size());
  const std::string pattern = input.substr(0, end);
  const std::string bytes = input.substr(std::min(end + 1, input.size()));
  const ProxyHeader whole = read_proxy_header(bytes);
  expect_header(bytes, whole);
  for (const auto& blocks : {blocks_of(bytes, pattern), blocks_of(bytes, "")}) {
    const ProxyHeader cut = read_in(blocks);
    expect(whole.state == cut.state && whole.size == cut.size, "the same however bytes are cut");
    expect_equal(whole.client, cut.client, "and so is the client");
  }
}

const Target target("proxy_header", read);

}  // namespace
}  // namespace Quarrow::Fuzz
