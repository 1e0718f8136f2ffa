// quarrow test: what one test becomes, and which messages it holds for.
#include <sysexits.h>

#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>

#include "administration/rule_check.h"
#include "administration/rule_text.h"
#include "administration/rules_text.h"
#include "apps/quarrow/commands/catalogue_fields.h"
#include "apps/quarrow/commands/filter_command.h"
#include "apps/quarrow/commands/received_option.h"
#include "apps/quarrow/complaint.h"
#include "apps/quarrow/match_report.h"
#include "message_filters/sieve_script.h"
#include "message_filters/sieve_test_text.h"
#include "message_filters/user_files.h"
#include "quarrow/delivery/delivery_plan.h"
#include "system/printable.h"
#include "trial/isolated_runs.h"
#include "trial/message_evaluator.h"
#include "trial/run.h"

namespace Quarrow::Command {
namespace {

using Administration::Refusal;
using Delivery::Evaluation;
using MessageFilters::Test;
using nlohmann::ordered_json;

struct TestOptions {
  std::string test;
  std::optional<std::string> user;  // none: nobody's own fields
  std::string catalogue = system_catalogue;
  std::vector<std::string> messages;
  std::optional<std::string> received;  // none: as the messages say
  bool json = false;
};

void print_json(const ordered_json& object) {
  std::cout << object.dump(-1, ' ', false, ordered_json::error_handler_t::replace) << '\n';
}

// Prints a line for each message, and counts.
class TestReport : public Trial::Observer {
 public:
  TestReport(bool json, int status) : json_(json), status_(status) {}

  void on_result(const std::string& name, const Evaluation& evaluation) override {
    if (Trial::has_failed(evaluation)) {
      ++failed_;
      return fail(name, plan_for(evaluation).note, EX_DATAERR);
    }
    const bool holds = !evaluation.result.actions.empty();
    ++(holds ? holds_ : others_);
    if (json_) return print_json({{"message", name}, {"holds", holds}});
    std::cout << printable(name) << '\t' << (holds ? "yes" : "no") << '\n';
  }
  void on_not_evaluated(const std::string& name, const std::string& reason) override {
    ++failed_;
    fail(name, "not evaluated: " + reason, EX_TEMPFAIL);
  }
  void on_failure(const Trial::SourceFailure& failure) override { status_ = complain(failure); }
  void on_progress(std::uint64_t /*bytes*/) override {}

  // Ends the report; gives the exit status.
  int finish() const {
    if (!json_)
      std::cout << "\nyes " << holds_ << ", no " << others_ << ", failed " << failed_ << '\n';
    return status_;
  }

 private:
  void fail(const std::string& name, const std::string& reason, int status) {
    if (status_ != EX_TEMPFAIL) status_ = status;
    if (json_) return print_json({{"message", name}, {"error", reason}});
    std::cout << printable(name) << "\tfailed; " << printable(reason) << '\n';
  }

  const bool json_;
  int status_;
  std::uint64_t holds_ = 0;
  std::uint64_t others_ = 0;
  std::uint64_t failed_ = 0;
};

// The test in Sieve, without the blanks around it.
std::string sieve_of(const Test& test) {
  std::ostringstream text;
  (void)write_test(test, text);  // it was checked
  const std::string written = text.str();
  const std::size_t begin = written.find_first_not_of(' ');
  return written.substr(begin, written.find_last_not_of(' ') + 1 - begin);
}

int run(const TestOptions& options, const Test& test, std::optional<std::time_t> received) {
  const auto [sources, failures] = Trial::find_mail(options.messages);
  int status = EX_OK;
  for (const auto& failure : failures) status = complain(failure);
  TestReport report(options.json, status);
  const auto evaluator = Trial::isolated_text_evaluator(
      Administration::script_text(MessageFilters::list_to_try(test), false));
  (void)Trial::run(sources, *evaluator, report, {received});  // counted by the report
  return report.finish();
}

// Reads the test, with the fields of the user if one is given; gives the exit status.
int read_test(const Settings& settings, const TestOptions& options, Test& test) {
  const auto read = [&](const auto& catalogue) {
    Refusal refusal = Administration::read_test(options.test, test, catalogue);
    if (!refusal) refusal = Administration::check_test(test);
    refusal.object = options.test;
    return refusal;
  };
  EmailAddress user;
  if (options.user)
    if (const Refusal refusal = find_user(settings, *options.user, user))
      return complain(settings, refusal);
  const Refusal refusal = options.user ? read_with_fields(user, options.catalogue, read)
                                       : read(std::list<MessageFilters::Field>());
  return refusal ? complain(refusal) : EX_OK;
}

int try_test(const Settings& settings, const TestOptions& options) {
  std::optional<std::time_t> received;
  if (const int status = read_received(options.received, received)) return status;
  Test test;
  if (const int status = read_test(settings, options, test)) return status;
  if (options.json)
    print_json({{"test", Administration::test_text(test)}, {"sieve", sieve_of(test)}});
  else
    std::cout << "sieve: " << sieve_of(test) << '\n';
  return options.messages.empty() ? EX_OK : run(options, test, received);
}

}  // namespace

Run declare_test(CLI::App& app) {
  const auto options = std::make_shared<TestOptions>();
  add_option(app, "test", options->test,
             "Such as 'subject contains quarterly', see quarrow-rules(5)")
      .type_name("")
      .required();
  add_option(app, "messages", options->messages,
             "Message files, mbox files, Maildir folders; - is standard input")
      .type_name("");
  add_option(app, "--user", options->user, "Know the fields of this user's own").type_name("USER");
  add_catalogue_option(app, options->catalogue);
  add_received_option(app, options->received);
  add_flag(app, "--json", options->json, "One JSON object a line, and no counts");
  return [options](const Settings& settings) { return try_test(settings, *options); };
}

}  // namespace Quarrow::Command
