// Headers of proxies: what is taken, and what is not.
#include "server/proxy_header.h"

#include <gtest/gtest.h>

#include <vector>

namespace Quarrow::Server {
namespace {

using namespace std::string_literals;

using State = ProxyHeader::State;

// A binary header with these four bytes' worth of meaning, and `body` behind its length.
std::string block(unsigned char command, unsigned char kind, const std::string& body) {
  std::string text("\r\n\r\n\0\r\nQUIT\n", 12);
  for (const std::size_t byte :
       {std::size_t{command}, std::size_t{kind}, body.size() >> 8U, body.size() & 0xFFU})
    text += static_cast<char>(byte);
  return text + body;
}

const std::string v4_addresses("\xC0\x00\x02\x01\xC6\x33\x64\x02\x30\x39\x00\x18", 12);
const std::string v6_addresses = std::string("\x20\x01\x0D\xB8\0\0\0\0\0\0\0\0\0\0\0\x01", 16) +
                                 std::string("\x20\x01\x0D\xB8\0\0\0\0\0\0\0\0\0\0\0\x02", 16) +
                                 "\x30\x39\x01\x02";
const std::string long_v6 = "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff";

struct Case {
  std::string bytes;
  std::string client;
};

const std::vector<Case>& good_headers() {
  static const std::vector<Case> cases = {
      {"PROXY TCP4 192.0.2.1 198.51.100.2 12345 24\r\n", "192.0.2.1"},
      {"PROXY TCP4 255.255.255.255 255.255.255.255 65535 65535\r\n", "255.255.255.255"},
      {"PROXY TCP4 0.0.0.0 0.0.0.0 0 0\r\n", "0.0.0.0"},
      {"PROXY TCP6 2001:DB8:0::1 2001:db8::2 12345 24\r\n", "2001:db8::1"},
      {"PROXY TCP6 " + long_v6 + ' ' + long_v6 + " 65535 65535\r\n", long_v6},
      {"PROXY UNKNOWN\r\n", ""},
      {"PROXY UNKNOWN " + long_v6 + ' ' + long_v6 + " 65535 65535\r\n", ""},
      {"PROXY UNKNOWN whatever stands here\r\n", ""},
      {block(0x21, 0x11, v4_addresses), "192.0.2.1"},
      {block(0x21, 0x11, v4_addresses + "\x20\x00\x01x"s), "192.0.2.1"},
      {block(0x21, 0x21, v6_addresses), "2001:db8::1"},
      {block(0x21, 0x11, v4_addresses + std::string(4096 - 12, 'x')), "192.0.2.1"},
      {block(0x21, 0x31, std::string(216, '/')), ""},
      {block(0x21, 0x00, ""), ""},
      {block(0x20, 0x00, ""), ""},
      {block(0x20, 0x11, v4_addresses), ""},
      {block(0x20, 0xFF, "x"), ""}};
  return cases;
}

TEST(ProxyHeader, TellsTheClient) {
  for (const Case& c : good_headers()) {
    const ProxyHeader found = read_proxy_header(c.bytes);
    EXPECT_EQ(State::complete, found.state) << c.bytes;
    EXPECT_EQ(c.bytes.size(), found.size) << c.bytes;
    EXPECT_EQ(c.client, found.client) << c.bytes;
  }
}

TEST(ProxyHeader, IsIncompleteUpToItsLastByte) {
  for (const Case& c : good_headers())
    for (std::size_t size = 0; size < c.bytes.size(); ++size)
      EXPECT_EQ(State::incomplete, read_proxy_header(c.bytes.substr(0, size)).state)
          << size << " bytes of " << c.bytes;
}

TEST(ProxyHeader, EndsWhereTheClientsBytesBegin) {
  for (const Case& c : good_headers())
    for (const char* const more : {"LHLO x\r\n", "\n", "PROXY "})
      EXPECT_EQ(c.bytes.size(), read_proxy_header(c.bytes + more).size) << c.bytes;
}

TEST(ProxyHeader, HasALongestLine) {
  const std::string longest = "PROXY UNKNOWN " + std::string(91, 'x') + "\r\n";
  ASSERT_EQ(107U, longest.size());
  EXPECT_EQ(State::complete, read_proxy_header(longest).state);
  EXPECT_EQ(State::incomplete, read_proxy_header(longest.substr(0, 105)).state);
  EXPECT_EQ(State::wrong, read_proxy_header(longest.substr(0, 105) + 'x').state);
  EXPECT_EQ(State::wrong, read_proxy_header(longest.substr(0, 105) + "x\r\n").state);
}

TEST(ProxyHeader, IsRefused) {
  const std::vector<std::string> wrong = {
      "L", "LHLO x\r\n", "PROXY\r\n", "proxy UNKNOWN\r\n", "PROXY  UNKNOWN\r\n", "PROXY \r\n",
      "\r\n\r\nx", std::string("\r\n\r\n\0\r\nQUIT\r", 12) + std::string(4, '\0'),
      // lines
      "PROXY TCP5 192.0.2.1 198.51.100.2 12345 24\r\n",
      "PROXY tcp4 192.0.2.1 198.51.100.2 12345 24\r\n", "PROXY UNKNOWNS\r\n",
      "PROXY TCP4 192.0.2.1 198.51.100.2 12345 24\rx",
      "PROXY TCP4 192.0.2.1 198.51.100.2 12345 24\n\r\n",
      "PROXY TCP4 192.0.2.1 198.51.100.2 12345\r\n",
      "PROXY TCP4 192.0.2.1 198.51.100.2 12345 24 \r\n",
      "PROXY TCP4 192.0.2.1 198.51.100.2 12345 24 25\r\n",
      "PROXY TCP4  192.0.2.1 198.51.100.2 12345 24\r\n",
      "PROXY TCP4 192.0.2.1 198.51.100.2 65536 24\r\n",
      "PROXY TCP4 192.0.2.1 198.51.100.2 12345 -1\r\n",
      "PROXY TCP4 192.0.2.1 198.51.100.2 012 24\r\n",
      "PROXY TCP4 192.0.2.1 198.51.100.2 12x 24\r\n", "PROXY TCP4 192.0.2.1 198.51.100.2  24\r\n",
      "PROXY TCP4 192.0.2.01 198.51.100.2 12345 24\r\n",
      "PROXY TCP4 192.0.2.256 198.51.100.2 12345 24\r\n",
      "PROXY TCP4 192.0.2 198.51.100.2 12345 24\r\n",
      "PROXY TCP4 192.0.2.1 mx.example.org 12345 24\r\n",
      "PROXY TCP4 2001:db8::1 2001:db8::2 12345 24\r\n",
      "PROXY TCP6 192.0.2.1 198.51.100.2 12345 24\r\n",
      "PROXY TCP6 2001:db8::1%lo 2001:db8::2 12345 24\r\n",
      "PROXY TCP4 192.0.2.1\0x 198.51.100.2 12345 24\r\n"s,
      // blocks
      block(0x11, 0x11, v4_addresses), block(0x31, 0x11, v4_addresses),
      block(0x22, 0x11, v4_addresses), block(0x2F, 0x00, ""), block(0x21, 0x12, v4_addresses),
      block(0x21, 0x22, v6_addresses), block(0x21, 0x10, v4_addresses),
      block(0x21, 0x41, v4_addresses), block(0x21, 0x13, v4_addresses),
      block(0x21, 0x11, v4_addresses.substr(1)), block(0x21, 0x21, v6_addresses.substr(1)),
      block(0x21, 0x31, std::string(215, '/')),
      block(0x21, 0x11, v4_addresses + std::string(4096 - 11, 'x')).substr(0, 16)};
  for (const std::string& bytes : wrong)
    EXPECT_EQ(State::wrong, read_proxy_header(bytes).state) << bytes;
}

}  // namespace
}  // namespace Quarrow::Server
