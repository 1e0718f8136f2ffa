// A script as it is stored, which somebody may have changed, and a message, which a line with three
// dashes separates: the form in which it is run decides the same.
#include "delivery/execution_form.h"

#include "fuzz/expectation.h"
#include "fuzz/input.h"
#include "fuzz/rules.h"
#include "fuzz/scripts.h"
#include "fuzz/target.h"

namespace Quarrow::Fuzz {
namespace {

void run_both_forms(const std::string& input) {
  const Parts parts = parts_of(input, "---");
  if (takes_long(parts.first)) return;
  const Delivery::ExecutionForm form = Delivery::execution_form(parts.first);
  const auto stored = matcher_of(parts.first);
  const auto fast = matcher_of(form.script);
  expect((stored == nullptr) == (fast == nullptr), "both forms compile, or none");
  if (!stored) return;
  const SieveMatchResult expected = result_of(*stored, parts.second);
  SieveMatchResult result = result_of(*fast, parts.second);
  if (is_cut_short(form, result)) return;
  (void)complete(form, result);
  expect_equal(text_of(expected), text_of(result), "both forms decide the same");
}

const Target target("execution_form", run_both_forms);

}  // namespace
}  // namespace Quarrow::Fuzz
