// Address headers as the Sieve interpreter gets them.
#include "host/zvellparser/address_header.h"

#include <algorithm>
#include <iterator>

#include "host/zvellparser/address_grammar.h"
#include "host/zvellparser/address_salvage.h"
#include "host/zvellparser/ascii_case.h"
#include "zvellparser.h"

namespace zvellparser {
namespace {

constexpr const char* address_headers[] = {
    "From",        "To",        "Cc",        "Bcc",        "Sender",        "Reply-To",
    "Resent-From", "Resent-To", "Resent-Cc", "Resent-Bcc", "Resent-Sender", "Resent-Reply-To"};

}  // namespace

bool is_address_header(const std::string& name) {
  return std::any_of(
      std::begin(address_headers), std::end(address_headers),
      [&](const char* known) { return equal_ignoring_case(name, known); });
}

std::string readable_address_header(const std::string& raw) {
  const Buffer decoded = stringToUtf8(raw, nullptr);
  const std::string text(decoded.data(), decoded.size());
  return interpreter_reads(text) ? raw : salvage_addresses(text);
}

}  // namespace zvellparser
