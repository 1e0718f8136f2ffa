// An arena with free lists by size: a block comes off the list of its size, or off the unused end
// of the arena, which is clean. Closing the heap cleans what was used.

#include "sieve_match/interpreter_heap.h"

#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <csetjmp>
#include <cstdint>
#include <cstring>

extern "C" {
// libsieve's address lexer reads through this pointer before it sets it, and leaves it dangling
// after a run.
extern char* libsieve_addrlval;

// The parts of libsieve that outlast a context: the state of its lexers.
void libsieve_addrlexfree();
void libsieve_sievelexfree();
void libsieve_headerlexfree();
void libsieve_headeryaccfree();
}

namespace Quarrow::interpreter_heap {
namespace {

constexpr std::size_t alignment = 16;
// Room behind a block, into which the interpreter may write: it overruns by a byte, and reads no
// further.
constexpr std::size_t slack = 16;
// Address space, not memory: freed blocks of one size do not serve another.
constexpr std::size_t arena_size = 2 * budget;
// Pages that stay with the process between two uses; an ordinary script and message need less.
constexpr std::size_t kept_size = std::size_t{1} << 20;

// Sizes up to this go in steps of the alignment, larger sizes in four steps a doubling.
constexpr unsigned small_doubling = 10;
constexpr std::size_t small_limit = std::size_t{1} << small_doubling;
constexpr std::size_t small_classes = small_limit / alignment;
constexpr std::size_t steps_per_doubling = 4;
constexpr std::size_t doublings = 20;  // more than the arena has
constexpr std::size_t class_count = small_classes + steps_per_doubling * doublings;

struct Block {
  std::uint32_t size_class;
  std::uint32_t in_use;
  std::size_t capacity;  // bytes behind this head
};
static_assert(sizeof(Block) == alignment, "blocks are aligned as malloc's are");

struct FreeBlock {
  Block head;
  FreeBlock* next;
};

// What stands in front of the blocks. Cleaned, it is that of an empty heap but for `end`.
struct alignas(alignment) Notes {
  char* end;  // of what has been handed out so far
  std::size_t in_use;
  std::array<FreeBlock*, class_count> free;
};

struct SizeClass {
  std::uint32_t index;
  std::size_t capacity;
};

SizeClass size_class_of(std::size_t size) {
  if (size <= small_limit) {
    const std::size_t steps = (size + alignment - 1) / alignment;
    return {static_cast<std::uint32_t>(steps), steps * alignment};
  }
  // above 2^doubling, and up to twice as much
  const unsigned doubling = 63U - static_cast<unsigned>(__builtin_clzll(size - 1));
  const std::size_t step = (std::size_t{1} << doubling) / steps_per_doubling;
  const std::size_t steps = (size - 1) / step + 1;  // 5 to 8
  const std::size_t index = small_classes + steps_per_doubling * (doubling - small_doubling) +
                            (steps - steps_per_doubling);
  return {static_cast<std::uint32_t>(index), steps * step};
}

class Heap {
 public:
  void open() {
    if (arena_ == nullptr) map_arena();
    if (arena_ != nullptr) notes()->end = arena_ + sizeof(Notes);
    static char nothing_read_yet[] = "";
    libsieve_addrlval = nothing_read_yet;
  }

  void close() {
    if (arena_ == nullptr) return;
    const std::size_t used = static_cast<std::size_t>(notes()->end - arena_);
    std::memset(arena_, 0, std::min(used, kept_size));
    if (used > kept_size) (void)madvise(arena_ + kept_size, used - kept_size, MADV_DONTNEED);
  }

  Memory memory() const {
    if (arena_ == nullptr) return {nullptr, nullptr};
    return {reinterpret_cast<std::uint64_t*>(arena_),
            reinterpret_cast<std::uint64_t*>(notes()->end)};
  }

  void* allocate(std::size_t size) {
    if (arena_ == nullptr) return nullptr;
    if (size > budget || notes()->in_use + size > budget) {
      end_task();
      if (size > budget) return nullptr;
    }
    const SizeClass wanted = size_class_of(size + slack);
    Block* block = recycled(wanted);
    if (block == nullptr) block = fresh(wanted);
    if (block == nullptr) return nullptr;
    block->in_use = 1;
    notes()->in_use += block->capacity;
    return block + 1;
  }

  void* resize(void* old, std::size_t size) {
    if (old == nullptr) return allocate(size);
    const std::size_t capacity = head_of(old)->capacity;
    if (size + slack <= capacity) return old;
    void* larger = allocate(size);
    if (larger == nullptr) return nullptr;
    std::memcpy(larger, old, capacity - slack);
    release(old);
    return larger;
  }

  void release(void* data) {
    if (data == nullptr) return;
    Block* block = head_of(data);
    if (block->in_use == 0) return;
    block->in_use = 0;
    notes()->in_use -= block->capacity;
    FreeBlock* freed = reinterpret_cast<FreeBlock*>(block);
    freed->next = notes()->free[block->size_class];
    notes()->free[block->size_class] = freed;
  }

  int run(Task task, sieve2_context_t* context, void* user) {
    if (sigsetjmp(task_end_, 0) != 0) {
      task_runs_ = false;
      return SIEVE2_ERROR_NOMEM;
    }
    task_runs_ = true;
    const int result = task(context, user);
    task_runs_ = false;
    return result;
  }

  int callbacks = 0;  // how many are running
  std::uint64_t callbacks_begun = 0;

 private:
  static Block* head_of(void* data) { return static_cast<Block*>(data) - 1; }

  void map_arena() {
    void* pages = mmap(nullptr, arena_size, PROT_READ | PROT_WRITE,
                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (pages == MAP_FAILED) return;  // sieve2_alloc gets no memory then, and says so
    arena_ = static_cast<char*>(pages);
  }

  Notes* notes() const { return reinterpret_cast<Notes*>(arena_); }

  Block* recycled(const SizeClass& wanted) {
    FreeBlock* const block = notes()->free[wanted.index];
    if (block == nullptr) return nullptr;
    notes()->free[wanted.index] = block->next;
    std::memset(&block->head + 1, 0, wanted.capacity);
    return &block->head;
  }

  // Memory that was never handed out is only taken when it is used.
  Block* fresh(const SizeClass& wanted) {
    const std::size_t size = sizeof(Block) + wanted.capacity;
    const std::size_t used = static_cast<std::size_t>(notes()->end - arena_);
    if (size > arena_size - used) {
      end_task();
      return nullptr;
    }
    Block* block = reinterpret_cast<Block*>(notes()->end);
    notes()->end += size;
    block->size_class = wanted.index;
    block->capacity = wanted.capacity;
    return block;
  }

  // Returns only where no task can be left: in a callback, and while a context is made or freed.
  void end_task() {
    if (task_runs_ && callbacks == 0) siglongjmp(task_end_, 1);
  }

  char* arena_ = nullptr;
  bool task_runs_ = false;
  sigjmp_buf task_end_;
};

Heap heap;

}  // namespace

void open() { heap.open(); }

// sieve2_free also walks all that the context points to block by block, a table of a thousand empty
// slots included. close() drops all of it at once.
void free_context(sieve2_context_t*& context) {
  libsieve_addrlexfree();
  libsieve_sievelexfree();
  libsieve_headerlexfree();
  libsieve_headeryaccfree();
  context = nullptr;
}

void close() { heap.close(); }

int run(Task task, sieve2_context_t* context, void* user) { return heap.run(task, context, user); }
Memory memory() { return heap.memory(); }

void begin_callback() {
  ++heap.callbacks;
  ++heap.callbacks_begun;
}

void end_callback() { --heap.callbacks; }

std::uint64_t callback_count() { return heap.callbacks_begun; }

}  // namespace Quarrow::interpreter_heap

// libsieve's malloc, calloc, realloc and free are renamed to these.
extern "C" {

void* quarrow_heap_malloc(std::size_t size) {
  return Quarrow::interpreter_heap::heap.allocate(size);
}

void* quarrow_heap_calloc(std::size_t count, std::size_t size) {
  std::size_t bytes = 0;
  if (__builtin_mul_overflow(count, size, &bytes)) return nullptr;
  return Quarrow::interpreter_heap::heap.allocate(bytes);
}

void* quarrow_heap_realloc(void* old, std::size_t size) {
  return Quarrow::interpreter_heap::heap.resize(old, size);
}

void quarrow_heap_free(void* data) { Quarrow::interpreter_heap::heap.release(data); }

}  // extern "C"
