// The texts that the Sieve interpreter's address parser takes.
#ifndef HOST_ZVELLPARSER_ADDRESS_GRAMMAR_H_
#define HOST_ZVELLPARSER_ADDRESS_GRAMMAR_H_

#include <cstddef>
#include <optional>
#include <string>

namespace zvellparser {

// Whether `word` is an atom for libsieve: not empty, and without blanks and the bytes
// <>()@,;:".[]\ (so that, unlike in RFC 5322, section 3.2.3, it may hold control and 8-bit bytes).
bool is_atom(const std::string& word);

// Whether libsieve's address parser takes `text`, a header's unfolded value in UTF-8, without an
// error. Like the interpreter, which is given a C string, it looks at nothing behind a NUL. One
// pass, without allocating.
//
// Taken are an empty text; a lone word; mailboxes with single commas between them; and a group (RFC
// 5322, section 3.4) that is the whole text. Comments may stand between any two parts. Narrower
// than the RFC: no dot outside quotes in a display name, no empty quoted string, nothing empty
// between commas, nothing beside a group; and a quote behind any backslash, even an escaped one,
// never closes a quoted string. Wider: blanks around all parts of an address, and domains that mix
// labels with literals. Routes of more than 3,000 hops are refused; libsieve's stack holds a few
// more.
bool interpreter_reads(const std::string& text);

// Nothing when interpreter_reads() is false; else, roughly, the bytes of memory that libsieve takes
// to read `text`, which grow with the square of the number of pieces of a name, a local part or a
// domain. Much of it is not given back before the evaluation ends, so that each test of the header
// takes it again.
std::optional<std::size_t> reading_cost(const std::string& text);

// The most that a header which is handed out may cost. A recipient costs some 200 bytes, so that
// hundreds of them are read; and the interpreter has 64 MB, hence hundreds of tests have room.
constexpr std::size_t most_reading_cost = std::size_t{128} << 10;

}  // namespace zvellparser

#endif  // HOST_ZVELLPARSER_ADDRESS_GRAMMAR_H_
