// A copy of libsieve with the heap that it works in.
//
// libsieve keeps its lexers' state in globals, so that one run at a time is all that it is capable
// of. The build makes several copies of it (cmake/LinkLibsieve.cmake), each with globals and a heap
// of its own: as many runs may go on at once. A copy is known by its functions.
#ifndef QUARROW_SIEVE_MATCH_LIBSIEVE_COPY_H_
#define QUARROW_SIEVE_MATCH_LIBSIEVE_COPY_H_

#include <cstddef>

#include <sieve2.h>  // needs NULL from the line above

namespace Quarrow::interpreter {

// Made in C's way: constant when a program starts, and known to the linker by a plain name.
struct LibsieveCopy {
  // libsieve's own.
  int (*alloc)(sieve2_context_t** context);
  int (*callbacks)(sieve2_context_t* context, sieve2_callback_t* callbacks);
  int (*validate)(sieve2_context_t* context, void* user);
  int (*execute)(sieve2_context_t* context, void* user);
  char* (*get_string)(sieve2_context_t* context, char* name);
  int (*set_string)(sieve2_context_t* context, char* name, char* value);
  int (*set_string_list)(sieve2_context_t* context, char* name, char** values);
  int (*set_int)(sieve2_context_t* context, char* name, int value);

  // Those of sieve_match/interpreter_heap.h.
  void (*open_heap)();
  void (*free_context)(sieve2_context_t*& context);
  void (*close_heap)();
  int (*run)(int (*task)(sieve2_context_t* context, void* user), sieve2_context_t* context,
             void* user);
  void (*begin_callback)();
  void (*end_callback)();

  // That of sieve_match/parsed_script.h.
  void (*expect_script)(const char* script, const void* user);
};

// The copies that the program has, at least one.
extern const LibsieveCopy* const libsieve_copies[];
extern const std::size_t libsieve_copy_count;

}  // namespace Quarrow::interpreter

#endif  // QUARROW_SIEVE_MATCH_LIBSIEVE_COPY_H_
