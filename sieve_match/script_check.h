// The words of the Sieve language that must not reach the interpreter.
#ifndef QUARROW_SIEVE_MATCH_SCRIPT_CHECK_H_
#define QUARROW_SIEVE_MATCH_SCRIPT_CHECK_H_

namespace Quarrow {

// Whether `script` (RFC 5228, ended by a NUL) holds "envelope", "hasflag" or "setflag" outside
// strings and comments: libsieve 2.2.6 reads through wild pointers or hangs on some uses of them.
// Strings and comments are told apart as libsieve's lexer does.
bool has_unsafe_words(const char* script);

}  // namespace Quarrow

#endif  // QUARROW_SIEVE_MATCH_SCRIPT_CHECK_H_
