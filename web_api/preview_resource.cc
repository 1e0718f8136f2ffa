// What a filter would do with the mail that is there.
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <utility>
#include <vector>

#include "administration/guarded_rules.h"
#include "administration/rules_text.h"
#include "message_filters/rules_revision.h"
#include "message_filters/script_words.h"
#include "system/packet.h"
#include "web_api/filter_reading.h"
#include "web_api/filter_trial.h"
#include "web_api/filter_view.h"
#include "web_api/mail_work.h"
#include "web_api/message_view.h"
#include "web_api/preview_progress.h"
#include "web_api/refusal_problem.h"
#include "web_api/resources.h"

namespace Quarrow::WebApi {
namespace {

using Administration::GuardedOutcome;
using Administration::Refusal;
using Administration::RulesTransaction;
using Clock = std::chrono::steady_clock;
using MessageFilters::Filter__;
using nlohmann::ordered_json;
using Kind = Refusal::Kind;

constexpr std::uint64_t most_examples = 10;

// A nice value. Beside work of the usual priority, it gets a quarter of a busy processor. With 10,
// a tenth, answers took up to a second.
constexpr int lower_priority = 5;

// What a client asks.
struct Wish {
  boost::shared_ptr<Filter__> filter;
  std::int32_t id = 0;      // of the filter that it replaces; 0 for a new one
  std::int32_t before = 0;  // the filter that it is tried before; 0: where it is, or last
  std::string folder = inbox;
  std::string cursor;  // empty: from the newest message
};

// The same, made ready for the mail.
struct Question {
  TrialScripts scripts;
  std::vector<std::pair<std::int32_t, std::string>> names;  // of all filters, in their order
};

std::int32_t take_number(const ordered_json& body, const char* name, Mistakes& mistakes) {
  if (!body.contains(name)) return 0;
  const auto number = number_in(body[name]);
  if (!number || *number == 0)
    mistakes.push_back({pointer_step(name), "", "must be the number of a filter"});
  return number.value_or(0);
}

std::string take_text(const ordered_json& body, const char* name, const std::string& other,
                      Mistakes& mistakes) {
  if (!body.contains(name)) return other;
  if (body[name].is_string()) return body[name].get<std::string>();
  mistakes.push_back({pointer_step(name), "", "must be a text"});
  return other;
}

Wish read_wish(const Call& call, Mistakes& mistakes) {
  const ordered_json& body = call.body;
  if (!body.is_object() || !body.contains("filter")) {
    mistakes.push_back({"/filter", "", "is missing"});
    return {};
  }
  Wish wish;
  wish.filter = read_filter(body["filter"], {"/filter", call.context.dots}, mistakes);
  wish.id = take_number(body, "id", mistakes);
  wish.before = take_number(body, "before", mistakes);
  wish.folder = take_text(body, "folder", inbox, mistakes);
  wish.cursor = take_text(body, "cursor", "", mistakes);
  static const std::vector<std::string> known = {"filter", "id", "before", "folder", "cursor"};
  for (const auto& member : body.items())
    if (std::find(known.begin(), known.end(), member.key()) == known.end())
      mistakes.push_back({pointer_step(member.key()), "", "unknown member"});
  return wish;
}

// A refusal that is about a place in the body.
Refusal not_previewed(const std::string& pointer, const std::string& reason) {
  return {Kind::wrong_rule, pointer, reason};
}

Refusal put_new(const Wish& wish, RulesTransaction& rules) {
  wish.filter->id = 0;
  return rules.add(wish.filter, wish.before);
}

Refusal put_in_place(const Wish& wish, RulesTransaction& rules) {
  if (const Refusal refusal = rules.check_filter(wish.id))
    return not_previewed("/id", refusal.reason);
  auto& list = *rules.filters().filters;
  wish.filter->id = wish.id;
  *list.__find_filter(wish.id) = wish.filter;
  if (wish.before != 0) (void)list.move_before(wish.id, wish.before);  // both are there
  return {};
}

// Puts the filter among the others, which are never written to disk.
Refusal put(const Wish& wish, RulesTransaction& rules) {
  if (wish.before != 0)
    if (const Refusal refusal = rules.check_filter(wish.before))
      return not_previewed("/before", refusal.reason);
  if (const Refusal refusal = wish.id == 0 ? put_new(wish, rules) : put_in_place(wish, rules))
    return refusal;
  const std::size_t bytes = Administration::script_text(rules.filters().filters, true).size();
  if (bytes <= script_limit) return {};
  return not_previewed("/filter", "with it the filters make a script of " + std::to_string(bytes) +
                                      " bytes, of which only " + std::to_string(script_limit) +
                                      " would be read");
}

std::string packed(const Question& question) {
  PacketWriter packet;
  const TrialScripts& scripts = question.scripts;
  for (const auto* script : {&scripts.now, &scripts.then, &scripts.either}) packet.text(*script);
  packet.number(static_cast<std::uint32_t>(scripts.id));
  packet.number(scripts.is_later ? 1 : 0);
  packet.number(scripts.before.size());
  packet.number(question.names.size());
  for (const auto& [id, name] : question.names) {
    packet.number(static_cast<std::uint32_t>(id));
    packet.text(name);
  }
  return std::move(packet.packet());
}

// The sender is this program, so that the packet is whole.
Question unpacked(const std::string& text) {
  PacketReader packet(text);
  Question question;
  TrialScripts& scripts = question.scripts;
  for (auto* script : {&scripts.now, &scripts.then, &scripts.either}) *script = packet.text();
  scripts.id = static_cast<std::int32_t>(packet.number());
  scripts.is_later = packet.number() == 1;
  const std::uint64_t before = packet.number();
  question.names.resize(packet.number(text.size()));
  for (auto& [id, name] : question.names) {
    id = static_cast<std::int32_t>(packet.number());
    name = packet.text();
    if (scripts.before.size() < before) scripts.before.push_back(id);  // the first of all
  }
  return question;
}

GuardedOutcome question_of(const Wish& wish, RulesTransaction& rules) {
  if (const Refusal loss = rules.check_loss()) return {loss, ""};
  auto& list = rules.filters().filters;
  const auto now = MessageFilters::FilterList__::Create();
  now->filters = list->filters;
  if (const Refusal refusal = put(wish, rules)) return {refusal, ""};
  Question question = {trial_scripts(now, list, wish.filter->id), {}};
  for (const auto& filter : list->filters) question.names.emplace_back(filter->id, filter->name);
  return {{}, packed(question)};
}

ordered_json reference(const Question& question, std::int32_t id) {
  const auto& names = question.names;
  const auto found =
      std::find_if(names.begin(), names.end(), [id](const auto& name) { return name.first == id; });
  return {{"id", id}, {"name", found == names.end() ? "" : found->second}};
}

// The examination of the messages that one answer is about.
class Examination {
 public:
  Examination(const Question& question, const Context& context, MailListing& listing,
              PreviewProgress& progress)
      : question_(question),
        context_(context),
        listing_(listing),
        progress_(progress),
        trial_(question.scripts, context.dots) {}

  // Whether all messages were examined that may be, and not just those that the time allows.
  bool run() {
    const auto end = Clock::now() + context_.preview.time;
    const std::size_t most = context_.preview.messages - progress_.examined;
    const auto messages = listing_.newest(progress_.last, most);
    for (const auto& message : messages) {
      examine(message);
      progress_.last = message;
      if (Clock::now() >= end) return message == messages.back();
    }
    return true;
  }

  const ordered_json& examples() const { return examples_; }

 private:
  void examine(const ListedMessage& message) {
    OpenedMessage opened;
    const Opening opening = listing_.open(message, opened);
    if (opening == Opening::gone) return;
    ++progress_.examined;
    if (opening == Opening::unreadable)
      ++progress_.failed;
    else
      count(message, opened, trial_.run(opened.message, message.received));
  }

  void count(const ListedMessage& message, const OpenedMessage& opened, const TrialResult& result) {
    if (result.has_failed) ++progress_.failed;
    if (result.is_changed) ++progress_.changed;
    if (!result.is_caught) return;
    ++progress_.caught;
    const bool is_taken = result.decider && *result.decider != question_.scripts.id;
    if (is_taken) ++progress_.taken_earlier[*result.decider];
    if (progress_.examples >= most_examples) return;
    ++progress_.examples;
    examples_.push_back(
        {{"message", view_of(message, opened, listing_, trial_.runs())},
         {"taken_by", is_taken ? reference(question_, *result.decider) : ordered_json()},
         {"now", place_of(result.now, context_.dots)},
         {"then", place_of(result.then, context_.dots)}});
  }

  const Question& question_;
  const Context& context_;
  MailListing& listing_;
  PreviewProgress& progress_;
  FilterTrial trial_;
  ordered_json examples_ = ordered_json::array();
};

ordered_json taken_earlier(const Question& question, const PreviewProgress& progress) {
  ordered_json taken = ordered_json::array();
  for (const auto& [id, name] : question.names) {
    const auto count = progress.taken_earlier.find(id);
    if (count == progress.taken_earlier.end()) continue;
    taken.push_back({{"id", id}, {"name", name}, {"count", count->second}});
  }
  return taken;
}

Http::Response answer_with(const Wish& wish, const Question& question, const Context& context,
                           const std::string& digest, MailListing& listing,
                           PreviewProgress progress) {
  bool is_done = true;
  ordered_json examples = ordered_json::array();
  if (question.scripts.either.empty()) {  // it does nothing, and did nothing
    progress.examined = std::min(listing.total(), context.preview.messages);
  } else if (listing.total() > 0) {
    Examination examination(question, context, listing, progress);
    is_done = examination.run();
    examples = examination.examples();
  }
  return json_answer(
      200, {{"folder", wish.folder},
            {"total", listing.total()},
            {"examined", progress.examined},
            {"limit", context.preview.messages},
            {"caught", progress.caught},
            {"taken_earlier", taken_earlier(question, progress)},
            {"changed", progress.changed},
            {"failed", progress.failed},
            {"examples", examples},
            {"cursor", is_done ? ordered_json() : ordered_json(cursor_of(progress, digest))}});
}

Http::Response preview(const Call& call, const Wish& wish, const Question& question) {
  const TrialScripts& scripts = question.scripts;
  const std::string digest = rules_revision(wish.folder + '\0' + scripts.now + scripts.then);
  PreviewProgress progress;
  std::string asked = digest;
  if (!wish.cursor.empty() &&
      !read_cursor(wish.cursor, call.context.preview.messages, progress, asked))
    return Http::problem(400, "this is no cursor", {{"/cursor", "", "this is no cursor"}});
  if (asked != digest)
    return Http::problem(409,
                         "the filters have changed, or the cursor is of another preview; begin "
                         "without a cursor");
  return with_mail(call, wish.folder, [&](MailListing& listing) {
    // A preview is run at each pause of typing, and takes all that a processor has. Pages that
    // other users wait for come first. The helper, which is forked from here, does likewise.
    (void)setpriority(PRIO_PROCESS, 0, lower_priority);  // nothing is wrong where it can't be
    return answer_with(wish, question, call.context, digest, listing, progress);
  });
}

}  // namespace

Http::Response preview_filter(const Call& call) {
  Mistakes mistakes;
  const Wish wish = read_wish(call, mistakes);
  if (!mistakes.empty()) return not_taken(mistakes);
  const GuardedOutcome outcome = Administration::with_rules_of(
      call.context.user, [&](RulesTransaction& rules) { return question_of(wish, rules); },
      call.context.patience);
  const Refusal& refusal = outcome.refusal;
  if (refusal.kind == Kind::wrong_rule) return not_taken({{refusal.object, "", refusal.reason}});
  if (refusal) return refused(refusal);
  return preview(call, wish, unpacked(outcome.answer));
}

}  // namespace Quarrow::WebApi
