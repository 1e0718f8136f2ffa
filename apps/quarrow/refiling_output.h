// All that quarrow apply prints.
#ifndef QUARROW_APPS_QUARROW_REFILING_OUTPUT_H_
#define QUARROW_APPS_QUARROW_REFILING_OUTPUT_H_

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "administration/refusal.h"
#include "apps/quarrow/listing.h"
#include "apps/quarrow/progress_bar.h"
#include "refiling/journal.h"
#include "refiling/refiler.h"
#include "refiling/refiling_plan.h"
#include "trial/observer.h"

namespace Quarrow::Command {

// A row for each rule, action and folder, with the number of messages.
void print_summary(const Refiling::RefilingPlan& plan, ListingForm form, std::ostream& out);

// A row for each message that a rule decides about, or that can't be evaluated.
void print_messages(const Refiling::RefilingPlan& plan, ListingForm form, std::ostream& out);

// A row for each pair of folders, with the number of messages that come back.
void print_undo(const std::vector<Refiling::Step>& steps, ListingForm form, std::ostream& out);

// For a table, says how to have it done. The exit status 0.
int print_hint(ListingForm form);

// Complains of each message that could not be evaluated; gives the exit status.
int complain_of_failures(const Refiling::RefilingPlan& plan);

// A bar on standard error, where that is a terminal.
class RefilingProgress {
 public:
  RefilingProgress();
  ~RefilingProgress() { hide(); }
  RefilingProgress(const RefilingProgress&) = delete;
  RefilingProgress& operator=(const RefilingProgress&) = delete;

  // Begins anew, with so many messages or steps.
  void expect(std::uint64_t count);

  // One less.
  void advance();

  // Wipes the bar, for a line in its place.
  void hide();

 private:
  std::optional<ProgressBar> bar_;
  const bool is_seen_;
};

// Passes on what a planner is to know of a run, and shows how far it has come.
class PlanningProgress : public Trial::Observer {
 public:
  // Both outlive this object.
  PlanningProgress(Trial::Observer& planner, RefilingProgress& progress)
      : planner_(planner), progress_(progress) {}

  void on_result(const std::string& name, const Delivery::Evaluation& evaluation) override;
  void on_not_evaluated(const std::string& name, const std::string& reason) override;
  void on_failure(const Trial::SourceFailure& failure) override;
  void on_progress(std::uint64_t bytes) override;

 private:
  Trial::Observer& planner_;
  RefilingProgress& progress_;
};

// Complains of messages that can't be filed, and counts the others.
class RefilingReport : public Refiling::RefilingObserver {
 public:
  // What the bar shows the number of.
  enum class Counts { steps, nothing };

  // `progress` outlives this object.
  RefilingReport(RefilingProgress& progress, Counts counts)
      : progress_(progress), counts_(counts) {}

  void on_done() override;
  void on_failure(const std::string& unique, const std::string& reason) override;

  // Ends the report of work that came to `refusal`; gives the exit status.
  int finish(const Administration::Refusal& refusal, ListingForm form);

 private:
  void advance();

  RefilingProgress& progress_;
  const Counts counts_;
  std::uint64_t done_ = 0;
  std::uint64_t failed_ = 0;
};

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_REFILING_OUTPUT_H_
