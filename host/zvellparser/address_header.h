// Address headers in a form that the Sieve interpreter can read.
#ifndef HOST_ZVELLPARSER_ADDRESS_HEADER_H_
#define HOST_ZVELLPARSER_ADDRESS_HEADER_H_

#include <string>

namespace zvellparser {

// Whether `name` is a header that holds addresses, regardless of ASCII case: From, To, Cc, Bcc,
// Sender, Reply-To and their Resent- forms (RFC 5322, sections 3.6.2, 3.6.3 and 3.6.6), and those
// in which mail servers write the envelope and people ask for answers, such as Return-Path,
// Delivered-To, X-Original-To, Envelope-To and Errors-To.
bool is_address_header(const std::string& name);

// The value of an address header for the Sieve interpreter. An evaluation that meets an address
// header which libsieve refuses ends in an error, and one for which it needs too much memory ends
// without a result, so that a sender could switch off a user's rules.
//
// `raw`, the unfolded value, comes back as it is when libsieve reads it once stringToUtf8 has
// decoded it, at no more than most_reading_cost: its content is for the rules to judge. Otherwise
// the addresses that can be made out in it (salvage_addresses), or else its text as the name of an
// empty group, come back, in UTF-8, such that libsieve reads them and stringToUtf8 leaves them
// alone. Empty, which libsieve takes for an absent header, when there is no text either. Decoded,
// the result has at most longest_value bytes. Never fails; linear time.
std::string readable_address_header(const std::string& raw);

}  // namespace zvellparser

#endif  // HOST_ZVELLPARSER_ADDRESS_HEADER_H_
