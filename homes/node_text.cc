// Texts, character by character.
#include "homes/node_text.h"

#include <algorithm>

#include "homes/limits.h"

namespace Quarrow::Homes {
namespace {

bool is_letter_or_digit(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

bool is_visible(char c) { return c > ' ' && c <= '~'; }

bool is_word(const std::string& text, const std::string& marks) {
  return !text.empty() && is_letter_or_digit(text.front()) &&
         std::all_of(
             text.begin(), text.end(),
             [&marks](char c) {
               return is_letter_or_digit(c) || marks.find(c) != std::string::npos;
             });
}

}  // namespace

std::string node_name_fault(const std::string& name) {
  if (name.size() > longest_node_name) return "longer than any name of a node";
  return is_word(name, "._-") ? "" : "no name of a node; one is of letters, digits and .-_";
}

std::string transport_fault(const std::string& transport) {
  const std::size_t colon = transport.find(':');
  if (transport.size() > longest_transport) return "longer than any transport";
  const bool good = colon != std::string::npos && colon + 1 < transport.size() &&
                    is_word(transport.substr(0, colon), "_-") &&
                    std::all_of(transport.begin(), transport.end(), is_visible);
  return good ? "" : "no transport with a next hop; one is like lmtp:inet:[10.0.0.1]:24";
}

}  // namespace Quarrow::Homes
