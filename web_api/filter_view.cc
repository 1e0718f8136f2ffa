// JSON with sentences and warnings.
#include "web_api/filter_view.h"

#include <set>
#include <string>

#include "administration/rule_analysis.h"
#include "administration/rule_check.h"
#include "administration/rule_sentence.h"
#include "administration/rules_json.h"
#include "administration/rules_text.h"
#include "message_filters/script_words.h"

namespace Quarrow::WebApi {
namespace {

using Administration::RuleRemark;
using MessageFilters::Filter__;
using nlohmann::ordered_json;

const char* word_for(RuleRemark::Kind kind) {
  switch (kind) {
    case RuleRemark::Kind::contradiction:
      return "contradiction";
    case RuleRemark::Kind::takes_all:
      return "takes_all";
    case RuleRemark::Kind::shadowed:
      return "shadowed";
    case RuleRemark::Kind::whole_addresses:
      break;
  }
  return "whole_addresses";
}

ordered_json warning(const char* kind, const std::string& detail) {
  return {{"kind", kind}, {"detail", detail}};
}

ordered_json warning(const RuleRemark& remark) {
  ordered_json out = warning(word_for(remark.kind), remark.reason + "; " + remark.advice);
  if (!remark.earlier.empty()) out["earlier"] = remark.earlier;
  return out;
}

ordered_json warnings_of(const Filter__& filter, const std::vector<RuleRemark>& remarks,
                         const Surroundings& around) {
  ordered_json warnings = ordered_json::array();
  for (const auto& remark : remarks)
    if (remark.filter == filter.id) warnings.push_back(warning(remark));
  std::set<std::string> targets;
  for (const auto& action : filter.actions)
    if (!action.target.empty()) targets.insert(action.target);
  for (const auto& target : targets)
    if (around.folders.is_missing(target, around.dots))
      warnings.push_back(warning(
          "missing_folder", "the folder " + target + " does not exist yet; it is made at delivery" +
                                around.folders.question(target)));
  const std::string remark = Administration::remark_on(filter.actions);
  if (!remark.empty()) warnings.push_back(warning("actions", remark));
  return warnings;
}

}  // namespace

ordered_json view_of(const FilterListPointer& list, const Surroundings& surroundings) {
  ordered_json view = ordered_json::parse(Administration::rules_json(*list));
  const auto remarks = Administration::rule_remarks(*list);
  auto shown = view.begin();
  for (const auto& filter : list->filters) {
    (*shown)["sentence"] = Administration::rule_sentence(*filter);
    (*shown)["warnings"] = warnings_of(*filter, remarks, surroundings);
    ++shown;
  }
  return view;
}

ordered_json view_of(Administration::RulesTransaction& rules, const Surroundings& surroundings) {
  const auto& list = rules.filters().filters;
  ordered_json remarks = ordered_json::array();
  for (const auto& remark : {rules.check_loss(), rules.remark()})
    if (remark) remarks.push_back(remark.reason);
  // the disabled filters count, too: a commit bounds the script of all
  const std::size_t bytes = Administration::script_text(list, true).size();
  return {{"revision", rules.revision()},
          {"script", {{"bytes", bytes}, {"most_bytes", script_limit}}},
          {"filters", view_of(list, surroundings)},
          {"remarks", remarks}};
}

Http::Response json_answer(int status, const ordered_json& body) {
  return {status,
          {{"content-type", "application/json"}},
          body.dump(-1, ' ', false, ordered_json::error_handler_t::replace) + '\n'};
}

Http::Response json_answer(int status, const ordered_json& body, const std::string& revision) {
  Http::Response response = json_answer(status, body);
  response.headers.emplace_back("etag", '"' + revision + '"');
  return response;
}

}  // namespace Quarrow::WebApi
