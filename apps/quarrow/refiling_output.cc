// Plans as listings, and the bar while they are made and carried out.
#include "apps/quarrow/refiling_output.h"

#include <sysexits.h>
#include <unistd.h>

#include <iostream>
#include <map>
#include <tuple>

#include "apps/quarrow/complaint.h"
#include "refiling/mail_folder.h"

namespace Quarrow::Command {
namespace {

using Refiling::Fate;
using Refiling::RefilingPlan;
using Refiling::Step;

// By Fate: what is done, and why nothing is.
const struct {
  const char* action;
  const char* reason;
} fate_words[] = {{"move", ""},
                  {"copy", ""},
                  {"stay", "is there already"},
                  {"stay", "no rule decides"},
                  {"stay", "the rule discards it"},
                  {"stay", "the rule rejects it"},
                  {"stay", "can't be evaluated"}};

const auto& words_of(Fate fate) { return fate_words[static_cast<int>(fate)]; }

bool goes_somewhere(Fate fate) { return fate == Fate::move || fate == Fate::copy; }

// By Step::Kind, for what undoes it.
const char* const undo_words[] = {"move back", "remove copy", "put back"};

}  // namespace

void print_summary(const RefilingPlan& plan, ListingForm form, std::ostream& out) {
  Listing listing({"messages", "rule", "action", "folder", "reason"});
  for (const auto& [key, count] : plan.summary()) {
    const auto& [rule, fate, folder] = key;
    const Value name = goes_somewhere(fate) ? Value(Refiling::readable_folder(folder)) : Value();
    listing.add({count, text_or_nothing(rule), words_of(fate).action, name,
                 text_or_nothing(words_of(fate).reason)});
  }
  listing.print(form, out);
}

void print_messages(const RefilingPlan& plan, ListingForm form, std::ostream& out) {
  Listing listing({"message", "rule", "action", "folders", "reason"});
  for (const auto& message : plan.messages()) {
    if (message.fate == Fate::no_rule) continue;
    std::vector<std::string> folders;
    for (const auto& folder : message.folders) folders.push_back(Refiling::readable_folder(folder));
    const std::string reason = message.note.empty() ? words_of(message.fate).reason : message.note;
    listing.add({message.file, text_or_nothing(message.rule), words_of(message.fate).action,
                 folders, text_or_nothing(reason)});
  }
  listing.print(form, out);
}

void print_undo(const std::vector<Step>& steps, ListingForm form, std::ostream& out) {
  std::map<std::tuple<Step::Kind, std::string, std::string>, std::uint64_t> counts;
  for (const Step& step : steps) ++counts[{step.kind, step.to, step.from}];
  Listing listing({"messages", "action", "from", "to"});
  for (const auto& [key, count] : counts) {
    const auto& [kind, from, to] = key;
    const bool is_removed = kind == Step::Kind::copy;
    listing.add({count, undo_words[static_cast<int>(kind)], Refiling::readable_folder(from),
                 is_removed ? Value() : Value(Refiling::readable_folder(to))});
  }
  listing.print(form, out);
}

int print_hint(ListingForm form) {
  if (form == ListingForm::table) std::cout << "\nNothing is changed; with --yes it is done.\n";
  return EX_OK;
}

int complain_of_failures(const RefilingPlan& plan) {
  int status = EX_OK;
  for (const auto& message : plan.messages())
    if (message.fate == Fate::not_evaluated)
      status = complain(message.file, "stays: " + message.note, EX_TEMPFAIL);
  return status;
}

RefilingProgress::RefilingProgress() : is_seen_(isatty(STDERR_FILENO) == 1) {}

void RefilingProgress::expect(std::uint64_t count) {
  hide();
  bar_.emplace(std::cerr, count, ProgressBar::Clock::now(), "messages");
}

void RefilingProgress::advance() {
  if (is_seen_ && bar_) bar_->advance(1, ProgressBar::Clock::now());
}

void RefilingProgress::hide() {
  if (bar_) bar_->finish();
}

void PlanningProgress::on_result(const std::string& name, const Delivery::Evaluation& evaluation) {
  planner_.on_result(name, evaluation);
}

void PlanningProgress::on_not_evaluated(const std::string& name, const std::string& reason) {
  planner_.on_not_evaluated(name, reason);
}

void PlanningProgress::on_failure(const Trial::SourceFailure& failure) {
  planner_.on_failure(failure);
}

void PlanningProgress::on_progress(std::uint64_t bytes) {
  planner_.on_progress(bytes);
  progress_.advance();
}

void RefilingReport::on_done() {
  ++done_;
  advance();
}

void RefilingReport::on_failure(const std::string& unique, const std::string& reason) {
  ++failed_;
  progress_.hide();
  complain(unique, reason, EX_IOERR);
  advance();
}

void RefilingReport::advance() {
  if (counts_ == Counts::steps) progress_.advance();
}

int RefilingReport::finish(const Administration::Refusal& refusal, ListingForm form) {
  progress_.hide();
  if (form == ListingForm::table)
    std::cout << '\n' << done_ << " done, " << failed_ << " not done\n";
  if (refusal) return complain(refusal);
  return failed_ == 0 ? EX_OK : EX_IOERR;
}

}  // namespace Quarrow::Command
