#include "sieve_match/interpreter.h"

#include <pthread.h>

#include "quarrow/evaluation.h"
#include "sieve_match/interpreter_heap.h"

namespace Quarrow::interpreter {
namespace {

std::mutex process_lock;

// A child that is forked while another thread runs the interpreter would find it locked for ever.
// So fork waits for the run to end. It must not be called from a callback.
const int unlocked_in_children = pthread_atfork(
    [] { process_lock.lock(); }, [] { process_lock.unlock(); }, [] { process_lock.unlock(); });

thread_local sieve2_values_t code_called_for = SIEVE2_VALUE_FIRST;

// libsieve's callback for one code. It has a table entry of its own for each, because libsieve
// itself does not tell.
template <sieve2_values_t code>
int on(sieve2_context_t* context, void* matcher) noexcept {
  const interpreter_heap::CallbackScope scope;
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

Use::Use(sieve2_context_t*& context) : lock_(process_lock), context_(context) {
  interpreter_heap::open();
  created_ = sieve2_alloc(&context_);
  if (created_ != SIEVE2_OK) context_ = nullptr;
}

Use::~Use() {
  if (context_ != nullptr) interpreter_heap::free_context(context_);
  interpreter_heap::close();
}

int Use::install_callbacks(bool with_trace) {
  return sieve2_callbacks(context_, with_trace ? callback_table : callback_table + 1);
}

int Use::validate(void* matcher) {
  return interpreter_heap::run(sieve2_validate, context_, matcher);
}

int Use::execute(void* matcher) { return interpreter_heap::run(sieve2_execute, context_, matcher); }

sieve2_values_t current_code() { return code_called_for; }

const char* get_string(sieve2_context_t* context, const char* name) {
  if (context == nullptr) return nullptr;
  return sieve2_getvalue_string(context, libsieve_name(name));
}

void set_string(sieve2_context_t* context, const char* name, const char* value) {
  if (context == nullptr) return;
  // Refuses a null value, which then stays absent as it should.
  (void)sieve2_setvalue_string(context, libsieve_name(name), const_cast<char*>(value));
}

void set_string_list(sieve2_context_t* context, const char* name, char** values) {
  if (context == nullptr) return;
  (void)sieve2_setvalue_stringlist(context, libsieve_name(name), values);
}

void set_int(sieve2_context_t* context, const char* name, int value) {
  if (context == nullptr) return;
  (void)sieve2_setvalue_int(context, libsieve_name(name), value);
}

}  // namespace Quarrow::interpreter
