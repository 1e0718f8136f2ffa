// Address headers as the Sieve interpreter gets them.
#include "host/zvellparser/address_header.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include "host/zvellparser/address_grammar.h"
#include "host/zvellparser/address_salvage.h"
#include "host/zvellparser/ascii_case.h"
#include "host/zvellparser/encoded_text.h"

namespace zvellparser {
namespace {

constexpr const char* address_headers[] = {"From",
                                           "To",
                                           "Cc",
                                           "Bcc",
                                           "Sender",
                                           "Reply-To",
                                           "Resent-From",
                                           "Resent-To",
                                           "Resent-Cc",
                                           "Resent-Bcc",
                                           "Resent-Sender",
                                           "Resent-Reply-To",
                                           "Apparently-To",
                                           "Delivered-To",
                                           "Disposition-Notification-To",
                                           "Envelope-From",
                                           "Envelope-To",
                                           "Errors-To",
                                           "Mail-Followup-To",
                                           "Mail-Reply-To",
                                           "Return-Path",
                                           "Return-Receipt-To",
                                           "X-Apparently-To",
                                           "X-Delivered-To",
                                           "X-Envelope-From",
                                           "X-Envelope-To",
                                           "X-Forwarded-For",
                                           "X-Forwarded-To",
                                           "X-Original-From",
                                           "X-Original-To",
                                           "X-Sender"};

// Whether libsieve reads `text` and takes little for it.
bool is_harmless(const std::string& text) {
  if (text.size() > longest_value) return false;
  const std::optional<std::size_t> cost = reading_cost(text);
  return cost && *cost <= most_reading_cost;
}

}  // namespace

bool is_address_header(const std::string& name) {
  return std::any_of(
      std::begin(address_headers), std::end(address_headers),
      [&](const char* known) { return equal_ignoring_case(name, known); });
}

std::string readable_address_header(const std::string& raw) {
  const std::string counting = beginning_of(raw, longest_raw_value);
  const std::string text = decoded_whole(counting, {});
  return is_harmless(text) ? counting : salvage_addresses(text);
}

}  // namespace zvellparser
