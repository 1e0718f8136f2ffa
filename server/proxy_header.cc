// A line of text, or a binary block.
#include "server/proxy_header.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <optional>
#include <vector>

namespace Quarrow::Server {
namespace {

using State = ProxyHeader::State;

constexpr std::string_view line_start = "PROXY ";
constexpr std::string_view block_start("\r\n\r\n\0\r\nQUIT\n", 12);
constexpr std::size_t block_head = 16;  // bytes of a block in front of its addresses

ProxyHeader incomplete() { return {}; }
ProxyHeader wrong() { return {State::wrong}; }

std::string text_of_address(int family, const void* address) {
  std::array<char, INET6_ADDRSTRLEN> text{};
  return inet_ntop(family, address, text.data(), text.size()) == nullptr ? "" : text.data();
}

// Nothing when `text` is no address of that family.
std::optional<std::string> address_in(int family, std::string_view text) {
  std::array<unsigned char, sizeof(in6_addr)> address{};
  if (text.find('\0') != std::string_view::npos ||
      inet_pton(family, std::string(text).c_str(), address.data()) != 1)
    return std::nullopt;
  return text_of_address(family, address.data());
}

bool is_port(std::string_view text) {
  std::uint16_t port = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
  const bool is_short = text == "0" || (!text.empty() && text.front() != '0');
  return is_short && error == std::errc() && end == text.data() + text.size();
}

std::vector<std::string_view> words_of(std::string_view text) {
  std::vector<std::string_view> words;
  for (std::size_t blank = 0; blank != std::string_view::npos;) {
    blank = text.find(' ');
    words.push_back(text.substr(0, blank));
    text.remove_prefix(std::min(blank + 1, text.size()));
  }
  return words;
}

// The client in the words behind PROXY: empty for one that the proxy does not know, nothing for a
// line that is wrong.
std::optional<std::string> client_in_line(const std::vector<std::string_view>& words) {
  if (words[0] == "UNKNOWN") return "";  // what stands behind it is not looked at
  const int family = words[0] == "TCP4" ? AF_INET : AF_INET6;
  if (words.size() != 5 || (words[0] != "TCP4" && words[0] != "TCP6") || !is_port(words[3]) ||
      !is_port(words[4]) || !address_in(family, words[2]))
    return std::nullopt;
  return address_in(family, words[1]);
}

ProxyHeader read_line(std::string_view bytes) {
  const std::size_t end = bytes.find('\r');
  if (end == std::string_view::npos)
    return bytes.size() < longest_proxy_line - 1 ? incomplete() : wrong();
  if (end > longest_proxy_line - 2) return wrong();
  if (end + 1 == bytes.size()) return incomplete();
  const auto client = client_in_line(words_of(bytes.substr(0, end).substr(line_start.size())));
  if (bytes[end + 1] != '\n' || !client) return wrong();
  return {State::complete, end + 2, *client};
}

// What a block says of its client by the byte for family and transport.
struct BlockKind {
  unsigned char code;
  int family;             // AF_UNSPEC where it has no address
  std::size_t addresses;  // bytes of the client's and the proxy's, with their ports
  std::size_t address;    // bytes of the client's, which come first
};

// Streams alone: there is no mail by datagrams.
constexpr BlockKind block_kinds[] = {{0x00, AF_UNSPEC, 0, 0},
                                     {0x11, AF_INET, 12, 4},
                                     {0x21, AF_INET6, 36, 16},
                                     {0x31, AF_UNSPEC, 216, 0}};

// The client in a whole block; nothing when the block is wrong.
std::optional<std::string> client_in_block(std::string_view block) {
  constexpr char local = 0x20;
  constexpr char proxied = 0x21;
  if (block[12] == local) return "";  // from the proxy itself, whatever else it says
  const auto* const kind = std::find_if(
      std::begin(block_kinds), std::end(block_kinds),
      [block](const auto& each) { return each.code == static_cast<unsigned char>(block[13]); });
  if (block[12] != proxied || kind == std::end(block_kinds) ||
      block.size() - block_head < kind->addresses)
    return std::nullopt;
  return kind->family == AF_UNSPEC ? "" : text_of_address(kind->family, &block[block_head]);
}

ProxyHeader read_block(std::string_view bytes) {
  if (bytes.size() < block_head) return incomplete();
  const std::size_t length = static_cast<std::size_t>(static_cast<unsigned char>(bytes[14])) << 8U |
                             static_cast<unsigned char>(bytes[15]);
  if (block_head + length > longest_proxy_header) return wrong();
  if (bytes.size() < block_head + length) return incomplete();
  const auto client = client_in_block(bytes.substr(0, block_head + length));
  if (!client) return wrong();
  return {State::complete, block_head + length, *client};
}

// Whether `bytes` begin with `start`, as far as they are there.
bool may_begin_with(std::string_view bytes, std::string_view start) {
  return bytes.substr(0, start.size()) == start.substr(0, bytes.size());
}

}  // namespace

ProxyHeader read_proxy_header(std::string_view bytes) {
  const bool is_line = may_begin_with(bytes, line_start);
  if (!is_line && !may_begin_with(bytes, block_start)) return wrong();
  if (bytes.size() < line_start.size()) return incomplete();
  return is_line ? read_line(bytes) : read_block(bytes);
}

}  // namespace Quarrow::Server
