// The user's rules over mail that they have already. The work goes on when its request has ended.
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <utility>

#include "administration/filter_reference.h"
#include "administration/guarded_process.h"
#include "administration/user_folder.h"
#include "administration/users.h"
#include "delivery/folder_name.h"
#include "message_filters/mailbox_name.h"
#include "message_filters/script_words.h"
#include "message_filters/user_files.h"
#include "refiling/background_refiling.h"
#include "refiling/journal.h"
#include "refiling/refiling_files.h"
#include "system/packet.h"
#include "web_api/filter_reading.h"
#include "web_api/filter_view.h"
#include "web_api/refusal_problem.h"
#include "web_api/resources.h"
#include "web_api/rules_work.h"

namespace Quarrow::WebApi {
namespace {

using Administration::GuardedOutcome;
using Administration::Refusal;
using Administration::UserFolder;
using nlohmann::ordered_json;
using Refiling::Order;
using Refiling::RefilingFiles;
using Refiling::Stage;

// What the body asks for, besides the wish of the order.
struct Asked {
  Order order;
  std::int32_t rule = 0;  // 0: all rules
};

void read_folder(const ordered_json& body, const char* name, Delivery::FolderDots dots,
                 std::string& folder, Mistakes& mistakes) {
  const ordered_json& value = body[name];
  const auto found = value.is_string()
                         ? Delivery::maildir_folder(MessageFilters::imap_mailbox_name(value), dots)
                         : std::nullopt;
  if (found)
    folder = *found;
  else
    mistakes.push_back({std::string("/") + name, "", "must be the name of a folder"});
}

std::optional<std::time_t> time_in(const ordered_json& value) {
  constexpr auto most = static_cast<std::uint64_t>(std::numeric_limits<std::time_t>::max());
  if (!value.is_number_unsigned() || value.get<std::uint64_t>() > most) return std::nullopt;
  return value.get<std::time_t>();
}

Asked read_body(const Call& call, Mistakes& mistakes) {
  Asked asked;
  Refiling::Wish& wish = asked.order.wish;
  wish.dots = call.context.dots;
  asked.order.folder = "INBOX";
  asked.order.key = call.key.value_or("");
  const ordered_json& body = call.body;
  if (!body.is_object()) mistakes.push_back({"", "", "must be an object"});
  for (const auto& member : body.items()) {
    const std::string& name = member.key();
    if (name == "folder") {
      read_folder(body, "folder", wish.dots, wish.folder, mistakes);
      if (member.value().is_string()) asked.order.folder = member.value();
    } else if (name == "rule") {
      asked.rule = number_in(member.value()).value_or(0);
      if (asked.rule == 0) mistakes.push_back({"/rule", "", "must be the number of a filter"});
    } else if (name == "since") {
      wish.since = time_in(member.value());
      if (!wish.since) mistakes.push_back({"/since", "", "must be seconds since 1970"});
    } else if (name == "discard_to") {
      read_folder(body, "discard_to", wish.dots, wish.discard_to.emplace(), mistakes);
    } else {
      mistakes.push_back({pointer_step(name), "", "unknown member"});
    }
  }
  return asked;
}

// Work in the user's folder, as its owner; gives a text.
GuardedOutcome in_user_folder(const Call& call,
                              const std::function<GuardedOutcome(const UserFolder&)>& work) {
  const std::string path = Administration::user_folder(call.context.user);
  return Administration::run_guarded(path, [&]() -> GuardedOutcome {
    UserFolder folder(path);
    if (const Refusal refusal = folder.open()) return {refusal, ""};
    return work(folder);
  });
}

GuardedOutcome view_of_work(const UserFolder& folder) {
  const Refiling::RefilingState state = RefilingFiles(folder).read();
  ordered_json view = json_of(state);
  const bool is_moving = state.stage == Stage::filing || state.stage == Stage::undoing;
  view["undoable"] = !is_moving && Refiling::has_run_to_undo(folder.fd());
  return {{}, view.dump(-1, ' ', false, ordered_json::error_handler_t::replace)};
}

Http::Response answer_with(int status, const GuardedOutcome& view) {
  if (view.refusal) return refused(view.refusal);
  return json_answer(status, ordered_json::parse(view.answer));
}

Http::Response state_answer(const Call& call, int status) {
  return answer_with(status, in_user_folder(call, view_of_work));
}

// Whether the last work was that of this request.
bool was_started(const Call& call) {
  if (!call.key) return false;
  const GuardedOutcome key = in_user_folder(call, [](const UserFolder& folder) -> GuardedOutcome {
    return {{}, RefilingFiles(folder).read().key};
  });
  return key.answer == *call.key;
}

Http::Response conflict(const Call& call, const std::string& reason) {
  const GuardedOutcome view = in_user_folder(call, view_of_work);
  if (view.refusal) return refused(view.refusal);
  return Http::problem_with(409, reason,
                            {{"type", Http::problem_type("application-runs")},
                             {"title", "The user's mail is being moved"},
                             {"application", ordered_json::parse(view.answer)}});
}

// An evaluator of the script's text; null when it is not valid.
std::unique_ptr<Trial::MessageEvaluator> evaluator_of(const std::string& script) {
  using Outcome = Delivery::Evaluation::Outcome;
  auto evaluator = Trial::isolated_text_evaluator(script);
  const Outcome outcome = evaluator->evaluate({}, 0).outcome;
  if (outcome != Outcome::done && outcome != Outcome::failed) return nullptr;
  return evaluator;
}

Http::Response start(const Call& call, const Order& order, const std::string& script) {
  const Refusal refusal =
      Refiling::start_refiling(Administration::user_folder(call.context.user), order,
                               [&script] { return evaluator_of(script); });
  if (!refusal || was_started(call)) return state_answer(call, 202);
  if (refusal.kind == Refusal::Kind::try_again) return conflict(call, refusal.reason);
  return refused(refusal);
}

// The rules that an order is about: the revision, the name of the only rule, and the script.
std::string packed_rules(const std::string& revision, const std::string& name,
                         const std::string& script) {
  PacketWriter writer;
  writer.text(revision);
  writer.text(name);
  writer.text(script);
  return writer.packet();
}

Http::Response read_rules(const Asked& asked, const UserFolder& folder, const OpenRules& open) {
  const Refiling::MailFolders& folders = open.surroundings.folders;
  if (folders.is_missing(asked.order.folder, asked.order.wish.dots))
    return not_taken(
        {{"/folder", "", "there is no such folder" + folders.question(asked.order.folder)}});
  std::string name;
  if (asked.rule != 0) {
    Refusal refusal = open.rules.check_filter(asked.rule);
    const auto filter = open.rules.filters().filters->find_filter(asked.rule);
    if (!refusal) refusal = Administration::check_tells_by_name(open.rules.filters(), *filter);
    if (refusal) return not_taken({{"/rule", "", refusal.reason}});
    name = filter->name;
  }
  std::string script;
  if (folder.read(script_name, script_limit, script) != 0 || script.empty())
    return not_taken({{"", "", "there are no rules that could be applied"}});
  return {200, {}, packed_rules(open.rules.revision(), name, script)};
}

Http::Response apply(const Call& call, Order::Kind kind) {
  Mistakes mistakes;
  Asked asked = read_body(call, mistakes);
  if (!mistakes.empty()) return not_taken(mistakes);
  if (was_started(call)) return state_answer(call, 202);
  const auto read = [&](const OpenRules& open) {
    UserFolder folder(Administration::user_folder(call.context.user));
    if (const Refusal refusal = folder.open()) return refused(refusal);
    return read_rules(asked, folder, open);
  };
  const bool is_of_any = kind == Order::Kind::plan && call.revision.empty();
  const Http::Response rules =
      is_of_any ? with_rules(call, read) : with_rules_of_revision(call, read);
  if (rules.status != 200) return rules;
  PacketReader reader(rules.body);
  asked.order.kind = kind;
  asked.order.revision = reader.text();
  const std::string name = reader.text();
  if (asked.rule != 0) asked.order.wish.rule = name;
  return start(call, asked.order, reader.text());
}

}  // namespace

Http::Response show_application(const Call& call) { return state_answer(call, 200); }

Http::Response plan_application(const Call& call) { return apply(call, Order::Kind::plan); }

Http::Response start_application(const Call& call) { return apply(call, Order::Kind::file); }

Http::Response stop_application(const Call& call) {
  return answer_with(202, in_user_folder(
                              call,
                              [](const UserFolder& folder) -> GuardedOutcome {
                                const RefilingFiles files(folder);
                                const Stage stage = files.read().stage;
                                if (stage == Stage::planning || stage == Stage::filing)
                                  if (const Refusal refusal = files.ask_to_stop())
                                    return {refusal, ""};
                                return view_of_work(folder);
                              }));
}

Http::Response undo_application(const Call& call) {
  if (was_started(call)) return state_answer(call, 202);
  Order order;
  order.kind = Order::Kind::undo;
  order.key = call.key.value_or("");
  return start(call, order, "");
}

}  // namespace Quarrow::WebApi
