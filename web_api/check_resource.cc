// A rule or a test tried out, without any change.
#include <quarrow/filter_list.h>

#include "administration/rule_sentence.h"
#include "administration/rules_text.h"
#include "message_filters/sieve_script.h"
#include "web_api/filter_reading.h"
#include "web_api/filter_view.h"
#include "web_api/refusal_problem.h"
#include "web_api/resources.h"
#include "web_api/rules_work.h"

namespace Quarrow::WebApi {
namespace {

using MessageFilters::FilterList__;
using nlohmann::ordered_json;

Http::Response wrong(const Mistakes& mistakes) {
  ordered_json errors = ordered_json::array();
  for (const auto& mistake : mistakes)
    errors.push_back({{"pointer", mistake.pointer}, {"detail", mistake.detail}});
  return json_answer(200, {{"valid", false}, {"errors", errors}});
}

ordered_json right(const std::string& sentence, const FilterListPointer& list) {
  return {
      {"valid", true}, {"sentence", sentence}, {"script", Administration::script_text(list, true)}};
}

Http::Response check_filter(const Call& call) {
  Mistakes mistakes;
  const auto filter = read_filter(call.body["filter"], {"/filter", call.context.dots}, mistakes);
  if (!mistakes.empty()) return wrong(mistakes);
  const FilterListPointer list = FilterList__::Create();
  (void)list->append(filter);  // it is valid
  ordered_json body = right(Administration::rule_sentence(*filter), list);
  return with_rules(call, [&](const OpenRules& open) {
    body["warnings"] = view_of(list, open.surroundings)[0]["warnings"];
    return json_answer(200, body);
  });
}

Http::Response check_test(const Call& call) {
  Mistakes mistakes;
  const auto test = read_test(call.body["test"], {"/test", call.context.dots}, mistakes);
  if (!mistakes.empty()) return wrong(mistakes);
  return json_answer(200,
                     right(Administration::test_sentence(test), MessageFilters::list_to_try(test)));
}

}  // namespace

Http::Response check_rule(const Call& call) {
  const bool is_one = call.body.is_object() && call.body.size() == 1;
  if (is_one && call.body.contains("filter")) return check_filter(call);
  if (is_one && call.body.contains("test")) return check_test(call);
  return not_taken({{"", "", "must have one member, which is \"filter\" or \"test\""}});
}

}  // namespace Quarrow::WebApi
