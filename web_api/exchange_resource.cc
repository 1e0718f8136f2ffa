// Rules to and from other programs.
#include <algorithm>
#include <iterator>

#include "administration/root_setup.h"
#include "administration/rules_export.h"
#include "importing/rules_import.h"
#include "importing/rules_reader.h"
#include "web_api/refusal_problem.h"
#include "web_api/resources.h"
#include "web_api/rules_work.h"

namespace Quarrow::WebApi {
namespace {

using Administration::ExportForm;
using Administration::Refusal;
using Administration::RulesTransaction;
using Importing::Earlier;
using Importing::ImportedRules;
using nlohmann::ordered_json;

const struct Form {
  const char* word;
  ExportForm form;
  const char* type;
} forms[] = {{"json", ExportForm::json, "application/json"},
             {"xml", ExportForm::xml, "application/xml"},
             {"sieve", ExportForm::sieve, "application/sieve"}};

Http::Response refused_parameter(const std::string& name, const std::string& reason) {
  return Http::problem(400, "the parameter " + name + ' ' + reason, {{"", name, reason}});
}

std::string parameter(const Call& call, const std::string& name) {
  const auto found = call.query.find(name);
  return found == call.query.end() ? "" : found->second;
}

// How rules are taken over.
struct Terms {
  Importing::RulesFormat format = Importing::RulesFormat::json;
  Earlier earlier = Earlier::unstated;
  bool dry_run = false;
  bool accept_loss = false;
};

// Reads the parameters; a problem where one of them can't be taken.
std::optional<Http::Response> read_terms(const Call& call, const std::string& text, Terms& terms) {
  const std::string from = parameter(call, "from");
  const auto format = from.empty() ? Importing::guess_format(text) : Importing::format_of(from);
  if (!format && from.empty())
    return refused_parameter("from", "is needed: the format can't be told from the text");
  if (!format) return refused_parameter("from", "names no format");
  const std::string mode = parameter(call, "mode");
  if (!mode.empty() && mode != "replace" && mode != "append")
    return refused_parameter("mode", "must be replace or append");
  const auto dry_run = flag_of(call, "dry_run");
  if (!dry_run) return refused_parameter("dry_run", "must be true or false");
  const auto accept_loss = flag_of(call, "accept_loss");
  if (!accept_loss) return refused_parameter("accept_loss", "must be true or false");
  terms = {*format, Earlier::unstated, *dry_run, *accept_loss};
  if (!mode.empty()) terms.earlier = mode == "replace" ? Earlier::replaced : Earlier::kept;
  return std::nullopt;
}

ordered_json unless_zero(std::size_t number) {
  return number == 0 ? ordered_json() : ordered_json(number);
}

ordered_json report_of(const std::vector<Importing::RuleChange>& changes) {
  ordered_json report = ordered_json::array();
  for (const auto& change : changes)
    report.push_back({{"change", Importing::change_word(change.kind)},
                      {"id", change.id == 0 ? ordered_json() : ordered_json(change.id)},
                      {"name", change.name},
                      {"line", unless_zero(change.line)},
                      {"what", change.what}});
  return report;
}

Edited put(const ImportedRules& imported, const Terms& terms, RulesTransaction& rules) {
  std::vector<Importing::RuleChange> changes;
  Edited edited = {put_rules(imported, terms.earlier, rules, changes)};
  if (edited.refusal) return edited;
  edited.members["report"] = report_of(changes);
  if (!imported.losses.empty() && !terms.accept_loss && !terms.dry_run)
    edited.refusal = {Refusal::Kind::lossy_rules, "",
                      "what has no equal here: " + std::to_string(imported.losses.size()) +
                          " in the report; nothing was changed"};
  return edited;
}

// Says what the import would do.
Http::Response try_import(const Call& call, const ImportedRules& imported, const Terms& terms) {
  return with_rules(
      call,
      [&](const OpenRules& open) -> Http::Response {
        Edited edited = put(imported, terms, open.rules);
        if (!edited.refusal) {
          Administration::CommitConsent consent;
          consent.if_revision = call.revision;
          edited.refusal = open.rules.check_commit(consent);
        }
        if (edited.refusal) return refused(edited.refusal, edited.members);
        edited.members["changes"] = sentences(open.rules.changes());
        return json_answer(200, edited.members, open.rules.revision());
      });
}

}  // namespace

Http::Response export_filters(const Call& call) {
  const std::string word = call.query.empty() ? "json" : parameter(call, "form");
  const auto form = std::find_if(std::begin(forms), std::end(forms),
                                 [&word](const Form& each) { return each.word == word; });
  if (form == std::end(forms)) return refused_parameter("form", "must be json, xml or sieve");
  return with_rules(call, [form](const OpenRules& open) -> Http::Response {
    std::string text;
    Refusal refusal = open.rules.check_loss();  // a copy of a part would pass for one of all
    if (!refusal) refusal = export_rules(open.rules.filters().filters, form->form, "", text);
    if (refusal) return refused(refusal);
    const std::string name = std::string("filters.") + form->word;
    return {200,
            {{"content-type", form->type},
             {"content-disposition", "attachment; filename=\"" + name + '"'},
             {"etag", '"' + open.rules.revision() + '"'}},
            text};
  });
}

Http::Response import_filters(const Call& call) {
  const ordered_json& body = call.body;
  if (!body.is_object() || body.size() != 1 || !body.contains("text") || !body["text"].is_string())
    return not_taken({{"/text", "", "must be the text of a file, and the only member"}});
  const auto text = body["text"].get<std::string>();
  Terms terms;
  if (const auto problem = read_terms(call, text, terms)) return *problem;
  ImportedRules imported;
  if (const Refusal refusal = read_rules(terms.format, text, call.context.dots, imported))
    return not_taken({{"/text", "", refusal.object + ": " + refusal.reason}});
  if (terms.dry_run) {
    if (const Refusal refusal = Administration::open_configuration(call.context.root))
      return refused(refusal);
    return try_import(call, imported, terms);
  }
  return change_rules(call, {},
                      [&](RulesTransaction& rules) { return put(imported, terms, rules); });
}

}  // namespace Quarrow::WebApi
