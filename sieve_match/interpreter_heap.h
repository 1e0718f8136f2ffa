// The memory that libsieve works in during one use of it.
//
// libsieve is linked with its allocation functions renamed to those of this heap. Every block is
// handed out clean and with some bytes more than asked for, so that the interpreter's overruns hit
// nothing and a byte that it forgets to set reads as zero; blocks that it forgets to free are gone
// when the heap is closed; and a budget ends a run that would take gigabytes. Each copy of libsieve
// has its heap, which belongs to the thread that uses the copy.
#ifndef QUARROW_SIEVE_MATCH_INTERPRETER_HEAP_H_
#define QUARROW_SIEVE_MATCH_INTERPRETER_HEAP_H_

#include <cstddef>

#include <sieve2.h>  // needs NULL from the line above

#include <cstdint>

namespace Quarrow::interpreter_heap {

// The most that may be in use at a time, in bytes. A message with 50,000 recipients needs some 22
// MB.
constexpr std::size_t budget = std::size_t{64} << 20;

// Makes the heap ready for a use of the interpreter.
void open();

// Frees the context that was made in the heap, as sieve2_free does, and sets it to null.
void free_context(sieve2_context_t*& context);

// Drops all that is left, and gives the memory that an unusual message took back to the system.
void close();

// All that the heap consists of while it is open: the blocks and its notes about them. Behind it
// there is clean memory. Whoever writes the words back that it had at an earlier moment of this use
// has the heap as it was then.
struct Memory {
  std::uint64_t* begin;
  std::uint64_t* end;
};
Memory memory();

// sieve2_validate or sieve2_execute.
using Task = int (*)(sieve2_context_t* context, void* user);

// Runs `task` and returns its result, or SIEVE2_ERROR_NOMEM when it was ended because it passed the
// budget. Only frames of libsieve are left behind by that end, never one of a callback.
int run(Task task, sieve2_context_t* context, void* user);

// Between the two a callback runs, and the budget does not end the task.
void begin_callback();
void end_callback();

// How many callbacks have begun, ever.
std::uint64_t callback_count();

}  // namespace Quarrow::interpreter_heap

#endif  // QUARROW_SIEVE_MATCH_INTERPRETER_HEAP_H_
