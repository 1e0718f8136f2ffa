// Addresses out of address headers that are not well-formed.
#ifndef HOST_ZVELLPARSER_ADDRESS_SALVAGE_H_
#define HOST_ZVELLPARSER_ADDRESS_SALVAGE_H_

#include <string>

namespace zvellparser {

// The mailboxes that can be made out in `text`, the value of an address header in UTF-8, as
// "local@domain" or "name <local@domain>" with ", " between them, such that interpreter_reads() is
// true. When there are none, the text as the name of a group without members ('"text":;', RFC 5322,
// section 3.4), where tests of the header's text still find it. Empty when there is no text either.
// Works in linear time on any text.
//
// libsieve reads the result at no more than most_reading_cost, and it has at most longest_value
// bytes: the mailboxes behind these bounds are left out. A name and a local part have at most 4 KB,
// the beginning of what was there; a domain has at most 255 bytes, its end. A name or a local part
// of many pieces is quoted, which makes one of them.
//
// An address is what stands in angle brackets, or a run of text without blanks, if it has an "@"
// with something before and after it. Its last "@" counts. A local part that could not stand as it
// is, such as "a..b", is quoted, which names the same address. A domain loses what can't be in one.
// The words and comments around an address are its name. Quotes, comments and angle brackets that
// nothing closes are passed over.
//
// The result has no "=?", which would be taken for the beginning of an encoded word (RFC 2047)
// where the text is decoded already.
std::string salvage_addresses(const std::string& text);

}  // namespace zvellparser

#endif  // HOST_ZVELLPARSER_ADDRESS_SALVAGE_H_
