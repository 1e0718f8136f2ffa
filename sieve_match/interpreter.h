// libsieve: the one place that calls it.
//
// libsieve keeps its lexers' state in globals: two contexts that are alive at once crash, and a
// context that is kept carries one run's state into the next. So each use of it is one bracket: a
// copy of libsieve that is free, context, callbacks, one run, and all of it freed.
#ifndef QUARROW_SIEVE_MATCH_INTERPRETER_H_
#define QUARROW_SIEVE_MATCH_INTERPRETER_H_

#include <cstddef>

#include <sieve2.h>  // needs NULL from the line above

#include "sieve_match/libsieve_copy.h"

namespace Quarrow {
class SieveMatchImpl;
}  // namespace Quarrow

namespace Quarrow::interpreter {

// One use of the interpreter, in one thread: from construction to destruction it has a copy of
// libsieve for itself, and the copy's only context is alive, in the pointer given, which is null
// before and after. Callbacks arrive at SieveMatchImpl::sieve_callback in the meantime. At most one
// of validate() and execute() is called, once. Results are libsieve's error codes, 0 for success.
class Use {
 public:
  // Waits while all copies are in use. A thread gets the copy that it had before, if it can: what
  // the copy works in is then still in the processor's caches.
  explicit Use(sieve2_context_t*& context);
  ~Use();
  Use(const Use&) = delete;
  Use& operator=(const Use&) = delete;

  // The result of creating the context.
  int created() const { return created_; }

  // Registers the callbacks; the interpreter's trace, which doubles the time of a run, only on
  // request.
  int install_callbacks(bool with_trace);

  // Reads the matcher's script, or runs it; the callbacks get `matcher`. A run that passes the
  // heap's budget ends with SIEVE2_ERROR_NOMEM.
  int validate(SieveMatchImpl* matcher);
  int execute(SieveMatchImpl* matcher);

 private:
  const std::size_t copy_;
  const LibsieveCopy& libsieve_;
  sieve2_context_t*& context_;
  int created_;
  bool with_trace_ = false;
};

// The code that libsieve is calling back for in this thread; SIEVE2_VALUE_FIRST outside of
// callbacks. libsieve documents no call that tells it.
sieve2_values_t current_code();

// The functions below are for the thread's own use, and its context.

// A string that libsieve hands to a callback; null when there is none of that name. It is
// libsieve's, and good until the callback returns.
const char* get_string(sieve2_context_t* context, const char* name);

// Answers to libsieve. The texts must outlive the run; libsieve does not write to them.
void set_string(sieve2_context_t* context, const char* name, const char* value);
void set_string_list(sieve2_context_t* context, const char* name, char** values);
void set_int(sieve2_context_t* context, const char* name, int value);

}  // namespace Quarrow::interpreter

#endif  // QUARROW_SIEVE_MATCH_INTERPRETER_H_
