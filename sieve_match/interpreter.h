// libsieve: the one place that calls it.
//
// libsieve keeps its lexers' state in globals: two contexts that are alive at once crash, and a
// context that is kept carries one run's state into the next. So each use of it is one bracket:
// lock, context, callbacks, one run, and all of it freed.
#ifndef QUARROW_SIEVE_MATCH_INTERPRETER_H_
#define QUARROW_SIEVE_MATCH_INTERPRETER_H_

#include <cstddef>

#include <sieve2.h>  // needs NULL from the line above

#include <mutex>

namespace Quarrow::interpreter {

// One use of the interpreter: from construction to destruction the process's only context is alive,
// in the pointer given, which is null before and after. Callbacks arrive at
// SieveMatchImpl::sieve_callback in the meantime. At most one of validate() and execute() is
// called, once. Results are libsieve's error codes, 0 for success.
class Use {
 public:
  explicit Use(sieve2_context_t*& context);
  ~Use();
  Use(const Use&) = delete;
  Use& operator=(const Use&) = delete;

  // The result of creating the context.
  int created() const { return created_; }

  // Registers the callbacks; the interpreter's trace, which doubles the time of a run, only on
  // request.
  int install_callbacks(bool with_trace);

  // Reads the script, or runs it; the callbacks get `matcher`. A run that passes the heap's
  // budget ends with SIEVE2_ERROR_NOMEM.
  int validate(void* matcher);
  int execute(void* matcher);

 private:
  std::lock_guard<std::mutex> lock_;
  sieve2_context_t*& context_;
  int created_;
};

// The code that libsieve is calling back for in this thread; SIEVE2_VALUE_FIRST outside of
// callbacks. libsieve documents no call that tells it.
sieve2_values_t current_code();

// A string that libsieve hands to a callback; null when there is none of that name. It is
// libsieve's, and good until the callback returns.
const char* get_string(sieve2_context_t* context, const char* name);

// Answers to libsieve. The texts must outlive the run; libsieve does not write to them.
void set_string(sieve2_context_t* context, const char* name, const char* value);
void set_string_list(sieve2_context_t* context, const char* name, char** values);
void set_int(sieve2_context_t* context, const char* name, int value);

}  // namespace Quarrow::interpreter

#endif  // QUARROW_SIEVE_MATCH_INTERPRETER_H_
