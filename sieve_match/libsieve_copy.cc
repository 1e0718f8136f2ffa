// The one place that names libsieve's functions. It becomes part of each copy, where these are the
// copy's own, and there its table gets the copy's number.

#include "sieve_match/libsieve_copy.h"

#include "sieve_match/interpreter_heap.h"
#include "sieve_match/parsed_script.h"

extern "C" {
extern const Quarrow::interpreter::LibsieveCopy quarrow_libsieve_0;

const Quarrow::interpreter::LibsieveCopy quarrow_libsieve_0 = {
    sieve2_alloc,
    sieve2_callbacks,
    sieve2_validate,
    sieve2_execute,
    sieve2_getvalue_string,
    sieve2_setvalue_string,
    sieve2_setvalue_stringlist,
    sieve2_setvalue_int,
    Quarrow::interpreter_heap::open,
    Quarrow::interpreter_heap::free_context,
    Quarrow::interpreter_heap::close,
    Quarrow::interpreter_heap::run,
    Quarrow::interpreter_heap::begin_callback,
    Quarrow::interpreter_heap::end_callback,
    Quarrow::parsed_script::expect,
};
}
