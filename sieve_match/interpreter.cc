#include "sieve_match/interpreter.h"

#include <pthread.h>

#include "quarrow/evaluation.h"
#include "sieve_match/copy_pool.h"

namespace Quarrow::interpreter {
namespace {

// Never destroyed: when a process ends, threads of it may still wait there.
CopyPool& pool() {
  static CopyPool& all_copies = *new CopyPool(libsieve_copy_count);
  return all_copies;
}

// So fork waits for runs to end. It must not be called from a callback. The pool is made ahead: a
// fork must not fail where memory is short.
const int unlocked_in_children = [] {
  (void)pool();
  return pthread_atfork([] { pool().before_fork(); }, [] { pool().after_fork_in_parent(); },
                        [] { pool().after_fork_in_child(); });
}();

thread_local std::size_t latest_copy = 0;
thread_local const LibsieveCopy* in_use = nullptr;
thread_local sieve2_values_t code_called_for = SIEVE2_VALUE_FIRST;

// While such an object is alive, a callback runs and the heap's budget does not end the run.
class CallbackScope {
 public:
  CallbackScope() { in_use->begin_callback(); }
  ~CallbackScope() { in_use->end_callback(); }
  CallbackScope(const CallbackScope&) = delete;
  CallbackScope& operator=(const CallbackScope&) = delete;
};

// libsieve's callback for one code. It has a table entry of its own for each, because libsieve
// itself does not tell.
template <sieve2_values_t code>
int on(sieve2_context_t* context, void* matcher) noexcept {
  const CallbackScope scope;
  const sieve2_values_t outer = code_called_for;
  code_called_for = code;
  const int result = SieveMatchImpl::sieve_callback(context, matcher);
  code_called_for = outer;
  return result;
}

// The trace is the first row, so that the table without it begins at the second row. Scripts may
// not do what the codes without a function stand for.
sieve2_callback_t callback_table[] = {
    {SIEVE2_DEBUG_TRACE, on<SIEVE2_DEBUG_TRACE>},
    {SIEVE2_ERRCALL_PARSE, on<SIEVE2_ERRCALL_PARSE>},
    {SIEVE2_ERRCALL_RUNTIME, on<SIEVE2_ERRCALL_RUNTIME>},
    {SIEVE2_ERRCALL_ADDRESS, on<SIEVE2_ERRCALL_ADDRESS>},
    {SIEVE2_ERRCALL_HEADER, on<SIEVE2_ERRCALL_HEADER>},
    {SIEVE2_ACTION_FILEINTO, on<SIEVE2_ACTION_FILEINTO>},
    {SIEVE2_ACTION_DISCARD, on<SIEVE2_ACTION_DISCARD>},
    {SIEVE2_ACTION_REDIRECT, nullptr},
    {SIEVE2_ACTION_REJECT, on<SIEVE2_ACTION_REJECT>},
    {SIEVE2_ACTION_NOTIFY, nullptr},
    {SIEVE2_ACTION_VACATION, nullptr},
    {SIEVE2_ACTION_KEEP, on<SIEVE2_ACTION_KEEP>},
    {SIEVE2_SCRIPT_GETSCRIPT, on<SIEVE2_SCRIPT_GETSCRIPT>},
    {SIEVE2_MESSAGE_GETHEADER, on<SIEVE2_MESSAGE_GETHEADER>},
    {SIEVE2_MESSAGE_GETALLHEADERS, nullptr},
    {SIEVE2_MESSAGE_GETSUBADDRESS, on<SIEVE2_MESSAGE_GETSUBADDRESS>},
    {SIEVE2_MESSAGE_GETENVELOPE, nullptr},
    {SIEVE2_MESSAGE_GETBODY, nullptr},
    {SIEVE2_MESSAGE_GETSIZE, on<SIEVE2_MESSAGE_GETSIZE>},
    {SIEVE2_VALUE_FIRST, nullptr}};

// libsieve's names are not const, but only compared and copied.
char* libsieve_name(const char* name) { return const_cast<char*>(name); }

}  // namespace

Use::Use(sieve2_context_t*& context)
    : copy_(pool().take(latest_copy)), libsieve_(*libsieve_copies[copy_]), context_(context) {
  latest_copy = copy_;
  in_use = &libsieve_;
  libsieve_.open_heap();
  created_ = libsieve_.alloc(&context_);
  if (created_ != SIEVE2_OK) context_ = nullptr;
}

Use::~Use() {
  if (context_ != nullptr) libsieve_.free_context(context_);
  libsieve_.close_heap();
  in_use = nullptr;
  pool().give_back(copy_);
}

int Use::install_callbacks(bool with_trace) {
  with_trace_ = with_trace;
  return libsieve_.callbacks(context_, with_trace ? callback_table : callback_table + 1);
}

int Use::validate(SieveMatchImpl* matcher) {
  libsieve_.expect_script(nullptr, matcher);
  return libsieve_.run(libsieve_.validate, context_, matcher);
}

int Use::execute(SieveMatchImpl* matcher) {
  libsieve_.expect_script(with_trace_ ? nullptr : matcher->script, matcher);
  return libsieve_.run(libsieve_.execute, context_, matcher);
}

sieve2_values_t current_code() { return code_called_for; }

const char* get_string(sieve2_context_t* context, const char* name) {
  if (context == nullptr) return nullptr;
  return in_use->get_string(context, libsieve_name(name));
}

void set_string(sieve2_context_t* context, const char* name, const char* value) {
  if (context == nullptr) return;
  // Refuses a null value, which then stays absent as it should.
  (void)in_use->set_string(context, libsieve_name(name), const_cast<char*>(value));
}

void set_string_list(sieve2_context_t* context, const char* name, char** values) {
  if (context == nullptr) return;
  (void)in_use->set_string_list(context, libsieve_name(name), values);
}

void set_int(sieve2_context_t* context, const char* name, int value) {
  if (context == nullptr) return;
  (void)in_use->set_int(context, libsieve_name(name), value);
}

}  // namespace Quarrow::interpreter
